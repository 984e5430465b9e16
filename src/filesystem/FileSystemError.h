#pragma once

#include "core/Result.h"

#include <QString>

// The file system's own failures, each with the exact text the user reads.
// A failure of a system call carries the system's own message.
struct FileSystemError {
    enum class Kind {
        notADirectory,
        unreadableText,
        encodeFailed,
        alreadyExists,
        createFailed,
        invalidName,
        sameDirectory,
        invalidDestination,
        invalidMode,
        invalidAttributeDate,
        sameItem,
        holdsSource,
        intoItself,
        itemChanged,
        stopped,
        system,
    };

    Kind kind = Kind::system;
    // The URL (a path) or the encoding's name, as the kind needs.
    QString payload;
    SystemError systemError;

    static FileSystemError make(Kind kind, const QString& payload = {}) {
        return {kind, payload, {}};
    }
    static FileSystemError fromSystem(const SystemError& error) {
        return {Kind::system, {}, error};
    }
    static FileSystemError fromErrno(int code) { return fromSystem(SystemError::fromErrno(code)); }

    QString description() const;
    bool operator==(const FileSystemError&) const = default;
};

template <typename T> using FsResult = Result<T, FileSystemError>;
