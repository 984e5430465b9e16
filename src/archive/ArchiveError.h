#pragma once

#include <QString>

// A failure of listing or reading an archive, with the exact text the user
// reads. The ZIP reader's own failures travel as kind zip with their text.
struct ArchiveError {
    enum class Kind {
        notFound,
        unsupported,
        listFailed,
        extractFailed,
        toolMissing,
        zip,
        timedOut,
        cancelled
    };

    Kind kind = Kind::listFailed;
    // The archive's path (notFound, unsupported, listFailed), the member
    // (extractFailed) or the tool's name (toolMissing, timedOut).
    QString subject;
    // Why listing or extraction failed; the whole text for kind zip; the
    // seconds a tool went without progress for kind timedOut.
    QString reason;

    static ArchiveError notFound(const QString& archive) { return {Kind::notFound, archive, {}}; }
    static ArchiveError unsupported(const QString& archive) {
        return {Kind::unsupported, archive, {}};
    }
    static ArchiveError listFailed(const QString& archive, const QString& reason) {
        return {Kind::listFailed, archive, reason};
    }
    static ArchiveError extractFailed(const QString& member, const QString& reason) {
        return {Kind::extractFailed, member, reason};
    }
    static ArchiveError toolMissing(const QString& tool) { return {Kind::toolMissing, tool, {}}; }
    static ArchiveError zip(const QString& description) { return {Kind::zip, {}, description}; }
    static ArchiveError timedOut(const QString& tool, const QString& seconds) {
        return {Kind::timedOut, tool, seconds};
    }
    static ArchiveError cancelled() { return {Kind::cancelled, {}, {}}; }

    // A hung tool or a withdrawn request: trying the next tool or the next
    // form of the name would only wait again, or for nobody.
    bool endsAllAttempts() const { return kind == Kind::timedOut || kind == Kind::cancelled; }

    QString description() const;
    bool operator==(const ArchiveError&) const = default;
};
