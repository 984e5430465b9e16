#include "app/CommandLine.h"
#include "app/DorvikApp.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

void print(std::FILE* stream, const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), stream);
}

// Help and version are answered before the window system is reached, so
// that they work without a display. Unknown options wait for the toolkit to
// take its own out.
std::optional<int> answerWithoutWindow(int argc, char* argv[]) {
    const QCoreApplication core(argc, argv);
    const CommandLine::Request request = CommandLine::parse(QCoreApplication::arguments());
    if (request.kind != CommandLine::Request::Kind::help &&
        request.kind != CommandLine::Request::Kind::version) {
        return std::nullopt;
    }
    print(stdout, request.text);
    return 0;
}

int runWindow(int argc, char* argv[]) {
    QApplication application(argc, argv);
    const CommandLine::Request request = CommandLine::parse(QApplication::arguments());
    if (request.kind == CommandLine::Request::Kind::usageError) {
        print(stderr, request.text);
        return 2;
    }
    DorvikApp app;
    if (request.folder) {
        app.startIn(*request.folder);
    }
    return app.run(application);
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication::setApplicationName(QStringLiteral("Dorvik"));
    QApplication::setOrganizationName(QStringLiteral("Dorvik"));
    QApplication::setApplicationVersion(QStringLiteral(DORVIK_VERSION));
    if (const std::optional<int> answered = answerWithoutWindow(argc, argv)) {
        return *answered;
    }
    const int status = runWindow(argc, argv);
    // The worker threads are never stopped, so that leaving never waits for
    // a read stuck on a dead mount; one may still be inside a library when
    // the window has closed. The process ends here, without tearing down the
    // libraries' globals under such a thread.
    std::fflush(nullptr);
    std::_Exit(status);
}
