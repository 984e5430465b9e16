#pragma once

#include "core/Background.h"
#include "core/KeyEvent.h"
#include "core/Model.h"
#include "core/Result.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class Preferences;
class TextInputHost;
class TreeSession;
class FolderSearchService;
class DirectoryWatcher;
namespace ArchiveLocation {
enum class ReadOnlyCommand;
}

// The one state object: every field the screen shows, and the commands that
// change them. Lives on the main thread for the whole process. After any
// command it announces one coalesced changed(), and the views repaint from
// its fields.
class AppState : public QObject {
    Q_OBJECT

    struct KeyPress;

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
    enum class DeleteKind { files, folders };
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

    // Reads the settings from the store; lists nothing. Background work runs
    // on the executor given, by default the program's worker threads.
    explicit AppState(Preferences& preferences, QObject* parent = nullptr);
    AppState(Preferences& preferences, Background::Executor& executor, QObject* parent = nullptr);
    ~AppState() override;

    Preferences& preferences() const { return m_preferences; }
    Background::Executor& executor() const { return m_executor; }

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
    // A reload for a change seen on disk: the folder is listed on a worker
    // thread and its rows shown when they come, unless the pane was listed
    // anew or moved on meanwhile, or a later such reload was asked for.
    void reloadPaneInBackground(PaneSide side);
    void refreshAll();

    // Schedules one changed() for everything changed in this turn of the loop.
    void notifyChanged();

    // --- Keyboard (KeyDispatch*.cpp)
    // Every key-down passes here before any widget; true means consumed.
    bool handleKeyDown(const KeyEvent& event);
    void handleFlagsChanged(const KeyEvent& event);
    // Shift with a main-row digit 1-4 switches the layout, by key code.
    bool handleLayoutShortcut(const KeyEvent& event, bool shiftOnly);
    // The keys of a pane in tree mode; false unless the active pane has a session.
    bool handleTreeKey(const std::optional<QString>& key, uint16_t keyCode);
    // Whether an input method is composing in the focused text field.
    bool textInputHasMarkedText() const;
    void setTextInputHost(TextInputHost* host) { m_textInputHost = host; }

    // --- Cursor and location (Navigation.cpp)
    void setSelection(int index, PaneSide side);
    void moveCursor(int delta);
    void moveCursorToTop();
    void moveCursorToBottom();
    void moveCursorByPage(int direction);
    int pageStepForViewport() const;
    bool focusPane(PaneSide side);
    void openLocation(const FilerLocation& location, PaneSide side,
                      const std::optional<QString>& selectName);
    void goToFolder(const QString& url);
    void goToStartupDirectory();
    void goToHomeDirectory();
    void goToRootDirectory();
    void goToParentDirectory();
    void openCursorEntry();
    void activateSelection(PaneSide side);
    void toggleHiddenFiles();
    void toggleLocalizedNames();
    void toggleAllExtensions();

    // --- Layout (Layout.cpp)
    enum class ResizePhase { live, settled };
    void setLayoutMode(LayoutMode mode);
    void applyLayoutMode(LayoutMode mode);
    void toggleRightPaneMode();
    void exitGallery();
    void enterGalleryLayout();
    void exitEditorToViewer();
    void syncPreview();
    void toggleAlwaysPreview();
    bool pageAnimatedFrame(int delta);
    bool stepViewerFile(int delta);
    void noteWindowResized(double width, double height, ResizePhase phase);
    void noteResizeEnded();
    // Wall clock in seconds for the redraw throttle; tests set their own.
    std::function<double()> wallClock = &AppState::systemWallClock;

    // --- Filter (Filter.cpp)
    QList<FileEntry> visibleTreeFiles(const QList<FileEntry>& files) const;
    // Tree rows of depth 0 always stay; others when their name holds the query.
    template <typename Row> QList<Row> visibleTreeRows(const QList<Row>& rows) const {
        if (!isFilterNarrowing()) {
            return rows;
        }
        QList<Row> kept;
        for (const Row& row : rows) {
            if (row.depth == 0 || nameMatchesFilter(row.name)) {
                kept.append(row);
            }
        }
        return kept;
    }
    void openFilter();
    void closeFilter(bool keepCursorRow);
    void applyFilter();
    // Gives the keyboard back to the window, later in this turn of the loop.
    void releaseTextFocus();

    // --- Sort picker (SortPicker.cpp)
    void openSortPicker();
    void closeSortPicker();
    void moveSortPickerSelection(int delta);
    void confirmSortPicker(std::optional<int> index);
    void applySortMode(FilerSortMode mode);

    // --- Tags (Tags.cpp)
    static QString tagKey(const FileEntry& entry);
    // "dir:" or "zip:" key of a location; the gallery's scroll identity, not a tag.
    static QString locationKey(const FilerLocation& location);
    static QString wildcardRegexPattern(const QString& pattern);
    bool isTagged(const FileEntry& entry) const;
    void toggleTagAtCursor();
    void toggleTag(const QString& key);
    void openWildcardPrompt();
    void cancelWildcardPrompt();
    void applyWildcardTag();
    QList<FileEntry> wildcardCandidates(PaneSide side) const;
    // Tagged plain files sorted by path, or else the plain file under the cursor.
    QStringList taggedFileURLs() const;
    QString taggedSizeLabel() const;

    // --- Copy and move (CopyMoveFlow.cpp). The answers of the dialog's
    // buttons are virtual so that a test can see which of them a key reaches.
    virtual void commitCopyMovePathPrompt();
    virtual void proceedCopyMove(bool shift);
    virtual void skipCopyMoveItem(bool shift);
    void beginCopyMove(CopyMoveKind kind, const QStringList& sources, const QString& destination);
    void advanceCopyMove();
    void performCopyMoveHead(bool overwrite);
    // After file work: the visible filer panes reloaded, the trees refreshed,
    // the VIEWER aligned.
    void finishFileOperation();

    // --- Delete (DeleteFlow.cpp)
    QStringList deleteTargets(DeleteKind kind) const;
    virtual void runPendingDelete();

    // --- Directory watching (PaneWatching.cpp)
    void watchPaneFolder(PaneSide side);

    // --- Commands the keys reach. They are virtual so that a test can see
    // which of them a key reaches.
    // DOS dialog
    bool handleDosDialogKey(const std::optional<QString>& characters, uint16_t keyCode, bool shift);
    // Name prompts
    virtual void openCreateItemPrompt(CreateItemKind kind);
    virtual void cancelCreateItemPrompt();
    virtual void openRenamePrompt();
    virtual void cancelRenamePrompt();
    // Attribute editing
    virtual void openAttributePrompt();
    virtual void cancelAttributePrompt();
    virtual void moveAttributeFocus(int delta);
    virtual void moveAttributeFieldCursor(int delta);
    virtual void toggleAttributeField();
    virtual void applyAttributePrompt();
    virtual void typeAttributeDigit(QChar digit);
    // Copy, move, delete
    virtual void startCopyOrMove(CopyMoveKind kind);
    virtual void cancelCopyMovePathPrompt();
    virtual void startDelete(DeleteKind kind);
    // Directory watching
    virtual void stopWatching(PaneSide side);
    // VIEWER and EDITOR
    virtual void enterEditor();
    virtual void saveEditor();
    virtual void finishExitEditor(bool save);
    virtual void showEncodingPicker();
    virtual bool canChangeSaveEncoding() const;
    virtual void clearViewer();
    virtual void showFilePreview(const FileEntry& entry);
    virtual void showArchivePreview(const FileEntry& entry);
    // Preview loading: one load at a time, a newer one drops the older.
    virtual void loadViewerContent(const QString& url);
    virtual void loadViewerContentForMember(const QString& archive, const QString& memberPath,
                                            const QString& name);
    void cancelPreviewLoad();
    void startTextLoad(const QString& url, bool extracted);
    void showLoadFailure(const QString& url, const QString& message);
    // EDITOR commands beside the key-routed ones above.
    void openFileInEditor(const QString& url);
    void offerExternalOpenForLargeFile(const QString& url);
    void updateEditorText(const QString& text);
    // Gallery
    virtual void rebuildGalleryItems();
    virtual void syncGallerySelection();
    virtual void moveGalleryCursor(int dx, int dy);
    virtual void openGallerySelection(std::optional<int> index);
    // File search and its folder box
    virtual void enterFileSearchMode();
    virtual void exitFileSearchMode();
    virtual void cycleFileSearchFocus(int delta);
    virtual void moveFileSearchSelection(int delta);
    virtual void focusFileSearchResults();
    virtual void fileSearchSelectFirst();
    virtual void fileSearchSelectLast();
    virtual void fileSearchPage(int direction);
    virtual void cycleFileSearchSort(int delta);
    virtual void cycleFileSearchMatchMode(int delta);
    virtual void toggleFileSearchChoice();
    virtual void openSearchTreeBox();
    virtual void openFileSearchResult();
    virtual void editFileSearchResult();
    virtual void openFileSearchResultExternally();
    virtual void closeSearchTreeBox();
    virtual void moveSearchTreeBoxRow(int delta);
    virtual void collapseOrExpandSearchTreeBoxRow(bool expand);
    virtual void selectSearchTreeBoxRow(int index);
    virtual int searchTreeBoxRowCount() const;
    virtual void confirmSearchTreeBox();
    // Starts the scan of the form once it has held still for the debounce
    // interval; every call starts the wait again (search/FileSearchMode.cpp).
    void scheduleFileSearch();
    // The end of that wait: the scan of what the form holds now.
    virtual void runScheduledFileSearch();
    // The folder a search looks in: the chosen one, else the left pane's
    // folder, or the folder of the archive the left pane is in.
    QString fileSearchRoot() const;
    // Tree mode
    virtual void toggleTreeMode();
    virtual void exitTreeModeByEsc();
    virtual void leaveTreeMode(PaneSide side);
    virtual void activateTreeSelection();
    virtual void moveTreeSelection(int delta);
    virtual void treeSelectFirst();
    virtual void treeSelectLast();
    virtual void treePage(int direction);
    virtual void treeStepLeft();
    virtual void treeStepRight();
    virtual void refreshTreeSessions();
    virtual void treeOpenFilter(PaneSide side);
    virtual void treeApplyFilter(PaneSide side);
    virtual void treeCloseFilterKeepingRow(PaneSide side);
    virtual void treeToggleTagAtCursor(PaneSide side);
    virtual QList<FileEntry> treeFiles(PaneSide side) const;
    // A click on a tree row or on a file of the tree's file list.
    void selectTreeRow(PaneSide side, int index);
    void selectTreeFile(PaneSide side, int index);
    // Jump dialog and bookmarks
    virtual void openJumpDialog();
    virtual void closeJumpDialog();
    virtual void clearJumpSelection();
    virtual void moveJumpSelection(int delta);
    virtual void confirmJumpDialog();
    virtual void jumpToNumberedBookmark(int number);
    virtual void removeJumpBookmark();
    virtual void setStartupFromJumpSelection();
    virtual void addJumpBookmark();
    virtual void setStartupDirectoryToCurrent();
    // The bookmarks the dialog shows through its filter.
    QStringList jumpRows() const;
    void setJumpFilterQuery(const QString& text);
    // Enter with no path; a click on a row with that row's path.
    void confirmJumpDialogAt(const std::optional<QString>& clickedPath);
    void goToBookmark(const QString& path);
    void saveJumpBookmarks();
    // Volume and open-with pickers
    virtual void openVolumePicker();
    virtual void closeVolumePicker();
    virtual void moveVolumePickerSelection(int delta);
    virtual void confirmVolumePicker(std::optional<int> index);
    virtual void openCursorEntryExternally();
    virtual void showOpenWithChoices(const QString& url, const QString& name);
    virtual void closeOpenWithPicker();
    virtual void moveOpenWithSelection(int delta);
    virtual void confirmOpenWith(std::optional<int> index);

    // --- DOS dialog (dialogs/DosDialogActions.cpp): the answers to the one
    // dialog that stands, built from the fields below by currentDosDialog().
    void activateDosDialogAction(bool shift);
    void confirmDosDialog(bool shift);
    void cancelDosDialog();
    void moveDosDialogSelection(int delta);
    void openPrivacySettings();

    // --- Name prompts (dialogs/NamePrompts.cpp)
    void commitCreateItem();
    void commitRename();

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
    // The preview load and frame count under way; a newer one drops the older.
    Background::TicketCounter previewLoadGeneration;

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

    // Set while one item of a copy or move runs on a worker thread: every key
    // is swallowed and no dialog stands meanwhile.
    bool isFileOperationRunning = false;
    // What the status line shows of an item that runs longer than half a
    // second: its name and the bytes done of all; empty otherwise.
    QString fileOperationProgressText;

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
    // The wait between the last change of the form and its scan; the scan
    // runs only if no change came and the form was not left meanwhile.
    int fileSearchDebounceMilliseconds = 280;
    Background::TicketCounter fileSearchDebounceTask;

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
    void showListing(PaneSide side, Result<QList<FileEntry>, QString> rows);

    // Key dispatch, one function per mode's table (KeyDispatch*.cpp).
    std::optional<bool> dispatchModalKey(const KeyPress& press);
    bool dispatchPaneKey(const KeyPress& press);
    bool handleTextPromptKey(const KeyPress& press);
    bool handleAttributePromptKey(const KeyPress& press);
    bool handleFileSearchKey(const KeyPress& press);
    bool handleSearchTreeBoxKey(const KeyPress& press);
    bool handleSortPickerKey(const KeyPress& press);
    bool handleVolumePickerKey(const KeyPress& press);
    bool handleOpenWithPickerKey(const KeyPress& press);
    bool handleJumpDialogKey(const KeyPress& press);
    bool handleGalleryKey(const KeyPress& press);
    bool handleEditorKey(const KeyPress& press);
    bool handleViewerKey(const KeyPress& press);
    bool handleFilterKey(const KeyPress& press);
    bool handleFilterMoveKey(const KeyPress& press);
    bool handleFilerKey(const KeyPress& press);
    bool handleFilerLetterKey(const KeyPress& press);
    bool handleFilerActionKey(const KeyPress& press);
    bool handleFilerMoveKey(const KeyPress& press);
    bool activePaneInTreeMode() const;

    // Navigation and layout helpers.
    void goUp(PaneSide side);
    void showEntryInViewer(const FileEntry& entry);
    void noteLayoutSettled();
    static double systemWallClock();
    bool isFilterNarrowing() const;
    bool nameMatchesFilter(const QString& name) const;
    bool anyPromptOrPickerOpen() const;

    // Tree mode and bookmarks (search/TreeCommands.cpp, pickers/JumpDialog.cpp).
    void noteTreeChanged();
    void moveTreeCursorTo(PaneSide side, int index);
    int treeCursorIndex(PaneSide side) const;
    bool refuseInsideArchive(PaneSide side, ArchiveLocation::ReadOnlyCommand command);
    std::optional<QString> bookmarkTarget(PaneSide side) const;
    void storeStartupDirectory(const QString& path);

    // The rows the filter keeps for a pane, asked for many times per key by
    // the commands and the views. Folding every name of a large folder takes
    // long, so the folded names are kept until the pane's list changes, and
    // the kept rows until the query changes too.
    struct FilterMemo {
        int64_t listEpoch = -1;
        const FileEntry* listData = nullptr;
        qsizetype listSize = 0;
        QStringList foldedNames;
        QString query;
        QList<FileEntry> kept;
    };
    FilterMemo& filterMemo(PaneSide side) const;
    // The tagged size the status line asks for at every redraw, kept until
    // the tags or either pane's list change.
    struct TaggedSizeMemo {
        int64_t leftListEpoch = -1;
        int64_t rightListEpoch = -1;
        QSet<QString> keys;
        QString label;
    };
    QString computeTaggedSizeLabel() const;

    Preferences& m_preferences;
    Background::Executor& m_executor;
    TextInputHost* m_textInputHost = nullptr;
    mutable std::array<FilterMemo, 2> m_filterMemos;
    mutable TaggedSizeMemo m_taggedSizeMemo;
    // The background reloads of each pane: a later one, or a listing shown
    // meanwhile, drops the older.
    std::array<Background::TicketCounter, 2> m_backgroundReloads;
    // The running preview load, if any; its type lives with the loading code.
    std::shared_ptr<struct PreviewLoadTask> m_previewLoadTask;
    bool m_changeScheduled = false;
};
