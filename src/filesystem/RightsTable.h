#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <vector>

// The records of the rights memory: a folder's number and a name, to the
// number of a set of rights. One open-addressed table whose names stand in
// one byte buffer, which starts as the store file's own bytes: reading a
// store of 200,000 paths makes a few large blocks, not 200,000 strings.
class RightsTable {
public:
    static constexpr quint32 none = 0xFFFFFFFF;

    // The bytes that names already read lie in; kept, not copied.
    void adoptNames(const QByteArray& bytes) { m_names = bytes; }
    void reserve(qsizetype count);

    // The rights number of the record, or none.
    quint32 find(quint32 folder, QByteArrayView name) const;
    // Both insert or replace; the first copies the name, the second takes
    // it where it stands in the adopted bytes.
    void insert(quint32 folder, QByteArrayView name, quint32 rights);
    void insertAdopted(quint32 folder, qsizetype nameAt, qsizetype nameLength, quint32 rights);
    bool remove(quint32 folder, QByteArrayView name);

    qsizetype size() const { return m_live; }

    template <typename Visit> void forEach(Visit visit) const {
        for (const Slot& slot : m_slots) {
            if (slot.rights < removedSlot) {
                visit(slot.folder, nameOf(slot), slot.rights);
            }
        }
    }

private:
    static constexpr quint32 removedSlot = 0xFFFFFFFE;
    static constexpr quint32 emptySlot = 0xFFFFFFFF;
    struct Slot {
        quint32 hash = 0;
        quint32 folder = 0;
        quint32 rights = emptySlot;
        quint32 nameAt = 0;
        quint32 nameLength = 0;
    };
    // Where the record stands, and else the slot a new one would take.
    struct Place {
        qsizetype found = -1;
        qsizetype free = -1;
    };

    static quint32 hashOf(quint32 folder, QByteArrayView name);
    QByteArrayView nameOf(const Slot& slot) const {
        return QByteArrayView(m_names.constData() + slot.nameAt, slot.nameLength);
    }
    Place locate(quint32 hash, quint32 folder, QByteArrayView name) const;
    void place(const Place& at, Slot slot);
    void growIfFull();
    void rehash(size_t slotCount);

    std::vector<Slot> m_slots;
    qsizetype m_live = 0;
    // Live and removed slots: what lengthens the searches.
    qsizetype m_used = 0;
    QByteArray m_names;
};
