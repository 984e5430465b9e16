#include "core/Model.h"

#include <QHashFunctions>

#include <mutex>
#include <tuple>
#include <unordered_set>

QString rawValue(AppLanguage language) {
    switch (language) {
    case AppLanguage::system:
        return QStringLiteral("system");
    case AppLanguage::japanese:
        return QStringLiteral("japanese");
    case AppLanguage::english:
        return QStringLiteral("english");
    }
    return QStringLiteral("system");
}

std::optional<AppLanguage> appLanguageFromRaw(const QString& raw) {
    for (auto language : {AppLanguage::system, AppLanguage::japanese, AppLanguage::english}) {
        if (rawValue(language) == raw) {
            return language;
        }
    }
    return std::nullopt;
}

QString rawValue(FilerSortMode mode) {
    switch (mode) {
    case FilerSortMode::name:
        return QStringLiteral("name");
    case FilerSortMode::timestamp:
        return QStringLiteral("timestamp");
    case FilerSortMode::size:
        return QStringLiteral("size");
    }
    return QStringLiteral("name");
}

std::optional<FilerSortMode> sortModeFromRaw(const QString& raw) {
    for (auto mode : {FilerSortMode::name, FilerSortMode::timestamp, FilerSortMode::size}) {
        if (rawValue(mode) == raw) {
            return mode;
        }
    }
    return std::nullopt;
}

QString sideName(PaneSide side) {
    return side == PaneSide::left ? QStringLiteral("left") : QStringLiteral("right");
}

PaneSide otherSide(PaneSide side) {
    return side == PaneSide::left ? PaneSide::right : PaneSide::left;
}

namespace {

const QString& emptyText() {
    static const QString empty;
    return empty;
}

const std::optional<QString>& noText() {
    static const std::optional<QString> none;
    return none;
}

struct RightsHash {
    size_t operator()(const RowRights& rights) const {
        return qHashMulti(0, rights.mode, rights.owner, rights.group);
    }
};

// Never shrinks: the distinct rights of a session are few (a mode, an owner
// and a group per kind of file), and rows point into it.
struct RightsTable {
    std::mutex lock;
    std::unordered_set<RowRights, RightsHash> rights;
};

RightsTable& rightsTable() {
    static RightsTable* table = new RightsTable;
    return *table;
}

} // namespace

const RowRights* internedRights(const QString& mode, const QString& owner, const QString& group) {
    // The rows of a listing mostly repeat the rights of the row before.
    thread_local const RowRights* last = nullptr;
    if (last && last->mode == mode && last->owner == owner && last->group == group) {
        return last;
    }
    RightsTable& table = rightsTable();
    std::lock_guard guard(table.lock);
    last = &*table.rights.insert(RowRights{mode, owner, group}).first;
    return last;
}

FileEntry::Folder::Folder(const QString& folderPath)
    : m_paths(new FileEntryPaths) {
    m_paths->folderPrefix =
        folderPath.endsWith(QLatin1Char('/')) ? folderPath : folderPath + QLatin1Char('/');
}

void FileEntry::setFolder(const Folder& folder) {
    if (!m_paths) {
        m_paths = folder.m_paths;
        return;
    }
    paths().folderPrefix = folder.m_paths->folderPrefix;
}

FileEntryPaths& FileEntry::paths() {
    if (!m_paths) {
        m_paths = new FileEntryPaths;
    }
    m_paths.detach();
    return *m_paths;
}

QString FileEntry::url() const {
    if (!m_paths) {
        return {};
    }
    if (!m_paths->url.isNull() || m_paths->folderPrefix.isNull()) {
        return m_paths->url;
    }
    return m_paths->folderPrefix + name;
}

QString FileEntry::id() const {
    if (!m_paths) {
        return {};
    }
    if (!m_paths->id.isNull() || m_paths->folderPrefix.isNull()) {
        return m_paths->id;
    }
    return url();
}

const QString& FileEntry::localizedName() const {
    return m_paths && !m_paths->localizedName.isNull() ? m_paths->localizedName : name;
}

const std::optional<QString>& FileEntry::zipArchiveURL() const {
    return m_paths ? m_paths->zipArchiveURL : noText();
}

const std::optional<QString>& FileEntry::zipEntryPath() const {
    return m_paths ? m_paths->zipEntryPath : noText();
}

std::optional<QDateTime> FileEntry::modificationDate() const {
    if (m_modified == kNoDate) {
        return std::nullopt;
    }
    return QDateTime::fromMSecsSinceEpoch(m_modified, Qt::UTC);
}

const QString& FileEntry::permissionMode() const {
    return m_rights ? m_rights->mode : emptyText();
}

const QString& FileEntry::ownerName() const {
    return m_rights ? m_rights->owner : emptyText();
}

const QString& FileEntry::groupName() const {
    return m_rights ? m_rights->group : emptyText();
}

void FileEntry::setId(const QString& id) {
    paths().id = id;
}

void FileEntry::setUrl(const QString& url) {
    paths().url = url;
}

// A name shown as it is stored costs nothing: only a different one is kept.
void FileEntry::setLocalizedName(const QString& localizedName) {
    if (localizedName == name) {
        if (m_paths && !m_paths->localizedName.isNull()) {
            paths().localizedName = QString();
        }
        return;
    }
    paths().localizedName = localizedName;
}

void FileEntry::setZipArchiveURL(const std::optional<QString>& url) {
    if (url || zipArchiveURL()) {
        paths().zipArchiveURL = url;
    }
}

void FileEntry::setZipEntryPath(const std::optional<QString>& path) {
    if (path || zipEntryPath()) {
        paths().zipEntryPath = path;
    }
}

void FileEntry::setModificationDate(const std::optional<QDateTime>& date) {
    m_modified = date && date->isValid() ? date->toMSecsSinceEpoch() : kNoDate;
}

void FileEntry::setRights(const QString& mode, const QString& owner, const QString& group) {
    m_rights = internedRights(mode, owner, group);
}

void FileEntry::setPermissionMode(const QString& mode) {
    setRights(mode, ownerName(), groupName());
}

void FileEntry::setOwnerName(const QString& owner) {
    setRights(permissionMode(), owner, groupName());
}

void FileEntry::setGroupName(const QString& group) {
    setRights(permissionMode(), ownerName(), group);
}

bool FileEntry::operator==(const FileEntry& other) const {
    const auto flags = [](const FileEntry& e) {
        return std::tuple(e.isDirectory, e.isParent, e.isHidden, e.hasHiddenExtension,
                          e.isZipArchive, e.isReadable, e.isWritable, e.isLinkToFolder);
    };
    return name == other.name && flags(*this) == flags(other) && size == other.size &&
           m_modified == other.m_modified && permissionMode() == other.permissionMode() &&
           ownerName() == other.ownerName() && groupName() == other.groupName() &&
           localizedName() == other.localizedName() && id() == other.id() && url() == other.url() &&
           zipArchiveURL() == other.zipArchiveURL() && zipEntryPath() == other.zipEntryPath();
}
