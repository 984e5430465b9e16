#include "text/TextPreviewLoading.h"

#include "archive/ArchiveService.h"
#include "core/Background.h"
#include "core/ChildProcesses.h"
#include "core/FileDescriptor.h"
#include "core/SystemPath.h"
#include "text/TextDecoding.h"

#include <QFileInfo>
#include <QPointer>
#include <QProcess>

#include <cerrno>
#include <memory>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TextPreviewLoading {

using Outcome = TextPreviewLoadResult::Outcome;

TextPreviewLoadResult TextPreviewLoadResult::loaded(QString text, QString label, int64_t fileSize,
                                                    int64_t bytesRead) {
    return {Outcome::loaded, std::move(text), std::move(label), fileSize, bytesRead};
}

namespace {

// How often a waiting converter looks at its cancel flag.
constexpr int converterPollMilliseconds = 25;

bool isSet(const CancelFlag* flag) {
    return flag && flag->load();
}

std::optional<QByteArray> readUpTo(int fd, int64_t maxBytes) {
    QByteArray bytes(qsizetype(maxBytes), Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = ::read(fd, bytes.data() + filled, size_t(bytes.size() - filled));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            break;
        }
        filled += got;
    }
    bytes.truncate(filled);
    return bytes;
}

TextPreviewLoadResult decoded(QByteArrayView bytes, bool mayBeTruncated, int64_t fileSize) {
    auto text = TextDecoding::decode(bytes, mayBeTruncated);
    if (!text) {
        return TextPreviewLoadResult::of(Outcome::decodeFailed);
    }
    return TextPreviewLoadResult::loaded(text->text, text->label, fileSize, bytes.size());
}

// A converter for one extension: the program names tried in order, each with
// its arguments around the document's path.
struct Converter {
    QString program;
    QStringList argumentsBefore;
    QStringList argumentsAfter;
};

QList<Converter> convertersFor(const QString& extension) {
    if (extension == u"docx") {
        return {{"pandoc", {"-t", "plain"}, {}}, {"docx2txt", {}, {"-"}}};
    }
    if (extension == u"odt") {
        return {{"pandoc", {"-t", "plain"}, {}}, {"odt2txt", {}, {}}};
    }
    if (extension == u"doc") {
        return {{"antiword", {}, {}}, {"catdoc", {}, {}}};
    }
    if (extension == u"rtf" || extension == u"rtfd") {
        return {{"unrtf", {"--text"}, {}}, {"catdoc", {}, {}}};
    }
    return {};
}

// An RTFD document is a folder whose text lives in TXT.rtf.
QString convertedFile(const QString& path, const QString& extension) {
    return extension == u"rtfd" ? path + QStringLiteral("/TXT.rtf") : path;
}

// Runs the converter in a process group of its own, so that killing it also
// ends whatever helpers it started, and waits for its end on this thread.
// Gives its output for exit status 0. A cancelled converter is killed and
// left to be reaped elsewhere: one stuck reading a dead mount would hold
// this thread until its read ends.
std::optional<QByteArray> runConverter(const QString& program, const QStringList& arguments,
                                       const CancelFlag* cancelled) {
    auto running = std::make_unique<QProcess>();
    QProcess& process = *running;
    ChildProcesses::runInOwnGroup(process, program, arguments);
    process.start();
    if (!process.waitForStarted()) {
        return std::nullopt;
    }
    auto registration = std::make_unique<ChildProcesses::Registration>(pid_t(process.processId()));
    while (process.state() != QProcess::NotRunning) {
        if (isSet(cancelled)) {
            ChildProcesses::killAndLeave(std::move(running), std::move(registration));
            return std::nullopt;
        }
        process.waitForFinished(converterPollMilliseconds);
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return std::nullopt;
    }
    return process.readAllStandardOutput();
}

std::atomic<int64_t> configuredTimeLimit{defaultTimeLimit.count()};

} // namespace

std::chrono::milliseconds timeLimit() {
    return std::chrono::milliseconds(configuredTimeLimit.load());
}

void setTimeLimit(std::chrono::milliseconds limit) {
    configuredTimeLimit.store(limit.count());
}

QString failureMessage(Outcome outcome) {
    switch (outcome) {
    case Outcome::decodeFailed:
        return QStringLiteral(
            "文字コードを判定できませんでした（UTF-8 / CP932 / Shift_JIS / EUC-JP）");
    case Outcome::ioFailed:
        return QStringLiteral("ファイルを開けませんでした");
    case Outcome::timedOut:
        return QStringLiteral("プレビューを中止しました（%1秒超）").arg(timeLimitSeconds);
    case Outcome::loaded:
    case Outcome::cancelled:
        break;
    }
    return {};
}

TextPreviewLoadResult readTextHead(const QString& path, int64_t maxBytes,
                                   const CancelFlag* cancelled) {
    // A FIFO or a device would hold this thread in open() or read() for good.
    const auto file = FileDescriptor::openRegularFile(path);
    struct stat status {};
    if (!file || ::fstat(file->get(), &status) != 0) {
        return TextPreviewLoadResult::of(Outcome::ioFailed);
    }
    if (isSet(cancelled)) {
        return TextPreviewLoadResult::of(Outcome::cancelled);
    }
    const std::optional<QByteArray> head = readUpTo(file->get(), maxBytes);
    if (!head) {
        return TextPreviewLoadResult::of(Outcome::ioFailed);
    }
    return decoded(*head, true, int64_t(status.st_size));
}

QByteArray stripUnrtfBanner(QByteArray output) {
    QList<QByteArray> lines = output.split('\n');
    qsizetype first = 0;
    while (first < lines.size() && lines[first].startsWith("###")) {
        ++first;
    }
    if (first == 0) {
        return output;
    }
    // After its comment lines unrtf writes a blank line and a rule of dashes.
    qsizetype next = first;
    while (next < lines.size() && lines[next].trimmed().isEmpty()) {
        ++next;
    }
    const QByteArray rule = next < lines.size() ? lines[next].trimmed() : QByteArray();
    if (!rule.isEmpty() && rule.count('-') == rule.size()) {
        first = next + 1;
    }
    return lines.sliced(first).join('\n');
}

QString cutToUtf8Bytes(const QString& text, int64_t maxBytes) {
    const QByteArray utf8 = text.toUtf8();
    if (utf8.size() <= maxBytes) {
        return text;
    }
    qsizetype cut = qsizetype(maxBytes);
    while (cut > 0 && (uchar(utf8[cut]) & 0xC0) == 0x80) {
        --cut;
    }
    return QString::fromUtf8(utf8.first(cut));
}

TextPreviewLoadResult extractDocumentText(const QString& path, const CancelFlag* cancelled) {
    const QString extension = QFileInfo(path).suffix().toLower();
    std::optional<QString> program;
    Converter chosen;
    for (const Converter& converter : convertersFor(extension)) {
        program = ArchiveService::findTool({converter.program});
        if (program) {
            chosen = converter;
            break;
        }
    }
    const int64_t size = SystemPath::status(path).value_or(SystemPath::Status{}).size;
    // The converter opens the document itself: it is given regular files
    // only, or it would wait on a FIFO for good.
    if (!program || !FileDescriptor::openRegularFile(convertedFile(path, extension))) {
        return TextPreviewLoadResult::of(Outcome::ioFailed);
    }
    const QStringList arguments = chosen.argumentsBefore +
                                  QStringList{convertedFile(path, extension)} +
                                  chosen.argumentsAfter;
    std::optional<QByteArray> output = runConverter(*program, arguments, cancelled);
    if (isSet(cancelled)) {
        return TextPreviewLoadResult::of(Outcome::cancelled);
    }
    if (output && chosen.program == u"unrtf") {
        output = stripUnrtfBanner(*output);
    }
    if (!output || output->isEmpty()) {
        return TextPreviewLoadResult::of(Outcome::ioFailed);
    }
    QString label = TextDecoding::label(TextFileEncoding::utf8);
    std::optional<QString> text = TextDecoding::decodeStrict(*output, TextFileEncoding::utf8);
    if (!text) {
        auto guessed = TextDecoding::decode(*output, true);
        if (!guessed) {
            return TextPreviewLoadResult::of(Outcome::decodeFailed);
        }
        text = guessed->text;
        label = guessed->label;
    }
    return TextPreviewLoadResult::loaded(cutToUtf8Bytes(*text, headLimit), label, size,
                                         output->size());
}

TextPreviewLoadResult loadMemberText(const QString& archive, const QString& memberPath,
                                     std::stop_token stopToken) {
    const auto head =
        ArchiveService::extractMemberHead(archive, memberPath, headLimit, std::move(stopToken));
    if (!head) {
        return TextPreviewLoadResult::of(Outcome::ioFailed);
    }
    // A member cut short whose archive does not tell its size (a tool's
    // output) is at least one byte longer than its head.
    const int64_t read = head->bytes.size();
    const int64_t size = head->isCut ? head->size.value_or(read + 1) : read;
    return decoded(head->bytes, head->isCut, size);
}

// The two runners of a load meet here, on the caller's thread: the first to
// finish gives the outcome, the other is stopped or ignored.
struct LoadHandle::Race {
    std::shared_ptr<CancelFlag> cancelled = std::make_shared<CancelFlag>(false);
    // The time limit and the worker's result reach the race through it; a
    // child of the caller's context object, gone once the race is decided.
    QPointer<QObject> guard;
    std::function<void(const TextPreviewLoadResult&)> done;

    void finish(const TextPreviewLoadResult& result) {
        auto callback = std::move(done);
        done = nullptr;
        if (!guard || !callback) {
            return;
        }
        guard->deleteLater();
        guard = nullptr;
        callback(result);
    }
};

void LoadHandle::cancel() const {
    if (!m_race) {
        return;
    }
    m_race->cancelled->store(true);
    m_race->finish(TextPreviewLoadResult::of(Outcome::cancelled));
}

bool LoadHandle::isCancelled() const {
    return m_race && m_race->cancelled->load();
}

LoadHandle start(Background::Executor& executor,
                 std::function<TextPreviewLoadResult(const CancelFlag&)> work,
                 std::chrono::milliseconds limit, QObject* context,
                 std::function<void(const TextPreviewLoadResult&)> done) {
    auto race = std::make_shared<LoadHandle::Race>();
    race->done = std::move(done);
    auto* guard = new QObject(context);
    race->guard = guard;

    executor.callLater(limit, guard, [race] {
        race->cancelled->store(true);
        race->finish(TextPreviewLoadResult::of(Outcome::timedOut));
    });
    Background::run(
        executor, Background::Pool::diskRead, guard,
        [flag = race->cancelled, work = std::move(work)] {
            if (flag->load()) {
                return TextPreviewLoadResult::of(Outcome::cancelled);
            }
            return work(*flag);
        },
        [race](const TextPreviewLoadResult& result) { race->finish(result); });

    LoadHandle handle;
    handle.m_race = race;
    return handle;
}

} // namespace TextPreviewLoading
