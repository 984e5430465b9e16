#pragma once

// The vocabulary shared by every part of Dorvik: the small enumerations, the
// row of a pane (FileEntry) and what a pane shows (FilerLocation).
//
// Paths: wherever a field is called a URL it holds an absolute, standardized
// file path (see PathUtils::standardizedPath), never a "file://" text.

#include <QDateTime>
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

// One row of a filer pane. Lists of rows are replaced whole on every reload.
struct FileEntry {
    QString id;
    QString name;
    QString localizedName;
    QString url;
    bool isDirectory = false;
    bool isParent = false;
    bool isHidden = false;
    bool hasHiddenExtension = false;
    bool isZipArchive = false;
    std::optional<QString> zipArchiveURL;
    std::optional<QString> zipEntryPath;
    std::optional<int64_t> size;
    std::optional<QDateTime> modificationDate;
    bool isReadable = false;
    bool isWritable = false;
    QString permissionMode;
    QString ownerName;
    QString groupName;
    // A symbolic link whose target is a folder: it keeps its "l" mode and its
    // place among the files, but Enter goes into it by the link's own path.
    bool isLinkToFolder = false;

    // A member of an archive (not itself a nested archive): commands that
    // change a file refuse such rows.
    bool isInsideArchive() const {
        return zipArchiveURL.has_value() && zipEntryPath.has_value() && !isZipArchive;
    }
    bool operator==(const FileEntry&) const = default;
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
