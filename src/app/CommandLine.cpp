#include "app/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace CommandLine {

Request parse(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("A keyboard-driven dual-pane file manager drawn as a text screen."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(
        QStringLiteral("folder"),
        QStringLiteral("The folder both panes start in, for this run only (the start folder "
                       "kept in the settings is not changed)."),
        QStringLiteral("[folder]"));
    const bool understood = parser.parse(arguments);
    if (parser.isSet(help) || parser.isSet(QStringLiteral("help-all"))) {
        return {Request::Kind::help, parser.helpText(), std::nullopt};
    }
    if (parser.isSet(version)) {
        return {Request::Kind::version,
                QCoreApplication::applicationName() + QLatin1Char(' ') +
                    QCoreApplication::applicationVersion() + QLatin1Char('\n'),
                std::nullopt};
    }
    const QStringList folders = parser.positionalArguments();
    if (!understood || folders.size() > 1) {
        const QString error =
            understood ? QStringLiteral("more than one folder given") : parser.errorText();
        return {
            Request::Kind::usageError,
            QStringLiteral("dorvik: %1\nTry 'dorvik --help' for more information.\n").arg(error),
            std::nullopt};
    }
    Request request;
    if (!folders.isEmpty()) {
        request.folder = folders.constFirst();
    }
    return request;
}

} // namespace CommandLine
