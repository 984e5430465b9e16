#pragma once

#include "archive/ArchiveError.h"
#include "archive/ArchiveKind.h"
#include "archive/ArchiveMember.h"
#include "core/Result.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class QObject;
namespace Background {
class Executor;
}

// One view of every archive kind: what members an archive holds and the bytes
// of one of them. ZIP is read by the program itself; tar, tar.gz and LHA by
// running tar, lsar, unar and lha. Everything here blocks, so callers run it
// on worker threads; nothing is cached and no state is shared.
namespace ArchiveService {

template <typename T> using ArchiveResult = Result<T, ArchiveError>;

// The members of an archive of any kind; other kinds are unsupported.
ArchiveResult<QList<ArchiveMember>> listMembers(const QString& archive);

// The bytes of one member.
ArchiveResult<QByteArray> extractMemberData(const QString& archive, const QString& memberPath);

// Writes the member's bytes to a new file under "Dorvik-archive" in the
// temporary folder and returns its path. Each call makes a new file; the
// system's clean-up of its temporary folder removes them.
ArchiveResult<QString> extractMemberToTemporaryFile(const QString& archive,
                                                    const QString& memberPath);

// The first executable among the names in /usr/bin, /bin, /usr/local/bin,
// /opt/homebrew/bin and then the folders of PATH. Looked up anew at each use.
std::optional<QString> findTool(const QStringList& names);

// Runs a tool with its own pipes for output and error, waits for it and gives
// its standard output. A tool that can't start is toolMissing; a non-zero exit
// is listFailed with what the tool wrote on standard error, or "exit N".
ArchiveResult<QByteArray> runTool(const QString& path, const QStringList& arguments);

// The members of a tar or tar.gz archive, and the bytes of one of them.
ArchiveResult<QList<ArchiveMember>> listTarMembers(const QString& archive, ArchiveKind kind);
ArchiveResult<QByteArray> extractTarMember(const QString& archive, ArchiveKind kind,
                                           const QString& memberPath);

// The members of an LHA archive, and the bytes of one of them.
ArchiveResult<QList<ArchiveMember>> listLhaMembers(const QString& archive);
ArchiveResult<QByteArray> extractLhaMember(const QString& archive, const QString& memberPath);

// The same three on the executor's shared pool, for callers on the main
// thread. done runs on the main thread; when context is gone by then,
// nothing runs.
void listMembersInBackground(Background::Executor& executor, const QString& archive,
                             QObject* context,
                             std::function<void(ArchiveResult<QList<ArchiveMember>>)> done);
void extractMemberDataInBackground(Background::Executor& executor, const QString& archive,
                                   const QString& memberPath, QObject* context,
                                   std::function<void(ArchiveResult<QByteArray>)> done);
void extractMemberToTemporaryFileInBackground(Background::Executor& executor,
                                              const QString& archive, const QString& memberPath,
                                              QObject* context,
                                              std::function<void(ArchiveResult<QString>)> done);

} // namespace ArchiveService
