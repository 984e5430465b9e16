#include "core/NameBlock.h"

#include <algorithm>

NameBlock::NameBlock(qsizetype capacity) {
    m_block.reserve(capacity);
}

QString NameBlock::add(QStringView name) {
    // The block's own QString stays empty: the names are written past its
    // end, where nothing of QString's writes, and each name is terminated
    // so that utf16() of a view reads a terminated string as usual.
    QString::DataPointer& block = m_block.data_ptr();
    if (!block.d_ptr() || m_used + name.size() + 1 > block.constAllocatedCapacity()) {
        return name.toString();
    }
    char16_t* start = block.data() + m_used;
    std::copy(name.utf16(), name.utf16() + name.size(), start);
    start[name.size()] = u'\0';
    m_used += name.size() + 1;
    block.d_ptr()->ref();
    return QString(QString::DataPointer(block.d_ptr(), start, name.size()));
}
