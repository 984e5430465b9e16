#include "core/Formats.h"

namespace Formats {

namespace {
constexpr double kKilo = 1024.0;
constexpr double kMega = kKilo * 1024.0;
constexpr double kGiga = kMega * 1024.0;

QString fixed(double value, int decimals, const char* suffix) {
    return QString::number(value, 'f', decimals) + QLatin1String(suffix);
}
} // namespace

QString formatCompactSize(int64_t bytes) {
    const double value = static_cast<double>(bytes);
    if (value < kKilo) {
        return QString::number(bytes);
    }
    if (value < kMega) {
        return fixed(value / kKilo, 1, "K");
    }
    if (value < kGiga) {
        return fixed(value / kMega, 1, "M");
    }
    return fixed(value / kGiga, 1, "G");
}

QString formatVerboseSize(int64_t bytes) {
    const double value = static_cast<double>(bytes);
    if (value < kKilo) {
        return QString::number(bytes) + QLatin1String(" B");
    }
    if (value < kMega) {
        return fixed(value / kKilo, 1, " KB");
    }
    return fixed(value / kMega, 2, " MB");
}

QString formatRowDate(const QDateTime& date) {
    // The C locale keeps the digits and separators fixed whatever the user's
    // language, as the en_US_POSIX formatter does.
    return QLocale::c().toString(date.toLocalTime(), QStringLiteral("yy-MM-dd HH:mm"));
}

} // namespace Formats
