#pragma once

#include <QString>

// Containment as a person reads it: case, width and composition ignored
// ("Straße" holds "STRASSE", "ﾌｧｲﾙ" holds "ファイル", "Ａ" matches "a").
namespace TextMatching {

// Both sides folded with ICU's NFKC case folding, then a plain contains.
bool localizedCaseInsensitiveContains(const QString& text, const QString& query);

QString foldedForMatching(const QString& text);

} // namespace TextMatching
