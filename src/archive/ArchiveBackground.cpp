// Archive work for the main thread: the tools block, so they run on the
// shared pool and the result comes back through the caller's event loop.
#include "archive/ArchiveService.h"

#include "core/Background.h"

namespace ArchiveService {

void listMembersInBackground(Background::Executor& executor, const QString& archive,
                             QObject* context,
                             std::function<void(ArchiveResult<QList<ArchiveMember>>)> done) {
    Background::run(
        executor, Background::Pool::shared, context, [archive] { return listMembers(archive); },
        std::move(done));
}

void extractMemberDataInBackground(Background::Executor& executor, const QString& archive,
                                   const QString& memberPath, QObject* context,
                                   std::function<void(ArchiveResult<QByteArray>)> done) {
    Background::run(
        executor, Background::Pool::shared, context,
        [archive, memberPath] { return extractMemberData(archive, memberPath); }, std::move(done));
}

void extractMemberToTemporaryFileInBackground(Background::Executor& executor,
                                              const QString& archive, const QString& memberPath,
                                              QObject* context,
                                              std::function<void(ArchiveResult<QString>)> done) {
    Background::run(
        executor, Background::Pool::shared, context,
        [archive, memberPath] { return extractMemberToTemporaryFile(archive, memberPath); },
        std::move(done));
}

} // namespace ArchiveService
