// dorvik-tool: the core of Dorvik on the command line, for benchmarks and
// checks. Rows are printed as JSON Lines; a failure exits 1 with the message
// the user would read on stderr.
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <cstdio>
#include <functional>
#include <map>

namespace {

void printLine(const QJsonObject& object) {
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
}

int failWith(const QString& message) {
    std::fprintf(stderr, "%s\n", message.toUtf8().constData());
    return 1;
}

int usage() {
    return failWith(
        QStringLiteral("usage: dorvik-tool list DIR [--hidden] [--sort name|timestamp|size]"));
}

QJsonObject listRow(const FileEntry& entry) {
    return {{"id", entry.id},
            {"name", entry.name},
            {"isDirectory", entry.isDirectory},
            {"isParent", entry.isParent},
            {"isHidden", entry.isHidden},
            {"isZipArchive", entry.isZipArchive},
            {"size", entry.size ? QJsonValue(double(*entry.size)) : QJsonValue()},
            {"permissionMode", entry.permissionMode},
            {"readable", entry.isReadable},
            {"writable", entry.isWritable}};
}

int listCommand(const QStringList& args) {
    QString folder;
    bool showHidden = false;
    FilerSortMode sort = FilerSortMode::name;
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--hidden")) {
            showHidden = true;
        } else if (args[i] == QLatin1String("--sort") && i + 1 < args.size()) {
            const auto mode = sortModeFromRaw(args[++i]);
            if (!mode) {
                return usage();
            }
            sort = *mode;
        } else if (folder.isEmpty()) {
            folder = args[i];
        } else {
            return usage();
        }
    }
    if (folder.isEmpty()) {
        return usage();
    }
    auto rows = FileSystemService::listDirectory(folder, showHidden, sort, true);
    if (!rows) {
        return failWith(rows.error().description());
    }
    for (const FileEntry& entry : *rows) {
        printLine(listRow(entry));
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    QStringList args = application.arguments().mid(1);
    if (args.isEmpty()) {
        return usage();
    }
    // The tool keeps its rights memory for the run alone and never touches
    // the user's settings.
    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    const QString command = args.takeFirst();
    const std::map<QString, std::function<int(const QStringList&)>> commands = {
        {QStringLiteral("list"), listCommand},
    };
    const auto found = commands.find(command);
    const int status = found == commands.end() ? usage() : found->second(args);
    std::fflush(stdout);
    FileAccessMemory::attach(nullptr);
    return status;
}
