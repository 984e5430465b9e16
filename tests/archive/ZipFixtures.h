#pragma once

// Archives made by real tools in a test's temporary folder, and the few byte
// patches that turn them into damaged or lying ones.
#include "core/SystemPath.h"
#include "support/TestDir.h"
#include "support/ToolRun.h"

#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QList>
#include <QProcess>
#include <QStringList>

#include <gtest/gtest.h>

#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ZipFixtures {

using ToolRun::run;

inline QByteArray readFile(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

inline void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    file.write(bytes);
}

// The process works in the folder while this lives: where a tool fooled by a
// member name would write.
struct InFolder {
    explicit InFolder(const QString& folder)
        : previous(QDir::currentPath()) {
        QDir::setCurrent(folder);
    }
    ~InFolder() { QDir::setCurrent(previous); }
    QString previous;
};

// A file whose name is raw bytes, as a Japanese Windows tool leaves them on
// a Linux disk; QFile would re-encode the name.
inline void makeRawNamedFile(const QString& folder, const QByteArray& name,
                             const QByteArray& bytes) {
    const QByteArray path = toSystemPath(folder) + '/' + name;
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::write(fd, bytes.constData(), size_t(bytes.size())), bytes.size());
    ::close(fd);
}

// A folder of raw-named files, removed by rm: Qt cannot name what it holds.
struct RemovedWithTheTest {
    explicit RemovedWithTheTest(const QString& folder)
        : folder(folder) {}
    ~RemovedWithTheTest() { QProcess::execute("rm", {"-rf", folder}); }
    QString folder;
};

inline void setModificationTime(const QString& path, const QDateTime& when) {
    const timespec times[2] = {{when.toSecsSinceEpoch(), 0}, {when.toSecsSinceEpoch(), 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, toSystemPath(path).constData(), times, 0), 0);
}

inline uint32_t le(const QByteArray& bytes, qsizetype at, int width) {
    uint32_t value = 0;
    for (int k = width - 1; k >= 0; --k) {
        value = (value << 8) | uchar(bytes[at + k]);
    }
    return value;
}

inline void putLe(QByteArray& bytes, qsizetype at, int width, uint32_t value) {
    for (int k = 0; k < width; ++k) {
        bytes[at + k] = char((value >> (8 * k)) & 0xFF);
    }
}

// Little-endian numbers of 2, 4 and 8 bytes, as the ZIP records lay them end to end.
inline QByteArray leBytes(uint64_t value, int width) {
    QByteArray out(width, '\0');
    for (int k = 0; k < width; ++k) {
        out[k] = char((value >> (8 * k)) & 0xFF);
    }
    return out;
}
inline QByteArray le16(uint16_t value) {
    return leBytes(value, 2);
}
inline QByteArray le32(uint32_t value) {
    return leBytes(value, 4);
}
inline QByteArray le64(uint64_t value) {
    return leBytes(value, 8);
}

inline qsizetype endRecord(const QByteArray& zip) {
    return zip.lastIndexOf(QByteArray("PK\x05\x06", 4));
}

// The offsets of the central-directory headers, walked from the end record.
inline QList<qsizetype> centralHeaders(const QByteArray& zip) {
    QList<qsizetype> offsets;
    const qsizetype end = endRecord(zip);
    qsizetype pos = le(zip, end + 16, 4);
    for (uint32_t i = 0; i < le(zip, end + 10, 2); ++i) {
        offsets.append(pos);
        pos += 46 + le(zip, pos + 28, 2) + le(zip, pos + 30, 2) + le(zip, pos + 32, 2);
    }
    return offsets;
}

// Where the data of the member whose central header stands at header begins.
inline qsizetype memberData(const QByteArray& zip, qsizetype header) {
    const qsizetype local = le(zip, header + 42, 4);
    return local + 30 + le(zip, local + 26, 2) + le(zip, local + 28, 2);
}

} // namespace ZipFixtures
