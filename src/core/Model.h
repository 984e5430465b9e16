#pragma once

// The vocabulary shared by every part of Dorvik: the small enumerations, the
// row of a pane (FileEntry) and what a pane shows (FilerLocation).
//
// Paths: wherever a field is called a URL it holds an absolute, standardized
// file path (see PathUtils::standardizedPath), never a "file://" text.

#include <QDateTime>
#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <QString>

#include <cstdint>
#include <optional>
#include <variant>

enum class PaneSide { left, right };

// What the right half of the window is for.
enum class LayoutMode { filerViewer, dualFiler, filerGallery };

enum class RightPaneMode { filer, viewer, editor, gallery };

enum class AppLanguage { system, japanese, english };

enum class FilerSortMode { name, timestamp, size };

enum class ViewerContentKind { none, text, preview, unsupported };

enum class CreateItemKind { folder, file };

QString rawValue(AppLanguage language);
std::optional<AppLanguage> appLanguageFromRaw(const QString& raw);
QString rawValue(FilerSortMode mode);
std::optional<FilerSortMode> sortModeFromRaw(const QString& raw);
QString sideName(PaneSide side); // "left" or "right"
PaneSide otherSide(PaneSide side);

struct FilerLocation {
    // A real folder on disk, always stored standardized.
    struct Directory {
        QString url;
        bool operator==(const Directory&) const = default;
    };
    // A folder inside an archive file of any browsable format. innerPath is the
    // normalised member path of the folder, empty at the archive's root.
    struct Zip {
        QString archive;
        QString innerPath;
        bool operator==(const Zip&) const = default;
    };
    enum class Kind { directory, zip };

    std::variant<Directory, Zip> kind;

    static FilerLocation directory(const QString& url) { return {Directory{url}}; }
    static FilerLocation zip(const QString& archive, const QString& innerPath) {
        return {Zip{archive, innerPath}};
    }
    Kind kindCase() const { return kind.index() == 0 ? Kind::directory : Kind::zip; }
    const Directory* asDirectory() const { return std::get_if<Directory>(&kind); }
    const Zip* asZip() const { return std::get_if<Zip>(&kind); }
    bool operator==(const FilerLocation&) const = default;
};

// The mode, owner and group of a row. A folder's rows share a handful of
// these, so each distinct one is kept once for the whole program and rows
// point at it.
struct RowRights {
    QString mode;
    QString owner;
    QString group;
    bool operator==(const RowRights&) const = default;
};

// The one kept copy of these rights; the same address for equal values. Any
// thread.
const RowRights* internedRights(const QString& mode, const QString& owner, const QString& group);

// What a row's paths are made from. A row of a folder keeps only the
// folder's prefix; rows of other kinds keep their id and url as given.
struct FileEntryPaths : QSharedData {
    // The folder's path ending in "/"; null for rows not listed from a folder.
    QString folderPrefix;
    // Given explicitly; null when made from the prefix and the name.
    QString url;
    QString id;
    // Null when it is the name.
    QString localizedName;
    std::optional<QString> zipArchiveURL;
    std::optional<QString> zipEntryPath;
};

// One row of a filer pane. Lists of rows are replaced whole on every reload,
// and a pane of a large folder holds a hundred thousand of them, so a row is
// kept small: a row listed from a folder keeps the folder's path once for all
// its rows and makes its path from it and its name, its rights point at a
// shared copy, and its date is a count of milliseconds. The accessors give
// each field as the rest of the program reads it.
struct FileEntry {
    QString name;
    bool isDirectory = false;
    bool isParent = false;
    bool isHidden = false;
    bool hasHiddenExtension = false;
    bool isZipArchive = false;
    bool isReadable = false;
    bool isWritable = false;
    // A symbolic link whose target is a folder: it keeps its "l" mode and its
    // place among the files, but Enter goes into it by the link's own path.
    bool isLinkToFolder = false;
    std::optional<int64_t> size;

    // The stable identity of the row within a listing: the path for a row
    // of a folder, else the form its maker gave.
    QString id() const;
    // Where the row points; for a row of a folder the folder's path and the name.
    QString url() const;
    // The name as shown; the name itself unless it was given another.
    const QString& localizedName() const;
    const std::optional<QString>& zipArchiveURL() const;
    const std::optional<QString>& zipEntryPath() const;
    std::optional<QDateTime> modificationDate() const;
    // Milliseconds since the epoch, or kNoDate.
    int64_t modificationTime() const { return m_modified; }
    const QString& permissionMode() const;
    const QString& ownerName() const;
    const QString& groupName() const;

    void setId(const QString& id);
    void setUrl(const QString& url);
    void setLocalizedName(const QString& localizedName);
    void setZipArchiveURL(const std::optional<QString>& url);
    void setZipEntryPath(const std::optional<QString>& path);
    void setModificationDate(const std::optional<QDateTime>& date);
    void setModificationTime(int64_t msecs) { m_modified = msecs; }
    void setRights(const QString& mode, const QString& owner, const QString& group);
    void setRights(const RowRights* rights) { m_rights = rights; }
    void setPermissionMode(const QString& mode);
    void setOwnerName(const QString& owner);
    void setGroupName(const QString& group);

    // The rows of one folder share what their paths are made from: the
    // folder's path (standardised) as one value, set on each row.
    class Folder {
    public:
        explicit Folder(const QString& folderPath);

    private:
        friend struct FileEntry;
        QExplicitlySharedDataPointer<FileEntryPaths> m_paths;
    };
    // Makes the row one of the folder's: its id and url become the folder's
    // path and the name.
    void setFolder(const Folder& folder);

    // A member of an archive (not itself a nested archive): commands that
    // change a file refuse such rows.
    bool isInsideArchive() const {
        return zipArchiveURL().has_value() && zipEntryPath().has_value() && !isZipArchive;
    }
    bool operator==(const FileEntry& other) const;

    static constexpr int64_t kNoDate = INT64_MIN;

private:
    FileEntryPaths& paths();

    // Shared by the rows of a folder until one of them is given paths of its own.
    QExplicitlySharedDataPointer<FileEntryPaths> m_paths;
    const RowRights* m_rights = nullptr;
    int64_t m_modified = kNoDate;
};

// A volume as the volume picker lists it.
struct MountedVolume {
    QString name;
    QString url;
    bool isRoot = false;
    bool operator==(const MountedVolume&) const = default;
};

// An application that can open a file, as the open-with picker lists it.
// appURL is the path of the application's desktop entry.
struct OpenWithApp {
    QString appURL;
    QString name;
    bool isDefault = false;
    bool isRecent = false;
    bool operator==(const OpenWithApp&) const = default;
};

// A multi-frame image: frameCount is at least 2; formatLabel "APNG" or "GIF".
struct AnimatedImageInfo {
    int frameCount = 0;
    QString formatLabel;
    bool operator==(const AnimatedImageInfo&) const = default;
};

// The file search form (search by name and content, by period).
enum class FolderSearchMatchMode { nameOnly, includeContent };
enum class FolderSearchSort { name, size, date };
enum class FileSearchFocusField { query, folder, matchMode, periodFrom, periodTo, sort, results };
