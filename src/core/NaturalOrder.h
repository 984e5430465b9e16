#pragma once

#include <QCollator>
#include <QString>

// The order in which names are listed: case-insensitive, digit runs compared
// as numbers, locale-aware ("file2" before "file10", "a" before "B").
namespace NaturalOrder {

// The collator of the calling thread. Under the C locale the system collator
// ignores numeric mode and case folding, so US English collation stands in.
const QCollator& collator();

// Negative, zero or positive as a sorts before, with or after b.
int compare(const QString& a, const QString& b);

// A precomputed key: comparing keys gives the order of compare().
QCollatorSortKey sortKey(const QString& name);

} // namespace NaturalOrder
