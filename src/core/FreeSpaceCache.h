#pragma once

#include <QHash>
#include <QSet>
#include <QString>

#include <cstdint>
#include <optional>

// The free and total bytes of the volumes the panes stand on, as a worker
// thread last read them. The status line paints from here alone: asking the
// disk at each repaint would hang the window on a dead network mount.
class FreeSpaceCache {
public:
    struct Figures {
        int64_t available = -1;
        int64_t total = -1;
        // The volume, told by the device number of the folder.
        uint64_t device = 0;
        bool operator==(const Figures&) const = default;
    };

    // What is known of the volume the folder lies on; none until a read of
    // that folder came back.
    std::optional<Figures> figuresFor(const QString& folder) const;
    // Whether a read of the folder may start: not while one is under way, so
    // that a hanging mount takes one thread and no more.
    bool beginRead(const QString& folder);
    // A read came back: its figures stand for every folder of that volume.
    // None (the folder can't be read) forgets what the folder had.
    void store(const QString& folder, const std::optional<Figures>& figures);
    // Whether the periodic refresh is to be armed: true once, until disarmed.
    bool armRefresh();
    void disarmRefresh() { m_refreshArmed = false; }

    // Reads the folder's volume from the disk; any thread.
    static std::optional<Figures> read(const QString& folder);

private:
    QHash<QString, uint64_t> m_deviceOf;
    QHash<uint64_t, Figures> m_byDevice;
    QSet<QString> m_reading;
    bool m_refreshArmed = false;
};
