#include "support/TestDir.h"

#include "core/SystemPath.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

TestDir::TestDir()
    : m_dir(QDir::tempPath() + QStringLiteral("/dorvik-test-XXXXXX")) {}

TestDir::~TestDir() {
    // Give every folder back its rights, or the removal would stop at the
    // first unreadable one.
    ::chmod(toSystemPath(path()).constData(), 0700);
    QDirIterator it(path(), QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString folder = it.next();
        if (!QFileInfo(folder).isSymLink()) {
            ::chmod(toSystemPath(folder).constData(), 0700);
        }
    }
    // Removed by the bytes of each name: Qt's own removal would miss names
    // that are not UTF-8.
    ::nftw(
        toSystemPath(path()).constData(),
        [](const char* item, const struct stat*, int, struct FTW*) { return ::remove(item), 0; },
        16, FTW_DEPTH | FTW_PHYS);
}

QString TestDir::filePath(const QString& relative) const {
    return m_dir.path() + QLatin1Char('/') + relative;
}

QString TestDir::makeFile(const QString& relative, const QByteArray& bytes) {
    const QString full = filePath(relative);
    QDir().mkpath(QFileInfo(full).path());
    QFile file(full);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(bytes);
    }
    return full;
}

QString TestDir::makeFolder(const QString& relative) {
    const QString full = filePath(relative);
    QDir().mkpath(full);
    return full;
}

QString TestDir::makeLink(const QString& relative, const QString& target) {
    const QString full = filePath(relative);
    if (::symlink(toSystemPath(target).constData(), toSystemPath(full).constData()) != 0) {
        return {};
    }
    return full;
}

void TestDir::setMode(const QString& relative, int mode) {
    ::chmod(toSystemPath(filePath(relative)).constData(), mode_t(mode));
}

QString TestDir::makeFileAt(const QByteArray& path, const QByteArray& bytes) {
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0 || ::write(fd, bytes.constData(), size_t(bytes.size())) != bytes.size()) {
        qFatal("cannot make %s", path.constData());
    }
    ::close(fd);
    return fromSystemPath(path);
}
