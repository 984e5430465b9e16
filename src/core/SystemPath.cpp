#include "core/SystemPath.h"

#include <climits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The escapes of the bytes 0x80..0xFF; bytes below 0x80 are always valid.
constexpr char16_t kEscapeBase = 0xDC00;
constexpr char16_t kFirstEscape = 0xDC80;
constexpr char16_t kLastEscape = 0xDCFF;

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

// The length of the well-formed UTF-8 sequence at the start of bytes, or 0.
// Overlong forms, encoded surrogates and code points past U+10FFFF are not
// well-formed, so each of their bytes is escaped on its own.
qsizetype sequenceLength(const unsigned char* bytes, qsizetype available, char32_t& codePoint) {
    const unsigned char lead = bytes[0];
    qsizetype length = 0;
    char32_t minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, minimum = 0x80, codePoint = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3, minimum = 0x800, codePoint = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, minimum = 0x10000, codePoint = lead & 0x07;
    } else {
        return 0;
    }
    if (length > available) {
        return 0;
    }
    for (qsizetype i = 1; i < length; ++i) {
        if (!isContinuation(bytes[i])) {
            return 0;
        }
        codePoint = (codePoint << 6) | (bytes[i] & 0x3F);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < minimum || codePoint > 0x10FFFF || surrogate) {
        return 0;
    }
    return length;
}

void appendUtf8(QByteArray& out, char32_t codePoint) {
    if (codePoint < 0x80) {
        out.append(char(codePoint));
    } else if (codePoint < 0x800) {
        out.append(char(0xC0 | (codePoint >> 6)));
        out.append(char(0x80 | (codePoint & 0x3F)));
    } else if (codePoint < 0x10000) {
        out.append(char(0xE0 | (codePoint >> 12)));
        out.append(char(0x80 | ((codePoint >> 6) & 0x3F)));
        out.append(char(0x80 | (codePoint & 0x3F)));
    } else {
        out.append(char(0xF0 | (codePoint >> 18)));
        out.append(char(0x80 | ((codePoint >> 12) & 0x3F)));
        out.append(char(0x80 | ((codePoint >> 6) & 0x3F)));
        out.append(char(0x80 | (codePoint & 0x3F)));
    }
}

bool isEscape(char16_t unit) {
    return unit >= kFirstEscape && unit <= kLastEscape;
}

} // namespace

QByteArray toSystemPath(QStringView path) {
    QByteArray out;
    out.reserve(path.size());
    for (qsizetype i = 0; i < path.size(); ++i) {
        const char16_t unit = path[i].unicode();
        if (unit < 0x80) {
            out.append(char(unit));
        } else if (QChar::isHighSurrogate(unit) && i + 1 < path.size() &&
                   QChar::isLowSurrogate(path[i + 1].unicode())) {
            appendUtf8(out, QChar::surrogateToUcs4(unit, path[i + 1].unicode()));
            ++i;
        } else if (isEscape(unit)) {
            out.append(char(unit - kEscapeBase));
        } else if (QChar::isSurrogate(unit)) {
            // Only typed text can hold another lone surrogate; the system
            // gets the replacement character, as Qt would give it.
            appendUtf8(out, 0xFFFD);
        } else {
            appendUtf8(out, unit);
        }
    }
    return out;
}

QString fromSystemPath(QByteArrayView bytes) {
    QString out;
    out.reserve(bytes.size());
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const qsizetype size = bytes.size();
    qsizetype at = 0;
    while (at < size) {
        if (data[at] < 0x80) {
            out.append(QChar(char16_t(data[at++])));
            continue;
        }
        char32_t codePoint = 0;
        const qsizetype length = sequenceLength(data + at, size - at, codePoint);
        if (length == 0) {
            out.append(QChar(char16_t(kEscapeBase + data[at++])));
            continue;
        }
        if (QChar::requiresSurrogates(codePoint)) {
            out.append(QChar(QChar::highSurrogate(codePoint)));
            out.append(QChar(QChar::lowSurrogate(codePoint)));
        } else {
            out.append(QChar(char16_t(codePoint)));
        }
        at += length;
    }
    return out;
}

namespace SystemPath {

bool hasEscapedBytes(QStringView path) {
    for (qsizetype i = 0; i < path.size(); ++i) {
        const char16_t unit = path[i].unicode();
        if (QChar::isHighSurrogate(unit) && i + 1 < path.size() &&
            QChar::isLowSurrogate(path[i + 1].unicode())) {
            ++i;
        } else if (isEscape(unit)) {
            return true;
        }
    }
    return false;
}

bool isDirectory(QStringView path) {
    struct stat st;
    return ::stat(toSystemPath(path).constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool isRegularFile(QStringView path) {
    struct stat st;
    return ::stat(toSystemPath(path).constData(), &st) == 0 && S_ISREG(st.st_mode);
}

bool exists(QStringView path) {
    struct stat st;
    return ::lstat(toSystemPath(path).constData(), &st) == 0;
}

std::optional<Status> status(QStringView path) {
    struct stat st;
    if (::stat(toSystemPath(path).constData(), &st) != 0) {
        return std::nullopt;
    }
    Status found;
    found.isDirectory = S_ISDIR(st.st_mode);
    found.isRegularFile = S_ISREG(st.st_mode);
    found.size = int64_t(st.st_size);
    found.modified = QDateTime::fromMSecsSinceEpoch(
        qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1'000'000, Qt::UTC);
    return found;
}

QString currentFolder() {
    char buffer[PATH_MAX];
    if (::getcwd(buffer, sizeof buffer) == nullptr) {
        return QString();
    }
    return fromSystemPath(QByteArrayView(buffer));
}

} // namespace SystemPath
