#include "filesystem/RightsStore.h"

#include <zlib.h>

#include <algorithm>

namespace {

// Kinds of record. A folder and a set of rights take the next number of
// their kind; remember and forget records name a folder by its number.
constexpr char folderKind = 'D';
constexpr char rightsKind = 'P';
constexpr char rememberKind = 'R';
constexpr char forgetKind = 'F';

// No record of the program comes near this; a longer one is damage.
constexpr quint32 longestContent = 1 << 20;

void appendNumber(QByteArray& out, quint32 value) {
    while (value >= 0x80) {
        out.append(char(0x80 | (value & 0x7F)));
        value >>= 7;
    }
    out.append(char(value));
}

// A little-endian base-128 number; none when cut short or too long.
std::optional<quint32> readNumber(QByteArrayView bytes, qsizetype& at) {
    quint32 value = 0;
    for (int shift = 0; shift < 35 && at < bytes.size(); shift += 7) {
        const auto byte = uchar(bytes[at++]);
        value |= quint32(byte & 0x7F) << shift;
        if (byte < 0x80) {
            return value;
        }
    }
    return std::nullopt;
}

// Text as UTF-8, where a lone surrogate is written as its own three-byte
// sequence, so that every path text comes back as it was.
void appendText(QByteArray& out, QStringView text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text[i].unicode();
        if (c < 0x80) {
            out.append(char(c));
            continue;
        }
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            c = QChar::surrogateToUcs4(char16_t(c), text[++i].unicode());
        }
        if (c < 0x800) {
            out.append(char(0xC0 | (c >> 6)));
        } else if (c < 0x10000) {
            out.append(char(0xE0 | (c >> 12))).append(char(0x80 | ((c >> 6) & 0x3F)));
        } else {
            out.append(char(0xF0 | (c >> 18))).append(char(0x80 | ((c >> 12) & 0x3F)));
            out.append(char(0x80 | ((c >> 6) & 0x3F)));
        }
        out.append(char(0x80 | (c & 0x3F)));
    }
}

QString readText(QByteArrayView bytes) {
    if (std::all_of(bytes.begin(), bytes.end(), [](char c) { return uchar(c) < 0x80; })) {
        return QString::fromLatin1(bytes);
    }
    QString text;
    text.reserve(bytes.size());
    for (qsizetype i = 0; i < bytes.size();) {
        const auto lead = uchar(bytes[i]);
        const int length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (i + length > bytes.size()) {
            text.append(QChar::ReplacementCharacter);
            break;
        }
        char32_t c = length == 1 ? lead : lead & (0x7F >> length);
        for (int k = 1; k < length; ++k) {
            c = (c << 6) | (uchar(bytes[i + k]) & 0x3F);
        }
        i += length;
        if (c >= 0x10000 && c <= 0x10FFFF) {
            text.append(QChar::highSurrogate(c)).append(QChar::lowSurrogate(c));
        } else {
            text.append(c < 0x10000 ? QChar(char16_t(c)) : QChar(QChar::ReplacementCharacter));
        }
    }
    return text;
}

QByteArray textBytes(QStringView text) {
    QByteArray bytes;
    bytes.reserve(text.size());
    appendText(bytes, text);
    return bytes;
}

void appendField(QByteArray& out, const QString& text) {
    QByteArray bytes;
    appendText(bytes, text);
    appendNumber(out, quint32(bytes.size()));
    out.append(bytes);
}

std::optional<QString> readField(QByteArrayView bytes, qsizetype& at) {
    const auto length = readNumber(bytes, at);
    if (!length || *length > quint64(bytes.size() - at)) {
        return std::nullopt;
    }
    const QString text = readText(bytes.sliced(at, *length));
    at += *length;
    return text;
}

quint32 checksum(char kind, QByteArrayView content) {
    const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(&kind), 1);
    // zlib answers its initial value for a null buffer, which an empty
    // view may hold.
    if (content.isEmpty()) {
        return quint32(crc);
    }
    return quint32(
        crc32(crc, reinterpret_cast<const Bytef*>(content.data()), uInt(content.size())));
}

// A path as its folder and its name; the root's own path has both empty.
std::pair<QString, QString> splitPath(const QString& path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    if (slash < 0) {
        return {QStringLiteral("."), path};
    }
    return {path.first(slash), path.sliced(slash + 1)};
}

QString joinPath(const QString& folder, const QString& name) {
    if (folder == QLatin1String(".")) {
        return name;
    }
    return folder + QLatin1Char('/') + name;
}

} // namespace

RightsStore::RightsStore()
    : m_log(header()) {}

QByteArray RightsStore::header() {
    return QByteArrayLiteral("Dorvik fileAccessMemory.v1\n");
}

RightsStore RightsStore::fromFile(const QByteArray& file) {
    RightsStore store;
    if (!file.startsWith(header())) {
        return store;
    }
    store.m_log.clear();
    qsizetype at = header().size();
    store.m_goodLength = at;
    store.m_logging = false;
    // Records of a few dozen bytes each, most of them remembering a path.
    store.m_records.reserve(file.size() / 20);
    store.m_records.adoptNames(file);
    while (at < file.size()) {
        const char kind = file[at];
        qsizetype next = at + 1;
        const auto length = readNumber(file, next);
        if (!length || *length > longestContent || next + *length + 4 > file.size()) {
            break;
        }
        const QByteArrayView content = QByteArrayView(file).sliced(next, *length);
        const auto* stored = reinterpret_cast<const uchar*>(file.data() + next + *length);
        const quint32 check = quint32(stored[0]) | (quint32(stored[1]) << 8) |
                              (quint32(stored[2]) << 16) | (quint32(stored[3]) << 24);
        if (!store.readRecord(kind, content, next, check == checksum(kind, content))) {
            break;
        }
        at = next + *length + 4;
        store.m_goodLength = at;
    }
    store.m_logging = true;
    return store;
}

// Answers false for a kind of record no store writes: the reading ends there.
// A damaged folder or rights record still takes its number, so that the
// records after it keep theirs.
bool RightsStore::readRecord(char kind, QByteArrayView content, qsizetype contentAt, bool intact) {
    qsizetype at = 0;
    switch (kind) {
    case folderKind: {
        m_folders.append(intact ? readText(content) : QString());
        m_folderUsable.append(intact);
        if (intact) {
            m_folderNumbers.insert(m_folders.last(), quint32(m_folders.size() - 1));
        }
        return true;
    }
    case rightsKind: {
        std::optional<Record> record;
        if (intact && !content.isEmpty()) {
            const auto flags = uchar(content[at++]);
            auto mode = readField(content, at);
            auto owner = readField(content, at);
            auto group = readField(content, at);
            if (mode && owner && group) {
                record = Record{(flags & 1) != 0, (flags & 2) != 0, *mode, *owner, *group};
                m_rightsNumbers.insert(*record, quint32(m_rights.size()));
            }
        }
        m_rights.append(record);
        return true;
    }
    case rememberKind:
    case forgetKind: {
        ++m_logRecords;
        const auto folder = readNumber(content, at);
        const auto rights = kind == rememberKind ? readNumber(content, at) : quint32(0);
        if (!intact || !folder || !rights || *folder >= quint32(m_folders.size()) ||
            !m_folderUsable[*folder]) {
            return true;
        }
        if (kind == forgetKind) {
            m_records.remove(*folder, content.sliced(at));
        } else if (*rights < quint32(m_rights.size()) && m_rights[*rights]) {
            m_records.insertAdopted(*folder, contentAt + at, content.size() - at, *rights);
        }
        return true;
    }
    default:
        return false;
    }
}

std::optional<RightsStore::Record> RightsStore::find(const QString& path) const {
    const auto [folder, name] = splitPath(path);
    const auto folderFound = m_folderNumbers.constFind(folder);
    if (folderFound == m_folderNumbers.constEnd()) {
        return std::nullopt;
    }
    const quint32 rights = m_records.find(*folderFound, textBytes(name));
    if (rights == RightsTable::none) {
        return std::nullopt;
    }
    return m_rights[rights];
}

bool RightsStore::insert(const QString& path, const Record& record) {
    const auto [folder, name] = splitPath(path);
    const quint32 rights = rightsNumber(record);
    const quint32 folderAt = folderNumber(folder);
    const QByteArray nameBytes = textBytes(name);
    if (m_records.find(folderAt, nameBytes) == rights) {
        return false;
    }
    QByteArray content;
    appendNumber(content, folderAt);
    appendNumber(content, rights);
    content.append(nameBytes);
    m_records.insert(folderAt, nameBytes, rights);
    ++m_logRecords;
    appendLog(rememberKind, content);
    return true;
}

bool RightsStore::remove(const QString& path) {
    const auto [folder, name] = splitPath(path);
    const auto folderFound = m_folderNumbers.constFind(folder);
    const QByteArray nameBytes = textBytes(name);
    if (folderFound == m_folderNumbers.constEnd() || !m_records.remove(*folderFound, nameBytes)) {
        return false;
    }
    QByteArray content;
    appendNumber(content, *folderFound);
    content.append(nameBytes);
    ++m_logRecords;
    appendLog(forgetKind, content);
    return true;
}

quint32 RightsStore::folderNumber(const QString& folder) {
    const auto found = m_folderNumbers.constFind(folder);
    if (found != m_folderNumbers.constEnd()) {
        return *found;
    }
    const auto number = quint32(m_folders.size());
    m_folders.append(folder);
    m_folderUsable.append(true);
    m_folderNumbers.insert(folder, number);
    QByteArray content;
    appendText(content, folder);
    appendLog(folderKind, content);
    return number;
}

quint32 RightsStore::rightsNumber(const Record& record) {
    const auto found = m_rightsNumbers.constFind(record);
    if (found != m_rightsNumbers.constEnd()) {
        return *found;
    }
    const auto number = quint32(m_rights.size());
    m_rights.append(record);
    m_rightsNumbers.insert(record, number);
    QByteArray content;
    content.append(char((record.readable ? 1 : 0) | (record.writable ? 2 : 0)));
    appendField(content, record.mode);
    appendField(content, record.owner);
    appendField(content, record.group);
    appendLog(rightsKind, content);
    return number;
}

void RightsStore::appendLog(char kind, const QByteArray& content) {
    if (!m_logging) {
        return;
    }
    m_log.append(kind);
    appendNumber(m_log, quint32(content.size()));
    m_log.append(content);
    const quint32 check = checksum(kind, content);
    for (int shift = 0; shift < 32; shift += 8) {
        m_log.append(char((check >> shift) & 0xFF));
    }
}

RightsStore RightsStore::compacted() const {
    RightsStore fresh;
    fresh.m_log.reserve(m_records.size() * 24 + m_folders.size() * 64);
    m_records.forEach([&](quint32 folder, QByteArrayView name, quint32 rights) {
        fresh.insert(joinPath(m_folders[folder], readText(name)), *m_rights[rights]);
    });
    return fresh;
}

QHash<QString, RightsStore::Record> RightsStore::records() const {
    QHash<QString, Record> all;
    all.reserve(m_records.size());
    m_records.forEach([&](quint32 folder, QByteArrayView name, quint32 rights) {
        all.insert(joinPath(m_folders[folder], readText(name)), *m_rights[rights]);
    });
    return all;
}
