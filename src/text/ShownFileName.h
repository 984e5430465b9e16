#pragma once

#include <QString>

// How a file name that is not UTF-8 reads on the screen. Old archives, old
// shares and unzip of old ZIP files leave names in Shift_JIS or EUC-JP: such
// a name, when the encoding detector finds one of them and it decodes
// cleanly, is shown decoded and followed by the legacy mark. Any other name
// that is not UTF-8 shows each byte that is not UTF-8 as "\xFF". A UTF-8 name
// is shown as it is.
namespace ShownFileName {

// The mark after a name shown decoded from a legacy encoding.
inline constexpr QChar legacyMark = QChar(0x00A7); // "§"

// The shown form of a name in the lossless text form of SystemPath.
QString shownName(const QString& name);
// The shown form without the legacy mark: where the rename prompt starts.
QString editableName(const QString& name);

} // namespace ShownFileName
