// Finding and running the archive tools. A tool's output is taken as it
// comes and handed on at once, so that what the tool prints is never held
// whole unless the caller keeps it, and a tool that prints past what the
// caller wants is stopped there.
#include "archive/ArchiveService.h"

#include "core/PathUtils.h"
#include "text/TextDecoding.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <csignal>
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
    const QString path = qEnvironmentVariable("PATH");
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

// Ends the tool and everything it started: tar runs gzip in its own group.
void stop(QProcess& process) {
    const qint64 pid = process.processId();
    if (pid > 0) {
        ::kill(-pid_t(pid), SIGKILL);
    }
    process.kill();
    process.waitForFinished(-1);
}

} // namespace

std::optional<QString> findTool(const QStringList& names) {
    for (const QString& folder : toolFolders()) {
        for (const QString& name : names) {
            const QString candidate = QDir(folder).filePath(name);
            const QFileInfo info(candidate);
            if (info.isFile() && ::access(QFile::encodeName(candidate).constData(), X_OK) == 0) {
                return candidate;
            }
        }
    }
    return std::nullopt;
}

ArchiveResult<Done> streamTool(const QString& path, const QStringList& arguments,
                               const OutputSink& sink) {
    QProcess process;
    process.setProgram(path);
    process.setArguments(arguments);
    // A tool that asks a question must not wait for an answer that never comes.
    process.setStandardInputFile(QProcess::nullDevice());
    process.setChildProcessModifier([] { ::setpgid(0, 0); });
    process.start();
    if (!process.waitForStarted(-1)) {
        return fail(ArchiveError::toolMissing(PathUtils::lastPathComponent(path)));
    }
    // Both pipes are drained at every turn, so a tool that fills its error
    // pipe before ending its output cannot block; of the error only the head
    // is kept.
    QByteArray errorHead;
    for (;;) {
        const bool running = process.state() != QProcess::NotRunning;
        const QByteArray error = process.readAllStandardError();
        errorHead.append(error.first(std::min(error.size(), errorHeadLimit - errorHead.size())));
        const QByteArray output = process.readAllStandardOutput();
        if (!output.isEmpty() && !sink(output)) {
            stop(process);
            return Done{};
        }
        if (!running) {
            break;
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

ArchiveResult<QByteArray> runTool(const QString& path, const QStringList& arguments) {
    QByteArray output;
    bool tooLarge = false;
    auto run = streamTool(path, arguments, [&](QByteArrayView piece) {
        if (output.size() + piece.size() > toolOutputLimit) {
            tooLarge = true;
            return false;
        }
        output.append(piece);
        return true;
    });
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
                                      int64_t maxBytes) {
    MemberHead head;
    auto run = streamTool(path, arguments, keepingHead(head, maxBytes));
    if (!run) {
        return fail(run.error());
    }
    return head;
}

} // namespace ArchiveService
