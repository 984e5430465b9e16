#pragma once

#include "filesystem/FileAccessMemory.h"
#include "filesystem/RightsTable.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QList>
#include <QString>

#include <optional>

// The rights memory's records in a compact form, and the record log its file
// holds. Folders and rights are interned: a record keeps its folder's
// number, its own name and the number of its rights, since the rows of one
// folder share a handful of modes, owners and groups. Every change is also
// added to a log, which the file appends; the log names each folder and each
// set of rights once. Not thread-safe: the memory guards it.
//
// The file is a header line, then records of a kind byte, a length, the
// content and a CRC-32 of kind and content. A record that fails its check is
// passed over; a record cut short ends the reading, so a write torn by a
// crash loses that record alone.
class RightsStore {
public:
    using Record = FileAccessMemory::Record;

    // Empty; its log starts with the header, for a new file.
    RightsStore();

    // The records a store file holds. Bytes that do not start with the
    // header give an empty store whose log is a whole new file.
    static RightsStore fromFile(const QByteArray& file);

    // The file's first line: names the store and the form of its records.
    static QByteArray header();

    std::optional<Record> find(const QString& path) const;
    // Both answer whether the records changed; a change goes into the log.
    bool insert(const QString& path, const Record& record);
    bool remove(const QString& path);

    qsizetype size() const { return m_records.size(); }
    // Remember and forget records of the file that no live record needs.
    qsizetype deadRecords() const { return m_logRecords - m_records.size(); }
    // The length of the file's bytes that were read as whole records: where
    // appending goes on. A torn tail past it is cut off.
    qsizetype goodLength() const { return m_goodLength; }

    // Changes are logged only while logging is on (the default).
    void setLogging(bool on) { m_logging = on; }
    // The log made since the last take, for appending to the file.
    QByteArray takeLog() { return std::exchange(m_log, {}); }

    // The live records alone, numbered afresh; its log is a whole file.
    RightsStore compacted() const;
    // Every live record by path.
    QHash<QString, Record> records() const;

private:
    bool readRecord(char kind, QByteArrayView content, qsizetype contentAt, bool intact);
    quint32 folderNumber(const QString& folder);
    quint32 rightsNumber(const Record& record);
    void appendLog(char kind, const QByteArray& content);

    QList<QString> m_folders;
    // False for a folder record that failed its check: its number stays taken.
    QList<bool> m_folderUsable;
    QHash<QString, quint32> m_folderNumbers;
    QList<std::optional<Record>> m_rights;
    QHash<Record, quint32> m_rightsNumbers;
    RightsTable m_records;
    qsizetype m_logRecords = 0;
    qsizetype m_goodLength = 0;
    bool m_logging = true;
    QByteArray m_log;
};
