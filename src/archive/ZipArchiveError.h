#pragma once

#include "core/Result.h"

#include <QString>

// Why the ZIP reader could not list an archive or read a member, with the
// exact text the user reads. A failure of the file system itself carries the
// system's own message unchanged.
struct ZipArchiveError {
    enum class Kind { notFound, listFailed, extractFailed, unreadableText, system };

    Kind kind = Kind::system;
    // The archive's path (notFound, listFailed) or the member's path
    // (extractFailed, unreadableText).
    QString payload;
    // The fixed reason text of listFailed and extractFailed.
    QString reason;
    SystemError systemError;

    static ZipArchiveError notFound(const QString& archivePath) {
        return {Kind::notFound, archivePath, {}, {}};
    }
    static ZipArchiveError listFailed(const QString& archivePath, const QString& reason) {
        return {Kind::listFailed, archivePath, reason, {}};
    }
    static ZipArchiveError extractFailed(const QString& memberPath, const QString& reason) {
        return {Kind::extractFailed, memberPath, reason, {}};
    }
    static ZipArchiveError unreadableText(const QString& memberPath) {
        return {Kind::unreadableText, memberPath, {}, {}};
    }
    static ZipArchiveError fromSystem(const SystemError& error) {
        return {Kind::system, {}, {}, error};
    }

    QString description() const;
    bool operator==(const ZipArchiveError&) const = default;
};

template <typename T> using ZipResult = Result<T, ZipArchiveError>;
