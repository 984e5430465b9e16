#include "filesystem/RightsTable.h"

#include <cstring>
#include <functional>
#include <string_view>

quint32 RightsTable::hashOf(quint32 folder, QByteArrayView name) {
    const std::string_view bytes(name.data(), size_t(name.size()));
    const uint64_t mixed = std::hash<std::string_view>{}(bytes) ^ (folder * 0x9E3779B97F4A7C15ull);
    return quint32(mixed ^ (mixed >> 32));
}

void RightsTable::reserve(qsizetype count) {
    size_t wanted = 16;
    while (wanted * 7 < size_t(count) * 10) {
        wanted *= 2;
    }
    if (wanted > m_slots.size()) {
        rehash(wanted);
    }
}

RightsTable::Place RightsTable::locate(quint32 hash, quint32 folder, QByteArrayView name) const {
    Place at;
    if (m_slots.empty()) {
        return at;
    }
    const size_t mask = m_slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot& slot = m_slots[i];
        if (slot.rights == emptySlot) {
            if (at.free < 0) {
                at.free = qsizetype(i);
            }
            return at;
        }
        if (slot.rights == removedSlot) {
            if (at.free < 0) {
                at.free = qsizetype(i);
            }
            continue;
        }
        if (slot.hash == hash && slot.folder == folder && nameOf(slot) == name) {
            at.found = qsizetype(i);
            return at;
        }
    }
}

quint32 RightsTable::find(quint32 folder, QByteArrayView name) const {
    const Place at = locate(hashOf(folder, name), folder, name);
    return at.found < 0 ? none : m_slots[size_t(at.found)].rights;
}

void RightsTable::place(const Place& at, Slot slot) {
    if (m_slots[size_t(at.free)].rights == emptySlot) {
        ++m_used;
    }
    m_slots[size_t(at.free)] = slot;
    ++m_live;
}

void RightsTable::insert(quint32 folder, QByteArrayView name, quint32 rights) {
    growIfFull();
    const quint32 hash = hashOf(folder, name);
    const Place at = locate(hash, folder, name);
    if (at.found >= 0) {
        m_slots[size_t(at.found)].rights = rights;
        return;
    }
    const auto nameAt = quint32(m_names.size());
    m_names.append(name);
    place(at, Slot{hash, folder, rights, nameAt, quint32(name.size())});
}

void RightsTable::insertAdopted(quint32 folder, qsizetype nameAt, qsizetype nameLength,
                                quint32 rights) {
    growIfFull();
    const QByteArrayView name(m_names.constData() + nameAt, nameLength);
    const quint32 hash = hashOf(folder, name);
    const Place at = locate(hash, folder, name);
    if (at.found >= 0) {
        m_slots[size_t(at.found)].rights = rights;
        return;
    }
    place(at, Slot{hash, folder, rights, quint32(nameAt), quint32(nameLength)});
}

bool RightsTable::remove(quint32 folder, QByteArrayView name) {
    const Place at = locate(hashOf(folder, name), folder, name);
    if (at.found < 0) {
        return false;
    }
    m_slots[size_t(at.found)].rights = removedSlot;
    --m_live;
    return true;
}

void RightsTable::growIfFull() {
    if (size_t(m_used + 1) * 10 > m_slots.size() * 7) {
        // Removed slots are dropped on the way; the table grows only when
        // the live records need it.
        rehash(size_t(m_live + 1) * 10 > m_slots.size() * 5
                   ? std::max<size_t>(16, m_slots.size() * 2)
                   : m_slots.size());
    }
}

void RightsTable::rehash(size_t slotCount) {
    std::vector<Slot> old = std::exchange(m_slots, std::vector<Slot>(slotCount));
    const size_t mask = slotCount - 1;
    for (const Slot& slot : old) {
        if (slot.rights >= removedSlot) {
            continue;
        }
        size_t i = slot.hash & mask;
        while (m_slots[i].rights != emptySlot) {
            i = (i + 1) & mask;
        }
        m_slots[i] = slot;
    }
    m_used = m_live;
}
