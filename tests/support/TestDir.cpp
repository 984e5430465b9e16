#include "support/TestDir.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

TestDir::TestDir()
    : m_dir(QDir::tempPath() + QStringLiteral("/dorvik-test-XXXXXX")) {}

TestDir::~TestDir() {
    // Give every folder back its rights, or the removal would stop at the
    // first unreadable one.
    ::chmod(QFile::encodeName(path()).constData(), 0700);
    QDirIterator it(path(), QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString folder = it.next();
        if (!QFileInfo(folder).isSymLink()) {
            ::chmod(QFile::encodeName(folder).constData(), 0700);
        }
    }
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
    if (::symlink(QFile::encodeName(target).constData(), QFile::encodeName(full).constData()) !=
        0) {
        return {};
    }
    return full;
}

void TestDir::setMode(const QString& relative, int mode) {
    ::chmod(QFile::encodeName(filePath(relative)).constData(), mode_t(mode));
}
