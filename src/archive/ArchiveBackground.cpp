// Archive work for the main thread: the tools block, so they run on the
// shared pool and the result comes back through the caller's event loop.
#include "archive/ArchiveService.h"

#include "core/Background.h"

namespace ArchiveService {

void listMembersInBackground(Background::Executor& executor, const QString& archive,
                             QObject* context,
                             std::function<void(ArchiveResult<QList<ArchiveMember>>)> done,
                             std::stop_token stopToken) {
    Background::run(
        executor, Background::Pool::shared, context,
        [archive, stopToken] { return listMembers(archive, stopToken); }, std::move(done));
}

void extractMemberDataInBackground(Background::Executor& executor, const QString& archive,
                                   const QString& memberPath, QObject* context,
                                   std::function<void(ArchiveResult<QByteArray>)> done,
                                   std::stop_token stopToken) {
    Background::run(
        executor, Background::Pool::shared, context,
        [archive, memberPath, stopToken] {
            return extractMemberData(archive, memberPath, stopToken);
        },
        std::move(done));
}

void extractMemberToTemporaryFileInBackground(Background::Executor& executor,
                                              const QString& archive, const QString& memberPath,
                                              QObject* context,
                                              std::function<void(ArchiveResult<QString>)> done,
                                              std::stop_token stopToken) {
    Background::run(
        executor, Background::Pool::shared, context,
        [archive, memberPath, stopToken] {
            return extractMemberToTemporaryFile(archive, memberPath, stopToken);
        },
        std::move(done));
}

} // namespace ArchiveService
