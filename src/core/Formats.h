#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>

// The size and date texts of the screen. 1K is 1024 bytes.
namespace Formats {

// "1023", "1.0K", "1.0M", "1.0G": rows, tag total, free space.
QString formatCompactSize(int64_t bytes);

// "1023 B", "1.0 KB", "1.00 MB" (no gigabyte step): text view, large-file dialog.
QString formatVerboseSize(int64_t bytes);

// "yy-MM-dd HH:mm" in the system's time zone, the same in every language.
QString formatRowDate(const QDateTime& date);

} // namespace Formats
