// Archive work for the main thread: the tools block, so they run on the
// thread pool and the result comes back through the caller's event loop.
#include "archive/ArchiveService.h"

#include <QFutureWatcher>
#include <QtConcurrent>

namespace ArchiveService {

namespace {

// The watcher belongs to context: destroying context drops the result unseen.
template <typename T, typename Work>
void runInBackground(QObject* context, Work work, std::function<void(T)> done) {
    auto* watcher = new QFutureWatcher<T>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, watcher, [watcher, done] {
        done(watcher->future().takeResult());
        watcher->deleteLater();
    });
    watcher->setFuture(QtConcurrent::run(std::move(work)));
}

} // namespace

void listMembersInBackground(const QString& archive, QObject* context,
                             std::function<void(ArchiveResult<QList<ArchiveMember>>)> done) {
    runInBackground<ArchiveResult<QList<ArchiveMember>>>(
        context, [archive] { return listMembers(archive); }, std::move(done));
}

void extractMemberDataInBackground(const QString& archive, const QString& memberPath,
                                   QObject* context,
                                   std::function<void(ArchiveResult<QByteArray>)> done) {
    runInBackground<ArchiveResult<QByteArray>>(
        context, [archive, memberPath] { return extractMemberData(archive, memberPath); },
        std::move(done));
}

void extractMemberToTemporaryFileInBackground(const QString& archive, const QString& memberPath,
                                              QObject* context,
                                              std::function<void(ArchiveResult<QString>)> done) {
    runInBackground<ArchiveResult<QString>>(
        context,
        [archive, memberPath] { return extractMemberToTemporaryFile(archive, memberPath); },
        std::move(done));
}

} // namespace ArchiveService
