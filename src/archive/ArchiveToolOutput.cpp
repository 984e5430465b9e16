#include "archive/ArchiveToolOutput.h"

#include "core/SystemPath.h"
#include "text/TextDecoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <algorithm>

namespace ArchiveToolOutput {

namespace {

// The byte an escaped unit of the lossless text form stands for, or -1.
int escapedByte(QChar c) {
    const char16_t unit = c.unicode();
    return unit >= 0xDC80 && unit <= 0xDCFF ? int(unit - 0xDC00) : -1;
}

bool isShiftJisLead(int byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

// The words of a line split at white space. Done by hand: a regular
// expression refuses text that holds the escapes of bytes that are not UTF-8.
QStringList words(const QString& line) {
    QStringList result;
    qsizetype start = -1;
    for (qsizetype i = 0; i <= line.size(); ++i) {
        const bool space = i == line.size() || line[i].isSpace();
        if (space && start >= 0) {
            result.append(line.mid(start, i - start));
            start = -1;
        } else if (!space && start < 0) {
            start = i;
        }
    }
    return result;
}

// lsar writes its flags as JSON booleans or as the numbers 0 and 1, depending
// on its version and on the format: both mean the same.
bool jsonFlag(const QJsonValue& value) {
    if (value.isBool()) {
        return value.toBool();
    }
    return value.isDouble() && value.toDouble() != 0;
}

// A whole number given as a JSON number or as a decimal text; the fallback
// for anything else.
int64_t jsonInteger(const QJsonValue& value, int64_t fallback) {
    if (value.isString()) {
        bool ok = false;
        const qlonglong number = value.toString().trimmed().toLongLong(&ok);
        return ok ? number : fallback;
    }
    // toInteger refuses values that are not whole numbers a 64-bit integer holds.
    return value.toInteger(fallback);
}

std::optional<QString> nameFromEntry(const QJsonObject& entry) {
    const QJsonValue fileName = entry.value(QLatin1String("XADFileName"));
    if (fileName.isString() && isPlausibleName(fileName.toString())) {
        return fileName.toString();
    }
    if (const auto raw = nameDataBytes(entry.value(QLatin1String("LHAExtFileNameData")))) {
        if (auto decoded = TextDecoding::decodeStrict(*raw, TextFileEncoding::shiftJIS)) {
            return decoded;
        }
        if (auto decoded = TextDecoding::decodeStrict(*raw, TextFileEncoding::cp932)) {
            return decoded;
        }
    }
    if (fileName.isString()) {
        return fileName.toString();
    }
    return std::nullopt;
}

std::optional<LsarEntry> entryFromJson(const QJsonObject& object, qsizetype place) {
    if (jsonFlag(object.value(QLatin1String("XADIsArchive")))) {
        return std::nullopt;
    }
    const auto name = nameFromEntry(object);
    if (!name) {
        return std::nullopt;
    }
    LsarEntry entry;
    entry.name = *name;
    entry.isDirectory = jsonFlag(object.value(QLatin1String("XADIsDirectory")));
    entry.size = std::max<int64_t>(0, jsonInteger(object.value(QLatin1String("XADFileSize")), 0));
    entry.index = jsonInteger(object.value(QLatin1String("XADIndex")), int64_t(place));
    return entry;
}

} // namespace

std::optional<LsarListing> parseLsarJson(const QByteArray& json, const QString& requestedEncoding) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    LsarListing listing;
    listing.encoding = requestedEncoding;
    QJsonArray contents;
    if (document.isArray()) {
        contents = document.array();
    } else if (document.isObject()) {
        const QJsonObject top = document.object();
        if (!top.value(QLatin1String("lsarContents")).isArray()) {
            return std::nullopt;
        }
        contents = top.value(QLatin1String("lsarContents")).toArray();
        const QJsonValue encoding = top.value(QLatin1String("lsarEncoding"));
        if (encoding.isString()) {
            listing.encoding = encoding.toString();
        }
    } else {
        return std::nullopt;
    }
    for (qsizetype place = 0; place < contents.size(); ++place) {
        if (auto entry = entryFromJson(contents.at(place).toObject(), place)) {
            listing.entries.append(std::move(*entry));
        }
    }
    return listing;
}

QList<ArchiveMember> membersFromLsar(const LsarListing& listing) {
    QList<ArchiveMember> members;
    for (const LsarEntry& entry : listing.entries) {
        QString path = entry.name;
        path.replace(QLatin1Char('\\'), QLatin1Char('/'));
        while (path.startsWith(QLatin1Char('/'))) {
            path.remove(0, 1);
        }
        if (path.isEmpty()) {
            continue;
        }
        ArchiveMember member;
        member.isDirectory = entry.isDirectory || path.endsWith(QLatin1Char('/'));
        if (member.isDirectory && !path.endsWith(QLatin1Char('/'))) {
            path += QLatin1Char('/');
        }
        member.path = path;
        member.size = member.isDirectory ? 0 : entry.size;
        members.append(std::move(member));
    }
    return members;
}

bool isWesternEncoding(const QString& encoding) {
    const QString lower = encoding.toLower();
    return lower.contains(QLatin1String("1252")) || lower.contains(QLatin1String("8859")) ||
           lower.contains(QLatin1String("latin")) || lower == QLatin1String("iso-8859");
}

bool isPlausibleName(const QString& name) {
    bool allAscii = true;
    for (const char32_t scalar : name.toUcs4()) {
        if ((scalar >= 0xFF66 && scalar <= 0xFF9D) || (scalar >= 0x3040 && scalar <= 0x30FF) ||
            (scalar >= 0x3400 && scalar <= 0x9FFF)) {
            return true;
        }
        allAscii = allAscii && scalar < 0x80;
    }
    if (allAscii) {
        return true;
    }
    return !name.contains(QChar(0x0192)) && !name.contains(QChar(0x201A)) &&
           !name.contains(QChar(0x201E));
}

std::optional<QByteArray> nameDataBytes(const QJsonValue& value) {
    if (value.isString()) {
        const QString text = value.toString();
        bool byteValued = true;
        bool highBytes = false;
        for (const QChar c : text) {
            byteValued = byteValued && c.unicode() <= 0xFF;
            highBytes = highBytes || c.unicode() >= 0x80;
        }
        if (byteValued && highBytes) {
            return text.toLatin1();
        }
        const auto base64 = QByteArray::fromBase64Encoding(text.toLatin1(),
                                                           QByteArray::AbortOnBase64DecodingErrors);
        if (byteValued && base64) {
            return *base64;
        }
        return byteValued ? std::optional(text.toLatin1()) : std::nullopt;
    }
    if (value.isArray()) {
        QByteArray bytes;
        for (const QJsonValue& item : value.toArray()) {
            const double number = item.toDouble(-1);
            if (!item.isDouble() || number < 0 || number > 255) {
                return std::nullopt;
            }
            bytes.append(char(int(number)));
        }
        return bytes;
    }
    return std::nullopt;
}

QString withForwardSlashes(const QString& path) {
    QString result = path;
    for (qsizetype i = 0; i < result.size(); ++i) {
        if (isShiftJisLead(escapedByte(result[i]))) {
            ++i; // the trail byte, a "\\" among them, belongs to the character
        } else if (result[i] == QLatin1Char('\\')) {
            result[i] = QLatin1Char('/');
        }
    }
    return result;
}

QList<ArchiveMember> parseLhaList(const QByteArray& output) {
    const QString text = fromSystemPath(output);
    QList<ArchiveMember> members;
    for (const QString& piece : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString line = piece.trimmed();
        const QString lower = line.toLower();
        if (line.isEmpty() || line.startsWith(QLatin1String("PERMISS")) ||
            line.startsWith(QLatin1String("-----")) || line.startsWith(QLatin1String("Total")) ||
            lower.startsWith(QLatin1String("lha:"))) {
            continue;
        }
        const QStringList tokens = words(line);
        if (tokens.isEmpty() || tokens.last() == QLatin1String("NAME")) {
            continue;
        }
        QString path = withForwardSlashes(tokens.last());
        const bool isDirectory =
            path.endsWith(QLatin1Char('/')) || lower.contains(QLatin1String(" directory"));
        while (path.startsWith(QLatin1Char('/'))) {
            path.remove(0, 1);
        }
        if (isDirectory && !path.endsWith(QLatin1Char('/'))) {
            path += QLatin1Char('/');
        }
        members.append(ArchiveMember{path, isDirectory, 0, std::nullopt});
    }
    return members;
}

QByteArray lhaPrintedMember(const QByteArray& output) {
    static const QByteArray rule = QByteArrayLiteral("::::::::\n");
    if (!output.startsWith(rule)) {
        return output;
    }
    const qsizetype nameEnd = output.indexOf('\n', rule.size());
    if (nameEnd < 0 || output.mid(nameEnd + 1, rule.size()) != rule) {
        return output;
    }
    const qsizetype start = nameEnd + 1 + rule.size();
    const QByteArray banner = output.first(start);
    const qsizetype next = output.indexOf(banner, start);
    return output.mid(start, next < 0 ? -1 : next - start);
}

QList<ArchiveMember> parseTarList(const QByteArray& output) {
    const QString text = fromSystemPath(output);
    QList<ArchiveMember> members;
    for (const QString& piece : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        QString path = withForwardSlashes(piece.trimmed());
        if (path.startsWith(QLatin1String("./"))) {
            path.remove(0, 2);
        }
        while (path.startsWith(QLatin1Char('/'))) {
            path.remove(0, 1);
        }
        if (path.isEmpty()) {
            continue;
        }
        members.append(ArchiveMember{path, path.endsWith(QLatin1Char('/')), 0, std::nullopt});
    }
    return members;
}

QString normalizedMemberPath(const QString& path) {
    QString result = withForwardSlashes(path);
    while (result.startsWith(QLatin1String("./"))) {
        result.remove(0, 2);
    }
    while (result.startsWith(QLatin1Char('/'))) {
        result.remove(0, 1);
    }
    if (result.endsWith(QLatin1Char('/'))) {
        result.chop(1);
    }
    return result;
}

} // namespace ArchiveToolOutput
