#pragma once

#include "archive/ArchiveMember.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

class QJsonValue;

// What the external archive tools print, turned into members. Pure functions
// over the bytes a tool wrote, so that hostile output can be fed to them directly.
namespace ArchiveToolOutput {

// One entry of an `lsar -j` listing. The name is the tool's, or the one
// recovered from the raw header bytes when the tool's reading is implausible.
struct LsarEntry {
    QString name;
    bool isDirectory = false;
    int64_t size = 0;
    // "XADIndex", or the entry's place in the listing when the tool gives none.
    int64_t index = 0;
    bool operator==(const LsarEntry&) const = default;
};

struct LsarListing {
    QList<LsarEntry> entries;
    // The encoding lsar says it read the names in; the one asked for when it
    // says nothing.
    QString encoding;
    bool operator==(const LsarListing&) const = default;
};

// Parses the JSON printed by `lsar -j`: either an array of entries or an
// object holding "lsarContents" and "lsarEncoding". None when the text is not
// such JSON (the caller reports "Invalid lsar JSON").
std::optional<LsarListing> parseLsarJson(const QByteArray& json, const QString& requestedEncoding);

// The members of a parsed lsar listing: folders end in "/" and have size 0.
QList<ArchiveMember> membersFromLsar(const LsarListing& listing);

// Whether lsar guessed a Western encoding, so that CP932 names came out garbled.
bool isWesternEncoding(const QString& encoding);

// Whether a decoded name can be taken as it is. CP932 names read as
// Windows-1252 show the lead bytes 0x82, 0x83, 0x84 as "‚", "ƒ", "„".
bool isPlausibleName(const QString& name);

// The raw name bytes of "LHAExtFileNameData": binary data (lsar writes each
// byte as one character up to U+00FF), a base64 text, or an array of byte values.
std::optional<QByteArray> nameDataBytes(const QJsonValue& value);

// Names printed by tar and lha are the archive's bytes: they are read in the
// lossless text form of SystemPath, so a name that is not UTF-8 keeps its
// bytes, to be shown as file names are and to be given back to the tool.
// In such a name "\\" becomes "/", except where it is the second byte of a Shift_JIS
// character whose first byte is not UTF-8 ("表" is 0x95 0x5C).
QString withForwardSlashes(const QString& path);

// The members of `lha l` output. Names are the last word of each line.
QList<ArchiveMember> parseLhaList(const QByteArray& output);

// The bytes of the first member in what `lha p` printed. lha puts a banner
// before each member it prints ("::::::::", the name, "::::::::", a line
// each); the banner is not part of the member, and a second member of the
// same name, banner and all, is cut off. Output without a banner is
// returned as it is.
QByteArray lhaPrintedMember(const QByteArray& output);

// The members of `tar -tf` output: names only, so size 0 and no date.
QList<ArchiveMember> parseTarList(const QByteArray& output);

// "\\" becomes "/" (as withForwardSlashes), leading "./" and "/" go, one
// trailing "/" goes.
QString normalizedMemberPath(const QString& path);

} // namespace ArchiveToolOutput
