#pragma once

#include "core/Model.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>

class Preferences;
class TreeSession;
class FolderSearchService;
class DirectoryWatcher;
template <typename T, typename E> class Result;

// The one state object: every field the screen shows, and the commands that
// change them. Lives on the main thread for the whole process. After any
// command it announces one coalesced changed(), and the views repaint from
// its fields.
class AppState : public QObject {
    Q_OBJECT

public:
    struct GalleryItem {
        QString name;
        FileEntry entry;
        bool operator==(const GalleryItem&) const = default;
    };
    struct PendingDelete {
        QStringList urls;
        bool deletingFolders = false;
        bool operator==(const PendingDelete&) const = default;
    };
    enum class CopyMoveKind { copy, move };
    struct PendingCopyMove {
        struct Conflict {
            QString source;
            QString destinationItem;
            bool operator==(const Conflict&) const = default;
        };
        struct Confirm {
            bool operator==(const Confirm&) const = default;
        };
        using Stage = std::variant<Conflict, Confirm>;

        CopyMoveKind kind = CopyMoveKind::copy;
        QStringList sources;
        QString destination;
        QStringList remaining;
        Stage stage = Confirm{};
        bool applyOverwriteAll = false;
        bool applySkipAll = false;
        bool operator==(const PendingCopyMove&) const = default;
    };

    // Reads the settings from the store; lists nothing.
    explicit AppState(Preferences& preferences, QObject* parent = nullptr);
    ~AppState() override;

    Preferences& preferences() const { return m_preferences; }

    // --- Accessors by side
    const FilerLocation& locationFor(PaneSide side) const;
    const QList<FileEntry>& entriesFor(PaneSide side) const;
    QList<FileEntry> visibleEntries(PaneSide side) const;
    int selectionFor(PaneSide side) const;
    bool treeModeFor(PaneSide side) const;
    std::shared_ptr<TreeSession> treeSessionFor(PaneSide side) const;

    // The side filer commands act on; none with the focus in EDITOR.
    std::optional<PaneSide> activeFilerSide() const;
    // The row under the cursor of the active side.
    std::optional<FileEntry> currentEntry() const;

    // --- Start-up and settings
    void setUIFontSize(double size);
    void setAppLanguage(AppLanguage language);
    void requestQuit();

    // --- Listing
    Result<QList<FileEntry>, QString> listLocation(const FilerLocation& location) const;
    void reloadPane(PaneSide side, bool forgetRights);
    void refreshAll();
    void setSelection(int index, PaneSide side);

    // Schedules one changed() for everything changed in this turn of the loop.
    void notifyChanged();

    // --- Panes
    FilerLocation leftLocation;
    FilerLocation rightLocation;
    QList<FileEntry> leftEntries;
    QList<FileEntry> rightEntries;
    int leftSelection = 0;
    int rightSelection = 0;
    int64_t leftListEpoch = 0;
    int64_t rightListEpoch = 0;

    // --- Layout
    RightPaneMode rightMode = RightPaneMode::viewer;
    LayoutMode layoutMode = LayoutMode::filerViewer;
    PaneSide focusedSide = PaneSide::left;
    std::optional<LayoutMode> pendingLayoutMode;
    bool pendingExitEditorToViewer = false;
    uint64_t windowLayoutEpoch = 0;
    double lastWindowRedrawAt = 0;

    // --- Editor
    std::optional<QString> editorURL;
    QString editorText;
    bool isDirty = false;
    int64_t editorFocusNonce = 0;

    // --- Viewer
    ViewerContentKind viewerKind = ViewerContentKind::none;
    QString textEncodingLabel;
    bool isEncodingPickerOpen = false;
    bool viewerFromZip = false;
    QString viewerZipArchive;
    QString viewerZipEntry;
    int animatedFrameIndex = 0;
    std::optional<AnimatedImageInfo> animatedPreviewInfo;
    bool isTextPreviewTruncated = false;
    int64_t textFileByteSize = 0;
    bool isExtractedTextPreview = false;
    bool isViewerLoading = false;
    std::optional<QString> viewerSkipReason;
    std::optional<QString> pendingLargeEditURL;
    uint64_t previewLoadGeneration = 0;

    // --- Settings
    bool showHiddenFiles = false;
    bool showLocalizedNames = true;
    bool showAllFileExtensions = false;
    double uiFontSize = 13;
    AppLanguage appLanguage = AppLanguage::system;
    FilerSortMode sortMode = FilerSortMode::name;
    bool alwaysPreviewMode = false;
    QString startupDirectory;
    QStringList jumpBookmarks;

    // --- Keyboard
    bool isShiftKeyDown = false;

    // --- Sort picker
    bool isSortPickerOpen = false;
    int sortPickerSelection = 0;

    // --- Jump dialog
    bool isJumpDialogOpen = false;
    QString jumpFilterQuery;
    std::optional<QString> jumpSelectedPath;
    int64_t jumpFocusNonce = 0;

    // --- Volume picker
    bool isVolumePickerOpen = false;
    QList<MountedVolume> volumePickerItems;
    int volumePickerSelection = 0;

    // --- Open-with picker
    bool isOpenWithPickerOpen = false;
    QList<OpenWithApp> openWithApps;
    int openWithSelection = 0;
    std::optional<QString> openWithFileURL;
    QString openWithFileName;

    // --- Gallery
    QList<GalleryItem> galleryItems;
    std::optional<int> gallerySelection;

    // --- Tags
    QSet<QString> taggedKeys;
    bool isWildcardPromptOpen = false;
    QString wildcardPattern = QStringLiteral("*.*");
    QString lastWildcardPattern = QStringLiteral("*.*");

    // --- Create and rename
    std::optional<CreateItemKind> createItemKind;
    QString createItemName;
    QString createItemParentPath;
    bool isRenamePromptOpen = false;
    QString renameName;
    QString renameSourceURL;
    QString renameSourceName;

    // --- Attributes
    bool isAttributePromptOpen = false;
    QStringList attributeTargetURLs;
    QString attributeTargetSummary;
    QString attributeOldMode;
    QString attributeNewMode;
    QString attributeOldDate;
    QString attributeNewDate;
    QString attributeOldTime;
    QString attributeNewTime;
    QString attributeOldOwner;
    QString attributeOldGroup;
    int attributeFocusField = 0;
    int attributeFieldCursorIndex = 0;

    // --- Copy, move, delete
    std::optional<PendingDelete> pendingDelete;
    std::optional<PendingCopyMove> pendingCopyMove;
    std::optional<CopyMoveKind> copyMovePathKind;
    QString copyMovePathText;
    QStringList copyMovePathSources;
    std::optional<QString> copyMovePathBaseURL;
    QString lastCopyMoveDestinationPath;

    // --- Dialogs
    bool pendingQuit = false;
    bool pendingFullDiskAccessTip = false;
    std::optional<QString> errorMessage;
    int dosDialogActionIndex = 0;

    // --- Tree mode
    bool leftTreeMode = false;
    bool rightTreeMode = false;
    std::shared_ptr<TreeSession> leftTreeSession;
    std::shared_ptr<TreeSession> rightTreeSession;
    int64_t treeRevision = 0;

    // --- Filter
    bool isSearching = false;
    QString searchQuery;

    // --- File search
    bool isFileSearchMode = false;
    QString fileSearchQuery;
    QString fileSearchScopePath;
    FolderSearchMatchMode fileSearchMatchMode = FolderSearchMatchMode::nameOnly;
    QString fileSearchFromYM;
    QString fileSearchToYM;
    FolderSearchSort fileSearchSort = FolderSearchSort::name;
    int fileSearchSelection = 0;
    FileSearchFocusField fileSearchFocusField = FileSearchFocusField::query;
    bool isSearchTreeBoxOpen = false;
    std::shared_ptr<TreeSession> searchTreeSession;
    std::shared_ptr<FolderSearchService> folderSearch;

    // --- Watchers
    std::shared_ptr<DirectoryWatcher> leftWatcher;
    std::shared_ptr<DirectoryWatcher> rightWatcher;

signals:
    void changed();

private:
    void readSettings();
    void readJumpBookmarks();
    void resolveStartupDirectory();
    void setEntries(PaneSide side, QList<FileEntry> entries);

    Preferences& m_preferences;
    bool m_changeScheduled = false;
};
