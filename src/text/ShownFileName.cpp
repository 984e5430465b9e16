#include "text/ShownFileName.h"

#include "core/SystemPath.h"
#include "text/TextDecoding.h"

namespace ShownFileName {

namespace {

// The legacy decoding of a name, the detector's pick tried first.
std::optional<QString> legacyDecoding(const QByteArray& bytes) {
    const auto kind = TextDecoding::guessEncodingKind(bytes);
    const bool eucFirst = kind == TextDecoding::EncodingKind::eucJP;
    const TextFileEncoding first = eucFirst ? TextFileEncoding::eucJP : TextFileEncoding::cp932;
    const TextFileEncoding second = eucFirst ? TextFileEncoding::cp932 : TextFileEncoding::eucJP;
    if (auto decoded = TextDecoding::decodeStrict(bytes, first)) {
        return decoded;
    }
    return TextDecoding::decodeStrict(bytes, second);
}

bool isPrintable(const QString& text) {
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Other_NotAssigned) {
            return false;
        }
    }
    return true;
}

// Every escaped byte written as \xHH, the rest as it is.
QString withVisibleEscapes(const QString& name) {
    static const char digits[] = "0123456789ABCDEF";
    QString shown;
    shown.reserve(name.size() + 8);
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char16_t unit = name[i].unicode();
        if (QChar::isHighSurrogate(unit) && i + 1 < name.size()) {
            shown += name[i];
            shown += name[++i];
        } else if (unit >= 0xDC80 && unit <= 0xDCFF) {
            const unsigned byte = unit - 0xDC00;
            shown += QLatin1String("\\x");
            shown += QLatin1Char(digits[byte >> 4]);
            shown += QLatin1Char(digits[byte & 0xF]);
        } else {
            shown += name[i];
        }
    }
    return shown;
}

} // namespace

QString editableName(const QString& name) {
    if (!SystemPath::hasEscapedBytes(name)) {
        return name;
    }
    const QByteArray bytes = toSystemPath(name);
    if (const auto legacy = legacyDecoding(bytes); legacy && isPrintable(*legacy)) {
        return *legacy;
    }
    return withVisibleEscapes(name);
}

QString shownName(const QString& name) {
    if (!SystemPath::hasEscapedBytes(name)) {
        return name;
    }
    const QByteArray bytes = toSystemPath(name);
    if (const auto legacy = legacyDecoding(bytes); legacy && isPrintable(*legacy)) {
        return *legacy + legacyMark;
    }
    return withVisibleEscapes(name);
}

} // namespace ShownFileName
