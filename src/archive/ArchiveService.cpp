#include "archive/ArchiveService.h"

#include "archive/ArchiveToolOutput.h"
#include "archive/ZipArchiveService.h"
#include "core/PathUtils.h"
#include "text/TextDecoding.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QUuid>

#include <unistd.h>

namespace ArchiveService {

namespace {

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

// The ZIP reader's failures reach the user with the reader's own text.
template <typename T> ArchiveResult<T> fromZip(ZipResult<T>&& result) {
    if (!result) {
        return fail(ArchiveError::zip(result.error().description()));
    }
    return std::move(result).value();
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

ArchiveResult<QByteArray> runTool(const QString& path, const QStringList& arguments) {
    QProcess process;
    process.setProgram(path);
    process.setArguments(arguments);
    // A tool that asks a question must not wait for an answer that never comes.
    process.setStandardInputFile(QProcess::nullDevice());
    process.start();
    if (!process.waitForStarted(-1)) {
        return fail(ArchiveError::toolMissing(PathUtils::lastPathComponent(path)));
    }
    // QProcess drains both pipes while it waits, so a tool that fills its
    // error pipe before ending its output cannot block.
    process.waitForFinished(-1);
    const QByteArray output = process.readAllStandardOutput();
    const bool crashed = process.exitStatus() != QProcess::NormalExit;
    if (!crashed && process.exitCode() == 0) {
        return output;
    }
    const int status = crashed ? -1 : process.exitCode();
    return fail(
        ArchiveError::listFailed(path, failureReason(process.readAllStandardError(), status)));
}

ArchiveResult<QList<ArchiveMember>> listTarMembers(const QString& archive, ArchiveKind kind) {
    const auto tar = findTool({QStringLiteral("tar")});
    if (!tar) {
        return fail(ArchiveError::toolMissing(QStringLiteral("tar")));
    }
    const QString flag =
        kind == ArchiveKind::tarGz ? QStringLiteral("-tzf") : QStringLiteral("-tf");
    auto output = runTool(*tar, {flag, archive});
    if (!output) {
        return fail(output.error());
    }
    return ArchiveToolOutput::parseTarList(*output);
}

ArchiveResult<QByteArray> extractTarMember(const QString& archive, ArchiveKind kind,
                                           const QString& memberPath) {
    const auto tar = findTool({QStringLiteral("tar")});
    if (!tar) {
        return fail(ArchiveError::toolMissing(QStringLiteral("tar")));
    }
    const QString flag =
        kind == ArchiveKind::tarGz ? QStringLiteral("-xzOf") : QStringLiteral("-xOf");
    const QString member = ArchiveToolOutput::normalizedMemberPath(memberPath);
    // Member names come from the archive and are data: after "--" tar takes
    // even "--checkpoint-action=exec=..." as a name, never as an option. An
    // archive may store the name with or without "./", or (when it was made
    // with absolute names) with the "/" the listing drops, hence the retries.
    // "-P" lets tar match names holding ".." or a leading "/"; with "-O"
    // nothing is written anywhere but to the pipe.
    const QStringList options = {flag, archive, QStringLiteral("-P"), QStringLiteral("--")};
    auto bytes = runTool(*tar, options + QStringList{member});
    if (bytes) {
        return bytes;
    }
    bytes = runTool(*tar, options + QStringList{QStringLiteral("./") + member});
    if (bytes) {
        return bytes;
    }
    // The error of the "./" try stands when this one fails too.
    auto absolute = runTool(*tar, options + QStringList{QStringLiteral("/") + member});
    return absolute ? std::move(absolute) : std::move(bytes);
}

ArchiveResult<QList<ArchiveMember>> listMembers(const QString& archive) {
    const QString path = PathUtils::standardizedPath(archive);
    switch (const ArchiveKind kind = archiveKind(path)) {
    case ArchiveKind::tar:
    case ArchiveKind::tarGz:
        return listTarMembers(path, kind);
    case ArchiveKind::lzh:
        return listLhaMembers(path);
    case ArchiveKind::zip:
        return fromZip(ZipArchiveService::listMembers(path));
    case ArchiveKind::other:
        break;
    }
    return fail(ArchiveError::unsupported(path));
}

ArchiveResult<QByteArray> extractMemberData(const QString& archive, const QString& memberPath) {
    const QString path = PathUtils::standardizedPath(archive);
    switch (const ArchiveKind kind = archiveKind(path)) {
    case ArchiveKind::tar:
    case ArchiveKind::tarGz:
        return extractTarMember(path, kind, memberPath);
    case ArchiveKind::lzh:
        return extractLhaMember(path, memberPath);
    case ArchiveKind::zip:
        return fromZip(ZipArchiveService::extractMemberData(path, memberPath));
    case ArchiveKind::other:
        break;
    }
    return fail(ArchiveError::unsupported(path));
}

ArchiveResult<QString> extractMemberToTemporaryFile(const QString& archive,
                                                    const QString& memberPath) {
    const QString path = PathUtils::standardizedPath(archive);
    if (archiveKind(path) == ArchiveKind::other) {
        return fail(ArchiveError::unsupported(path));
    }
    auto bytes = extractMemberData(path, memberPath);
    if (!bytes) {
        return fail(bytes.error());
    }
    const QString folder = QDir::tempPath() + QStringLiteral("/Dorvik-archive");
    QDir().mkpath(folder);
    // The member's last component only: its folders, "..", or a leading "/"
    // never reach the file name.
    const QString name =
        ArchiveToolOutput::normalizedMemberPath(memberPath).section(QLatin1Char('/'), -1);
    const QString target = folder + QLatin1Char('/') +
                           QUuid::createUuid().toString(QUuid::WithoutBraces) + QLatin1Char('-') +
                           name;
    QSaveFile file(target);
    if (!file.open(QIODevice::WriteOnly) || file.write(*bytes) != bytes->size() || !file.commit()) {
        return fail(ArchiveError::extractFailed(memberPath, file.errorString()));
    }
    return target;
}

} // namespace ArchiveService
