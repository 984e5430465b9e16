#pragma once

#include "archive/ArchiveError.h"
#include "archive/ArchiveKind.h"
#include "archive/ArchiveMember.h"
#include "core/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>

class QObject;
namespace Background {
class Executor;
}

// One view of every archive kind: what members an archive holds and the bytes
// of one of them. ZIP is read by the program itself; tar, tar.gz and LHA by
// running tar, lsar, unar and lha. Everything here blocks, so callers run it
// on worker threads; nothing is cached and no state is shared.
//
// Every call that runs a tool takes a stop token: once stop is requested the
// tool and whatever it started are killed and the call ends with cancelled
// within a fraction of a second. A tool that makes no progress (prints
// nothing and reads nothing) for toolTimeLimit() is killed the same way and
// the call ends with timedOut; no further tool or name form is tried then.
//
// Only regular files are read: a FIFO, a device or a link to one is refused
// with "Not a regular file" before any tool runs. No member is held in
// memory beyond what its use needs, whatever it inflates to: the limits
// below bound every read, and a tool whose output goes past its limit is
// stopped.
namespace ArchiveService {

template <typename T> using ArchiveResult = Result<T, ArchiveError>;

// The most of a member read into memory whole.
constexpr int64_t memberMemoryLimit = int64_t(256) << 20;
// The most of a member copied into the temporary folder.
constexpr int64_t copyLimit = int64_t(2) << 30;
// The most a tool may print for a listing.
constexpr int64_t toolOutputLimit = int64_t(64) << 20;

// How long a tool may go without progress before it counts as hung.
constexpr std::chrono::milliseconds defaultToolTimeLimit{30000};
// The limit in force, for every thread; tests set a short one.
std::chrono::milliseconds toolTimeLimit();
void setToolTimeLimit(std::chrono::milliseconds limit);

// The first bytes of a member.
struct MemberHead {
    QByteArray bytes;
    // The whole member's size where the archive declares it (ZIP).
    std::optional<int64_t> size;
    // Whether the member goes on past these bytes.
    bool isCut = false;
    bool operator==(const MemberHead&) const = default;
};

// Takes a tool's output piece by piece; answering false stops the tool.
using OutputSink = std::function<bool(QByteArrayView)>;

// The members of an archive of any kind; other kinds are unsupported.
ArchiveResult<QList<ArchiveMember>> listMembers(const QString& archive,
                                                std::stop_token stopToken = {});

// The bytes of one member; one larger than memberMemoryLimit is refused.
ArchiveResult<QByteArray> extractMemberData(const QString& archive, const QString& memberPath,
                                            std::stop_token stopToken = {});

// At most maxBytes from the start of a member: only that much is inflated,
// and a tool is stopped once it has given that much.
ArchiveResult<MemberHead> extractMemberHead(const QString& archive, const QString& memberPath,
                                            int64_t maxBytes, std::stop_token stopToken = {});

// Copies the member into a new file of the private temporary folder
// (ArchiveTemporaryFolder) and returns its path. The bytes go to the file as
// they come, never all in memory; a member larger than copyLimit is refused.
// Each call makes a new file; remove it with ArchiveTemporaryFolder::remove
// once it is no longer shown. Whatever is left goes at exit.
ArchiveResult<QString> extractMemberToTemporaryFile(const QString& archive,
                                                    const QString& memberPath,
                                                    std::stop_token stopToken = {});

// The first executable among the names in /usr/bin, /bin, /usr/local/bin,
// /opt/homebrew/bin and then the folders of PATH. Looked up anew at each use.
std::optional<QString> findTool(const QStringList& names);

// Runs a tool with its own pipes for output and error and hands its standard
// output to sink as it comes. When sink answers false the tool is stopped,
// with whatever it started, and the run counts as done. A tool that can't
// start is toolMissing; a non-zero exit is listFailed with what the tool
// wrote on standard error, or "exit N".
ArchiveResult<Done> streamTool(const QString& path, const QStringList& arguments,
                               const OutputSink& sink, std::stop_token stopToken = {});
// The whole standard output of a tool; more than toolOutputLimit is
// listFailed "Output too large".
ArchiveResult<QByteArray> runTool(const QString& path, const QStringList& arguments,
                                  std::stop_token stopToken = {});
// A sink that keeps at most maxBytes in head and, once more comes, marks it
// cut and answers false. Room for maxBytes (up to memberMemoryLimit) is set
// aside at once: pages the pieces never reach are never touched, and the
// bytes are not moved as they grow.
OutputSink keepingHead(MemberHead& head, int64_t maxBytes);
// At most maxBytes of a tool's standard output; the tool is stopped when it
// has more to give.
ArchiveResult<MemberHead> runToolHead(const QString& path, const QStringList& arguments,
                                      int64_t maxBytes, std::stop_token stopToken = {});

// The members of a tar or tar.gz archive, and the bytes of one of them.
ArchiveResult<QList<ArchiveMember>> listTarMembers(const QString& archive, ArchiveKind kind,
                                                   std::stop_token stopToken = {});
// Hands the member to sink as tar gives it. Tried with the name as listed,
// then with "./" and "/" before it, while nothing has come yet.
ArchiveResult<Done> streamTarMember(const QString& archive, ArchiveKind kind,
                                    const QString& memberPath, const OutputSink& sink,
                                    std::stop_token stopToken = {});

// The members of an LHA archive, and at most maxBytes of one of them.
ArchiveResult<QList<ArchiveMember>> listLhaMembers(const QString& archive,
                                                   std::stop_token stopToken = {});
ArchiveResult<MemberHead> extractLhaMember(const QString& archive, const QString& memberPath,
                                           int64_t maxBytes, std::stop_token stopToken = {});

// The same three on the executor's shared pool, for callers on the main
// thread. done runs on the main thread; when context is gone by then,
// nothing runs.
void listMembersInBackground(Background::Executor& executor, const QString& archive,
                             QObject* context,
                             std::function<void(ArchiveResult<QList<ArchiveMember>>)> done,
                             std::stop_token stopToken = {});
void extractMemberDataInBackground(Background::Executor& executor, const QString& archive,
                                   const QString& memberPath, QObject* context,
                                   std::function<void(ArchiveResult<QByteArray>)> done,
                                   std::stop_token stopToken = {});
void extractMemberToTemporaryFileInBackground(Background::Executor& executor,
                                              const QString& archive, const QString& memberPath,
                                              QObject* context,
                                              std::function<void(ArchiveResult<QString>)> done,
                                              std::stop_token stopToken = {});

} // namespace ArchiveService
