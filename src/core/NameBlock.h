#pragma once

#include <QString>
#include <QStringView>

// The names of a folder's rows kept in one block of text. Each name handed
// out is a QString that views its part of the block and shares the block's
// reference count, so a hundred thousand names cost one allocation rather
// than one each, and the block is freed with the last name that uses it. A
// name that is changed later gets a copy of its own, as any shared QString.
class NameBlock {
public:
    // Room for capacity characters of names and one terminating NUL each.
    explicit NameBlock(qsizetype capacity);

    // The name as a view into the block, or a copy of its own once the block
    // is full.
    QString add(QStringView name);

private:
    QString m_block;
    qsizetype m_used = 0;
};
