#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

// A file name on Linux is a string of bytes, not always UTF-8. Inside the
// program every path is text in one lossless form: valid UTF-8 decodes as
// usual, and each byte of an invalid sequence becomes the lone surrogate
// U+DC80..U+DCFF that stands for it (as other runtimes escape such bytes).
// Two different byte strings therefore never give the same text, and the
// text turns back into exactly the bytes it came from. These two functions
// are the only crossing between the two forms; every system call takes the
// bytes of toSystemPath.
//
// Qt's own file classes encode a path lossily, so a path that may hold such
// escapes must never be handed to QFile(path), QDir, QFileInfo or QProcess.

// The bytes the system knows the path by.
QByteArray toSystemPath(QStringView path);
// The lossless text form of a name or path read from the system.
QString fromSystemPath(QByteArrayView bytes);

namespace SystemPath {

// True when the text holds an escaped byte, i.e. the name is not UTF-8.
bool hasEscapedBytes(QStringView path);

// Questions about a path asked with the exact bytes. isDirectory follows
// links, as a shell's test -d does; exists does not.
bool isDirectory(QStringView path);
bool isRegularFile(QStringView path);
bool exists(QStringView path);

// What QFileInfo would tell of an item, read with the exact bytes; links are
// followed. Nothing when the item can't be reached.
struct Status {
    bool isDirectory = false;
    bool isRegularFile = false;
    int64_t size = 0;
    QDateTime modified;
};
std::optional<Status> status(QStringView path);

// The process's current folder, its bytes kept; empty when it can't be read
// (deleted, or beyond the buffer's size).
QString currentFolder();

} // namespace SystemPath
