// Finding and running the archive tools. A tool's output is taken as it
// comes and handed on at once, so that what the tool prints is never held
// whole unless the caller keeps it, and a tool that prints past what the
// caller wants is stopped there. A tool that makes no progress for the time
// limit, or whose caller withdraws the request, is stopped too.
#include "archive/ArchiveService.h"

#include "core/ChildProcesses.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "text/TextDecoding.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <atomic>
#include <memory>
#include <unistd.h>

namespace ArchiveService {

namespace {

// How often a running tool's pipes are looked at when it prints nothing.
constexpr int pollMilliseconds = 50;
// What is kept of a tool's standard error for its failure message.
constexpr qsizetype errorHeadLimit = 65536;

QStringList toolFolders() {
    QStringList folders = {QStringLiteral("/usr/bin"), QStringLiteral("/bin"),
                           QStringLiteral("/usr/local/bin"), QStringLiteral("/opt/homebrew/bin")};
    // The folders of PATH are bytes like any path.
    const QString path = fromSystemPath(qgetenv("PATH"));
    for (const QString& folder : path.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        if (!folders.contains(folder)) {
            folders.append(folder);
        }
    }
    return folders;
}

// What a failed tool said on standard error, or its exit status when it said
// nothing readable.
QString failureReason(const QByteArray& standardError, int status) {
    const QString text = TextDecoding::decodeStrict(standardError, TextFileEncoding::utf8)
                             .value_or(QString())
                             .trimmed();
    if (text.isEmpty()) {
        return QStringLiteral("exit ") + QString::number(status);
    }
    return text;
}

// A started tool, known to ChildProcesses::killAll() while it runs.
struct RunningTool {
    std::unique_ptr<QProcess> process;
    std::unique_ptr<ChildProcesses::Registration> registration;

    // Ends the tool and everything it started (tar runs gzip in its own
    // group) without waiting for it to be reaped: a tool stuck reading a dead
    // mount would hold this thread until its read ends.
    void stop() { ChildProcesses::killAndLeave(std::move(process), std::move(registration)); }
};

std::atomic<int64_t> configuredTimeLimit{defaultToolTimeLimit.count()};

// What the tool has read so far, all sources together: a tool that reads
// its archive is at work even while it prints nothing (tar looking for a
// member near the end of a large archive). None when it can't be asked.
std::optional<int64_t> bytesReadBy(qint64 pid) {
    QFile io(QStringLiteral("/proc/%1/io").arg(pid));
    if (!io.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    for (const QByteArray& line : io.readAll().split('\n')) {
        if (line.startsWith("rchar:")) {
            return line.mid(6).trimmed().toLongLong();
        }
    }
    return std::nullopt;
}

QString secondsText(std::chrono::milliseconds limit) {
    return QString::number(double(limit.count()) / 1000.0, 'g', 3);
}

// Watches a running tool for progress: output on either pipe, or bytes read.
// A tool that makes none for the whole time limit counts as hung.
class ProgressWatch {
public:
    explicit ProgressWatch(qint64 pid)
        : m_pid(pid)
        , m_limit(toolTimeLimit())
        , m_read(bytesReadBy(pid)) {
        m_sinceProgress.start();
    }

    void sawOutput() { m_sinceProgress.restart(); }

    bool isHung() {
        if (!m_sinceProgress.hasExpired(m_limit.count())) {
            return false;
        }
        const std::optional<int64_t> read = bytesReadBy(m_pid);
        if (read && read != m_read) {
            m_read = read;
            m_sinceProgress.restart();
            return false;
        }
        return true;
    }

    std::chrono::milliseconds limit() const { return m_limit; }

private:
    qint64 m_pid;
    std::chrono::milliseconds m_limit;
    std::optional<int64_t> m_read;
    QElapsedTimer m_sinceProgress;
};

// Archive tools print names in the C library's locale: under LC_ALL=C tar
// would escape every byte of a Japanese name. A UTF-8 locale gives the bytes.
QProcessEnvironment toolEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

} // namespace

std::optional<QString> findTool(const QStringList& names) {
    for (const QString& folder : toolFolders()) {
        for (const QString& name : names) {
            const QString candidate = folder.endsWith(QLatin1Char('/'))
                                          ? folder + name
                                          : folder + QLatin1Char('/') + name;
            if (SystemPath::isRegularFile(candidate) &&
                ::access(toSystemPath(candidate).constData(), X_OK) == 0) {
                return candidate;
            }
        }
    }
    return std::nullopt;
}

std::chrono::milliseconds toolTimeLimit() {
    return std::chrono::milliseconds(configuredTimeLimit.load());
}

void setToolTimeLimit(std::chrono::milliseconds limit) {
    configuredTimeLimit.store(limit.count());
}

ArchiveResult<Done> streamTool(const QString& path, const QStringList& arguments,
                               const OutputSink& sink, std::stop_token stopToken) {
    if (stopToken.stop_requested()) {
        return fail(ArchiveError::cancelled());
    }
    RunningTool tool{std::make_unique<QProcess>(), nullptr};
    QProcess& process = *tool.process;
    process.setProcessEnvironment(toolEnvironment());
    // A tool that asks a question must not wait for an answer that never comes.
    process.setStandardInputFile(QProcess::nullDevice());
    ChildProcesses::runInOwnGroup(process, path, arguments);
    process.start();
    if (!process.waitForStarted(-1)) {
        return fail(ArchiveError::toolMissing(PathUtils::lastPathComponent(path)));
    }
    tool.registration = std::make_unique<ChildProcesses::Registration>(pid_t(process.processId()));
    ProgressWatch watch(process.processId());
    // Both pipes are drained at every turn, so a tool that fills its error
    // pipe before ending its output cannot block; of the error only the head
    // is kept.
    QByteArray errorHead;
    for (;;) {
        const bool running = process.state() != QProcess::NotRunning;
        const QByteArray error = process.readAllStandardError();
        errorHead.append(error.first(std::min(error.size(), errorHeadLimit - errorHead.size())));
        const QByteArray output = process.readAllStandardOutput();
        if (!output.isEmpty() || !error.isEmpty()) {
            watch.sawOutput();
        }
        if (!output.isEmpty() && !sink(output)) {
            tool.stop();
            return Done{};
        }
        if (!running) {
            break;
        }
        if (stopToken.stop_requested()) {
            tool.stop();
            return fail(ArchiveError::cancelled());
        }
        if (watch.isHung()) {
            tool.stop();
            return fail(ArchiveError::timedOut(PathUtils::lastPathComponent(path),
                                               secondsText(watch.limit())));
        }
        process.waitForReadyRead(pollMilliseconds);
    }
    const bool crashed = process.exitStatus() != QProcess::NormalExit;
    if (!crashed && process.exitCode() == 0) {
        return Done{};
    }
    const int status = crashed ? -1 : process.exitCode();
    return fail(ArchiveError::listFailed(path, failureReason(errorHead, status)));
}

ArchiveResult<QByteArray> runTool(const QString& path, const QStringList& arguments,
                                  std::stop_token stopToken) {
    QByteArray output;
    bool tooLarge = false;
    const auto keep = [&](QByteArrayView piece) {
        if (output.size() + piece.size() > toolOutputLimit) {
            tooLarge = true;
            return false;
        }
        output.append(piece);
        return true;
    };
    auto run = streamTool(path, arguments, keep, std::move(stopToken));
    if (!run) {
        return fail(run.error());
    }
    if (tooLarge) {
        return fail(ArchiveError::listFailed(path, QStringLiteral("Output too large")));
    }
    return output;
}

OutputSink keepingHead(MemberHead& head, int64_t maxBytes) {
    head.bytes.reserve(qsizetype(std::min(maxBytes, memberMemoryLimit)));
    return [&head, maxBytes](QByteArrayView piece) {
        const int64_t room = maxBytes - head.bytes.size();
        head.bytes.append(piece.first(qsizetype(std::min<int64_t>(room, piece.size()))));
        head.isCut = piece.size() > room;
        return !head.isCut;
    };
}

ArchiveResult<MemberHead> runToolHead(const QString& path, const QStringList& arguments,
                                      int64_t maxBytes, std::stop_token stopToken) {
    MemberHead head;
    auto run = streamTool(path, arguments, keepingHead(head, maxBytes), std::move(stopToken));
    if (!run) {
        return fail(run.error());
    }
    return head;
}

} // namespace ArchiveService
