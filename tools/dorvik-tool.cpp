// dorvik-tool: the core of Dorvik on the command line, for benchmarks and
// checks. Rows are printed as JSON Lines; a failure exits 1 with the message
// the user would read on stderr.
#include "archive/ArchiveLocation.h"
#include "archive/ArchiveService.h"
#include "core/Background.h"
#include "core/PathUtils.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemError.h"
#include "filesystem/FileSystemService.h"
#include "preview/AnimatedImageSupport.h"
#include "preview/PreviewSelection.h"
#include "search/FolderSearchService.h"
#include "text/TextDecoding.h"
#include "text/TextPreviewLoading.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
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
        QStringLiteral("usage: dorvik-tool list DIR [--hidden] [--sort name|timestamp|size]\n"
                       "                         [--times N]\n"
                       "       dorvik-tool decode FILE [--truncated]\n"
                       "       dorvik-tool encode LABEL < UTF-8 text\n"
                       "       dorvik-tool archive-list ARCHIVE\n"
                       "       dorvik-tool archive-rows ARCHIVE INNERPATH [--hidden]\n"
                       "       dorvik-tool archive-cat ARCHIVE MEMBER\n"
                       "       dorvik-tool copy SOURCE DESTDIR\n"
                       "       dorvik-tool volumes\n"
                       "       dorvik-tool classify FILE\n"
                       "       dorvik-tool preview-text FILE\n"
                       "       dorvik-tool apng-info FILE\n"
                       "       dorvik-tool apng-frames FILE OUTDIR\n"
                       "       dorvik-tool search SCOPE [--query Q] [--content] [--from YYYY-MM]"
                       " [--to YYYY-MM] [--sort name|size|date] [--hidden]"));
}

void writeBytes(const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

template <typename T, typename E> Result<T, QString> withMessage(Result<T, E>&& result) {
    if (!result) {
        return fail(result.error().description());
    }
    return std::move(result).value();
}

// The members of an archive of any kind the tool reads, or the user's message.
Result<QList<ArchiveMember>, QString> archiveMembers(const QString& path) {
    return withMessage(ArchiveService::listMembers(path));
}

Result<QByteArray, QString> archiveMemberBytes(const QString& path, const QString& member) {
    return withMessage(ArchiveService::extractMemberData(path, member));
}

// ISO 8601 with the local offset. Each local-time conversion makes glibc
// look at /etc/localtime again, and archive members share few distinct
// dates, so each distinct date is formatted once.
QString isoDate(const QDateTime& date) {
    static QHash<qint64, QString> formatted;
    const qint64 key = date.date().toJulianDay() * 86'400'000 + date.time().msecsSinceStartOfDay();
    auto found = formatted.constFind(key);
    if (found == formatted.constEnd()) {
        found =
            formatted.insert(key, date.toOffsetFromUtc(date.offsetFromUtc()).toString(Qt::ISODate));
    }
    return *found;
}

// True when the text is plain ASCII that JSON takes as it stands.
bool isPlainJsonText(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) {
        return c.unicode() >= 0x20 && c.unicode() < 0x80 && c != u'"' && c != u'\\';
    });
}

// A JSON string: quotes, backslashes and control characters escaped.
void appendJsonString(QByteArray& out, const QString& text) {
    out.append('"');
    // Most names are plain: they are copied without a UTF-8 text of their own.
    if (isPlainJsonText(text)) {
        const qsizetype start = out.size();
        out.resize(start + text.size());
        std::transform(text.begin(), text.end(), out.data() + start,
                       [](QChar c) { return char(c.unicode()); });
        out.append('"');
        return;
    }
    for (const char c : text.toUtf8()) {
        if (c == '"' || c == '\\') {
            out.append('\\').append(c);
        } else if (uchar(c) < 0x20) {
            out.append(QByteArray("\\u00") +
                       QByteArray::number(uchar(c), 16).rightJustified(2, '0'));
        } else {
            out.append(c);
        }
    }
    out.append('"');
}

// Written by hand: a QJsonObject per row costs more than the listing itself.
void appendMemberLine(QByteArray& out, const ArchiveMember& member) {
    out.append("{\"path\":");
    appendJsonString(out, member.path);
    out.append(member.isDirectory ? ",\"isDirectory\":true" : ",\"isDirectory\":false");
    out.append(",\"size\":").append(QByteArray::number(qint64(member.size)));
    out.append(",\"modificationDate\":");
    if (member.modificationDate) {
        appendJsonString(out, isoDate(*member.modificationDate));
    } else {
        out.append("null");
    }
    out.append("}\n");
}

void appendFlag(QByteArray& out, const char* name, bool value) {
    out.append(",\"").append(name).append(value ? "\":true" : "\":false");
}

// A listing row as JSON, written by hand for the same reason.
void appendListLine(QByteArray& out, const FileEntry& entry) {
    out.append("{\"id\":");
    appendJsonString(out, entry.id());
    out.append(",\"name\":");
    appendJsonString(out, entry.name);
    appendFlag(out, "isDirectory", entry.isDirectory);
    appendFlag(out, "isParent", entry.isParent);
    appendFlag(out, "isHidden", entry.isHidden);
    appendFlag(out, "isZipArchive", entry.isZipArchive);
    out.append(",\"size\":");
    out.append(entry.size ? QByteArray::number(qint64(*entry.size)) : QByteArray("null"));
    out.append(",\"permissionMode\":");
    appendJsonString(out, entry.permissionMode());
    appendFlag(out, "readable", entry.isReadable);
    appendFlag(out, "writable", entry.isWritable);
    out.append("}\n");
}

int listCommand(const QStringList& args) {
    QString folder;
    bool showHidden = false;
    FilerSortMode sort = FilerSortMode::name;
    // Listing more than once shows what a repeat listing costs, with the
    // rights memory already holding every item.
    int times = 1;
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--hidden")) {
            showHidden = true;
        } else if (args[i] == QLatin1String("--times") && i + 1 < args.size()) {
            times = std::max(1, args[++i].toInt());
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
    for (int i = 1; i < times && rows; ++i) {
        rows = FileSystemService::listDirectory(folder, showHidden, sort, true);
    }
    if (!rows) {
        return failWith(rows.error().description());
    }
    QByteArray out;
    for (const FileEntry& entry : *rows) {
        appendListLine(out, entry);
        if (out.size() > (1 << 20)) {
            writeBytes(out);
            out.clear();
        }
    }
    writeBytes(out);
    return 0;
}

int archiveListCommand(const QStringList& args) {
    if (args.size() != 1) {
        return usage();
    }
    const auto members = archiveMembers(args[0]);
    if (!members) {
        return failWith(members.error());
    }
    QByteArray out;
    for (const ArchiveMember& member : *members) {
        appendMemberLine(out, member);
        if (out.size() > (1 << 20)) {
            writeBytes(out);
            out.clear();
        }
    }
    writeBytes(out);
    return 0;
}

int archiveCatCommand(const QStringList& args) {
    if (args.size() != 2) {
        return usage();
    }
    const auto bytes = archiveMemberBytes(args[0], args[1]);
    if (!bytes) {
        return failWith(bytes.error());
    }
    writeBytes(*bytes);
    return 0;
}

QJsonObject archiveRow(const FileEntry& entry) {
    return {{"id", entry.id()},
            {"name", entry.name},
            {"isDirectory", entry.isDirectory},
            {"isParent", entry.isParent},
            {"size", entry.size ? QJsonValue(double(*entry.size)) : QJsonValue()},
            {"permissionMode", entry.permissionMode()}};
}

// The rows a pane shows inside an archive, sorted by name.
int archiveRowsCommand(const QStringList& args) {
    QStringList operands = args;
    const bool showHidden = operands.removeAll(QStringLiteral("--hidden")) > 0;
    if (operands.size() != 2) {
        return usage();
    }
    const auto rows = ArchiveLocation::list({PathUtils::standardizedPath(operands[0]), operands[1]},
                                            showHidden, FilerSortMode::name, true);
    if (!rows) {
        return failWith(rows.error().description());
    }
    for (const FileEntry& entry : *rows) {
        printLine(archiveRow(entry));
    }
    return 0;
}

QJsonObject searchRow(const FolderSearchHit& hit) {
    return {{"relativePath", hit.relativePath},
            {"isDirectory", hit.isDirectory},
            {"size", hit.size ? QJsonValue(double(*hit.size)) : QJsonValue()},
            {"modificationDate", hit.modificationDate
                                     ? QJsonValue(hit.modificationDate->toString(Qt::ISODate))
                                     : QJsonValue()}};
}

// The folder search of the search form, run to its end on this thread.
int searchCommand(const QStringList& args) {
    QString scope, query, from, to;
    FolderSearchMatchMode mode = FolderSearchMatchMode::nameOnly;
    FolderSearchSort sort = FolderSearchSort::name;
    bool showHidden = false;
    const QStringList sorts{"name", "size", "date"};
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        const bool hasValue = i + 1 < args.size();
        if (arg == QLatin1String("--content")) {
            mode = FolderSearchMatchMode::includeContent;
        } else if (arg == QLatin1String("--hidden")) {
            showHidden = true;
        } else if (arg == QLatin1String("--query") && hasValue) {
            query = args[++i];
        } else if (arg == QLatin1String("--from") && hasValue) {
            from = args[++i];
        } else if (arg == QLatin1String("--to") && hasValue) {
            to = args[++i];
        } else if (arg == QLatin1String("--sort") && hasValue && sorts.contains(args[i + 1])) {
            sort = FolderSearchSort(sorts.indexOf(args[++i]));
        } else if (scope.isEmpty() && !arg.startsWith(QLatin1String("--"))) {
            scope = arg;
        } else {
            return usage();
        }
    }
    if (scope.isEmpty()) {
        return usage();
    }
    const auto request =
        FolderSearchService::makeRequest(query, scope, mode, from, to, sort, showHidden);
    if (!request) {
        return 0;
    }
    for (const FolderSearchHit& hit : FolderSearchService::scan(*request, {}, nullptr).hits) {
        printLine(searchRow(hit));
    }
    return 0;
}

int decodeCommand(const QStringList& args) {
    QStringList files = args;
    const bool truncated = files.removeAll(QStringLiteral("--truncated")) > 0;
    if (files.size() != 1) {
        return usage();
    }
    QFile file(files[0]);
    if (!file.open(QIODevice::ReadOnly)) {
        return failWith(QStringLiteral("ファイルを開けませんでした"));
    }
    const auto decoded = TextDecoding::decode(file.readAll(), truncated);
    if (!decoded) {
        return failWith(QStringLiteral(
            "文字コードを判定できませんでした（UTF-8 / CP932 / Shift_JIS / EUC-JP）"));
    }
    writeBytes(decoded->label.toUtf8() + '\n' + decoded->text.toUtf8());
    return 0;
}

// An unknown label saves as UTF-8, as the editor does.
int encodeCommand(const QStringList& args) {
    if (args.size() != 1) {
        return usage();
    }
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        return failWith(QStringLiteral("Cannot read standard input"));
    }
    const auto text = TextDecoding::decodeStrict(input.readAll(), TextFileEncoding::utf8);
    if (!text) {
        return failWith(QStringLiteral("Standard input is not UTF-8"));
    }
    const TextFileEncoding encoding =
        TextDecoding::textFileEncoding(args[0]).value_or(TextFileEncoding::utf8);
    const auto bytes = TextDecoding::encodedBytes(*text, encoding);
    if (!bytes) {
        const QString label = TextDecoding::label(encoding);
        return failWith(
            FileSystemError::make(FileSystemError::Kind::encodeFailed, label).description());
    }
    writeBytes(*bytes);
    return 0;
}

// Copies an item into a folder as C does, with the same primitive.
int copyCommand(const QStringList& args) {
    if (args.size() != 2) {
        return usage();
    }
    const auto copied = FileSystemService::copyItem(args[0], args[1], false);
    return copied ? 0 : failWith(copied.error().description());
}

int volumesCommand(const QStringList& args) {
    if (!args.isEmpty()) {
        return usage();
    }
    for (const MountedVolume& volume : FileSystemService::mountedVolumes()) {
        printLine({{"name", volume.name}, {"path", volume.url}, {"isRoot", volume.isRoot}});
    }
    return 0;
}

// How the viewer would show a file: text, preview or unsupported.
int classifyCommand(const QStringList& args) {
    if (args.size() != 1) {
        return usage();
    }
    const QString path = PathUtils::standardizedPath(args[0]);
    const ViewerContentKind kind = PreviewSelection::classifyFile(QFileInfo(path).fileName(), path);
    const char* names[] = {"none", "text", "preview", "unsupported"};
    std::printf("%s\n", names[int(kind)]);
    return 0;
}

// The viewer's text load of a plain file, under the same time limit: the
// label, how many bytes were read and the file's size.
int previewTextCommand(const QStringList& args) {
    using namespace TextPreviewLoading;
    if (args.size() != 1) {
        return usage();
    }
    const QString path = PathUtils::standardizedPath(args[0]);
    QEventLoop loop;
    TextPreviewLoadResult result;
    start(
        Background::workerThreads(),
        [path](const CancelFlag& cancelled) { return readTextHead(path, headLimit, &cancelled); },
        timeLimit(), &loop,
        [&](const TextPreviewLoadResult& ended) {
            result = ended;
            loop.quit();
        });
    loop.exec();
    if (!result.isLoaded()) {
        return failWith(failureMessage(result.outcome));
    }
    printLine({{"encodingLabel", result.encodingLabel},
               {"bytesRead", double(result.bytesRead)},
               {"fileSize", double(result.fileSize)}});
    return 0;
}

int apngInfoCommand(const QStringList& args) {
    if (args.size() != 1) {
        return usage();
    }
    const auto info = AnimatedImageSupport::animatedImageInfo(args[0]);
    if (!info) {
        std::printf("null\n");
        return 0;
    }
    printLine({{"frameCount", info->frameCount}, {"formatLabel", info->formatLabel}});
    return 0;
}

// Every frame the viewer pages through, as OUTDIR/frame-0001.png and on.
int apngFramesCommand(const QStringList& args) {
    if (args.size() != 2) {
        return usage();
    }
    const QList<QImage> frames = AnimatedImageSupport::loadAllFrames(args[0]);
    if (frames.isEmpty()) {
        return failWith(QStringLiteral("Unable to load image"));
    }
    if (!QDir().mkpath(args[1])) {
        return failWith(QStringLiteral("cannot create %1").arg(args[1]));
    }
    for (int i = 0; i < frames.size(); ++i) {
        const QString name = QStringLiteral("frame-%1.png").arg(i + 1, 4, 10, QLatin1Char('0'));
        if (!frames[i]
                 .convertToFormat(QImage::Format_RGBA8888)
                 .save(QDir(args[1]).filePath(name))) {
            return failWith(QStringLiteral("cannot write %1").arg(name));
        }
    }
    std::printf("%lld\n", qlonglong(frames.size()));
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
        {QStringLiteral("decode"), decodeCommand},
        {QStringLiteral("encode"), encodeCommand},
        {QStringLiteral("archive-list"), archiveListCommand},
        {QStringLiteral("archive-cat"), archiveCatCommand},
        {QStringLiteral("archive-rows"), archiveRowsCommand},
        {QStringLiteral("copy"), copyCommand},
        {QStringLiteral("volumes"), volumesCommand},
        {QStringLiteral("search"), searchCommand},
        {QStringLiteral("classify"), classifyCommand},
        {QStringLiteral("preview-text"), previewTextCommand},
        {QStringLiteral("apng-info"), apngInfoCommand},
        {QStringLiteral("apng-frames"), apngFramesCommand},
    };
    const auto found = commands.find(command);
    const int status = found == commands.end() ? usage() : found->second(args);
    std::fflush(stdout);
    FileAccessMemory::attach(nullptr);
    return status;
}
