#pragma once

#include "core/Background.h"
#include "core/EntryDisplay.h"
#include "core/FreeSpaceCache.h"
#include "core/KeyEvent.h"
#include "core/Model.h"
#include "core/Overlay.h"
#include "core/PaneState.h"
#include "core/Result.h"
#include "core/SelectionStatus.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

struct KeyCommand;
class Preferences;
class TextInputHost;
class TreeSession;
class FolderSearchService;
class DirectoryWatcher;
struct ArmedWatch;
namespace ArchiveLocation {
enum class ReadOnlyCommand;
}

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
    using CopyMoveKind = ::CopyMoveKind;
    enum class DeleteKind { files, folders };
    // What C and M carry: the tagged files, or with Shift the folder under the cursor.
    enum class CopyMoveItems { files, folders };
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
        // Items carried so far, for the report of a batch that Esc stopped.
        int carried = 0;
        bool operator==(const PendingCopyMove&) const = default;
    };

    // Reads the settings from the store; lists nothing. Background work runs
    // on the executor given, by default the program's worker threads.
    explicit AppState(Preferences& preferences, QObject* parent = nullptr);
    AppState(Preferences& preferences, Background::Executor& executor, QObject* parent = nullptr);
    ~AppState() override;

    Preferences& preferences() const { return m_preferences; }
    Background::Executor& executor() const { return m_executor; }

    // --- The two filer panes
    const PaneState& pane(PaneSide side) const { return m_panes[paneIndex(side)]; }
    PaneState& pane(PaneSide side) { return m_panes[paneIndex(side)]; }
    // The rows a pane shows: its entries as the filter keeps them.
    QList<FileEntry> visibleEntries(PaneSide side) const;

    // The side filer commands act on; none with the focus in EDITOR.
    std::optional<PaneSide> activeFilerSide() const;
    // The row under the cursor of the active side.
    std::optional<FileEntry> currentEntry() const;

    // --- Start-up and settings
    // Both panes start in this folder for this run; the stored start folder stays.
    void startIn(const QString& folder);
    // The same for a folder named on the command line, which is checked on a
    // worker with the stored start folder before the panes are first listed;
    // one that can't be started in is handed to refused with the reason, and
    // the panes start in the start folder (StartFolderCommands.cpp).
    void startInNamedFolder(const QString& argument,
                            std::function<void(const QString& reason)> refused);
    // The first listing of both panes, when the window shows: the start
    // folders are checked on a worker first, and the panes listed after.
    void startUp();
    // Whether the start folders are still being checked.
    bool isCheckingStartFolder() const { return m_startCheck == StartCheck::running; }
    void setUIFontSize(double size);
    void setAppLanguage(AppLanguage language);
    void requestQuit();

    // --- Listing (filesystem/PaneLoadingCommands.cpp)
    // Lists a location now, on the calling thread, with the current settings.
    Result<QList<FileEntry>, QString> listLocation(const FilerLocation& location) const;
    // Lists the pane's location anew on a worker; the rows, the cursor kept
    // by position and the watcher follow when the listing completes. With a
    // change of location under way, that location is listed anew instead.
    void reloadPane(PaneSide side, bool forgetRights);
    // A reload for a change seen on disk: the folder is listed on a worker
    // thread and its rows shown when they come, unless the pane was listed
    // anew or moved on meanwhile, or a later such reload was asked for. It
    // holds no keys and shows no loading line.
    void reloadPaneInBackground(PaneSide side);
    void refreshAll();
    // Whether a listing the user asked for, or a change of the side's tree,
    // is under way.
    bool isListingPending(PaneSide side) const { return pane(side).isLoading(); }
    // The count of items read that the side's loading line shows; none while
    // no load has run long enough to show one.
    std::optional<qsizetype> loadingLineCount(PaneSide side) const;
    // Esc while a pane lists or its tree loads: the loads are dropped with the
    // keys held for them, and the pane and its tree stay as they were.
    void cancelListing(PaneSide side);
    // Runs then once the side's listing and tree load under way have
    // completed, or at once when none is.
    void whenListed(PaneSide side, std::function<void()> then);
    // A key for the active filer pane while it lists: Esc cancels the
    // listing, Tab and Q pass, any other key is held to run after the rows
    // come. True when the key was taken here.
    bool holdKeyWhileListing(const KeyEvent& event);
    // How long a listing runs before the pane says it is loading, and how
    // often the count it shows is brought up to date.
    std::chrono::milliseconds listingNoticeDelay{200};
    std::chrono::milliseconds listingCountInterval{100};

    // --- Commands whose first step reads the disk (DiskLookCommands.cpp):
    // whether a folder exists, the attributes or rights of the items, the
    // file to edit. A read can hang on a dead mount, so it runs on a worker;
    // look gives back, from there, what the command then does on the main
    // thread, where its prompt, dialog or editor appears as it did when the
    // read was instant. Keys typed meanwhile wait and run in order after it;
    // Esc drops the command with those keys, and Q asks to quit as always.
    // Several such commands take their steps in the order they were asked for.
    using DiskLook = std::function<std::function<void()>()>;
    void lookAtDiskThen(DiskLook look);
    bool isLookingAtDisk() const { return !m_diskLooks.empty(); }
    void cancelDiskLook();
    // A key while a command reads the disk; true when the key was taken here.
    bool holdKeyWhileLooking(const KeyEvent& event);
    // Commands whose step writes to the disk (a new folder or file, a
    // rename, EDITOR's save) take the same road and hold keys the same way.
    // A write cannot be taken back, so its steps always come: Esc and Q wait
    // their turn with the other keys until no write is under way.
    void writeToDiskThen(DiskLook write);
    bool isWritingToDisk() const;
    // Runs then once no write is under way, at once when none is.
    void whenWritesAreDone(std::function<void()> then);

    // Schedules one changed() for everything changed in this turn of the loop.
    void notifyChanged();
    // Puts up the ERROR dialog with this text, its first button chosen.
    void reportError(const QString& message);

    // --- Keyboard (KeyDispatch*.cpp, KeyCommand.cpp)
    // Every key-down passes here before any widget; true means consumed.
    bool handleKeyDown(const KeyEvent& event);
    void handleFlagsChanged(const KeyEvent& event);
    // Carries out what a key table answered; true when the key is consumed.
    bool runKeyCommand(const KeyCommand& command);
    // Shift with a main-row digit 1-4 switches the layout, by key code.
    bool handleLayoutShortcut(const KeyEvent& event, bool shiftOnly);
    // The keys of a pane in tree mode; false unless the active pane has a session.
    bool handleTreeKey(const std::optional<QString>& key, uint16_t keyCode);
    // Whether an input method is composing in the focused text field.
    bool textInputHasMarkedText() const;
    void setTextInputHost(TextInputHost* host) { m_textInputHost = host; }

    // --- Cursor and location (NavigationCommands.cpp)
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

    // --- Layout (LayoutCommands.cpp)
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
    // The frames of the picture at path have been composed: their number
    // replaces the count the file announced, so that the header, the strip
    // and paging all go by the frames there are.
    void noteAnimatedFramesComposed(const QString& path, int count);
    bool stepViewerFile(int delta);
    void noteWindowResized(double width, double height, ResizePhase phase);
    void noteResizeEnded();
    // Wall clock in seconds for the redraw throttle; tests set their own.
    std::function<double()> wallClock = &AppState::systemWallClock;

    // --- Filter (FilterCommands.cpp)
    QList<FileEntry> visibleTreeFiles(const QList<FileEntry>& files) const;
    // Tree rows of depth 0 always stay; others when their name holds the query.
    template <typename Row> QList<Row> visibleTreeRows(const QList<Row>& rows) const {
        if (!isFilterNarrowing()) {
            return rows;
        }
        QList<Row> kept;
        for (const Row& row : rows) {
            if (nameMatchesFilter(EntryDisplay::shownName(row))) {
                kept.append(row);
            }
        }
        return kept;
    }
    void openFilter();
    void closeFilter(bool keepCursorRow);
    void applyFilter();
    // The filter's field typed into: the query taken and applied.
    void setFilterQuery(const QString& text);
    // Gives the keyboard back to the window, later in this turn of the loop.
    void releaseTextFocus();

    // --- Sort picker (SortPickerCommands.cpp)
    void openSortPicker();
    void closeSortPicker();
    void moveSortPickerSelection(int delta);
    void confirmSortPicker(std::optional<int> index);
    void applySortMode(FilerSortMode mode);

    // --- Tags (TagCommands.cpp)
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
    // The same in two steps, so that the look at the disk can run on a
    // worker: the tagged paths and the cursor's file, taken on the main
    // thread, then which of them are files, asked on any thread.
    struct TaggedFileCandidates {
        QStringList taggedPaths;
        std::optional<QString> cursorFile;
    };
    TaggedFileCandidates taggedFileCandidates() const;
    static QStringList taggedFileURLs(const TaggedFileCandidates& candidates);
    QString taggedSizeLabel() const;

    // --- Copy and move (CopyMoveCommands.cpp)
    void commitCopyMovePathPrompt();
    void proceedCopyMove(bool shift);
    void skipCopyMoveItem(bool shift);
    void beginCopyMove(CopyMoveKind kind, const QStringList& sources, const QString& destination);
    // What follows once the sources are known: the refusal, the path prompt
    // or, in the dual layout, the confirm question.
    void offerCopyMove(CopyMoveKind kind, bool folders, const QStringList& sources, PaneSide side);
    void advanceCopyMove();
    void performCopyMoveHead(bool overwrite);
    // After file work: the visible filer panes reloaded, the trees refreshed,
    // the VIEWER aligned.
    void finishFileOperation();

    // Esc while a file job runs: it ends after the item under way
    // (FileJobCommands.cpp).
    void stopFileOperation();

    // --- Delete (DeleteCommands.cpp)
    QStringList deleteTargets(DeleteKind kind) const;
    void runPendingDelete();

    // --- Directory watching (PaneWatchingCommands.cpp)
    // With a watch armed by the listing's worker, the main thread only takes
    // it; without, the watch is armed here.
    void watchPaneFolder(PaneSide side, const std::shared_ptr<ArmedWatch>& armed = nullptr);

    // --- Free space (FreeSpaceCommands.cpp): reads the volume of the pane's
    // folder on a worker thread into freeSpace, and keeps refreshing the
    // visible panes' volumes every few seconds.
    void refreshFreeSpace(PaneSide side);
    FreeSpaceCache freeSpace;

    // --- The shown file's status (ShownFileStatusCommands.cpp): what the
    // status line tells about the file on the right when no row is it, as a
    // worker last read it. It is read when that file changes and when
    // everything is read again, never when the line is painted.
    struct ShownFileStatus {
        QString url;
        SelectionStatus status;
    };
    std::optional<ShownFileStatus> shownFileStatus;
    void refreshShownFileStatus();

    // --- Commands the keys reach
    // DOS dialog
    bool handleDosDialogKey(const std::optional<QString>& characters, uint16_t keyCode, bool shift);
    // Name prompts
    void openCreateItemPrompt(CreateItemKind kind);
    void cancelCreateItemPrompt();
    void openRenamePrompt();
    void cancelRenamePrompt();
    // Attribute editing
    void openAttributePrompt();
    void cancelAttributePrompt();
    void moveAttributeFocus(int delta);
    void moveAttributeFieldCursor(int delta);
    void toggleAttributeField();
    void applyAttributePrompt();
    void typeAttributeDigit(QChar digit);
    // Copy, move, delete
    void startCopyOrMove(CopyMoveKind kind, CopyMoveItems items = CopyMoveItems::files);
    void cancelCopyMovePathPrompt();
    void startDelete(DeleteKind kind);
    // Directory watching
    void stopWatching(PaneSide side);
    // VIEWER and EDITOR
    void enterEditor();
    void saveEditor();
    void finishExitEditor(bool save);
    // Runs then at once, or, while EDITOR holds unsaved text, after the save
    // question has been answered with Save (and the save went well) or Don't
    // Save; Cancel drops it. Every way that would replace or close the text
    // goes through here.
    void whenEditorTextIsSafe(std::function<void()> then);
    // Leaves the program now, after the save question if EDITOR holds
    // unsaved text (the desktop's Quit and the window's close button).
    void quitNow();
    void showEncodingPicker();
    bool canChangeSaveEncoding() const;
    void clearViewer();
    void showFilePreview(const FileEntry& entry);
    void showArchivePreview(const FileEntry& entry);
    // Preview loading: one load at a time, a newer one drops the older.
    void loadViewerContent(const QString& url);
    void loadViewerContentForMember(const QString& archive, const QString& memberPath,
                                    const QString& name);
    void cancelPreviewLoad();
    void startTextLoad(const QString& url, bool extracted);
    void showLoadFailure(const QString& url, const QString& message);
    // EDITOR commands beside the key-routed ones above.
    // Reads the file on a worker; EDITOR, or the refusal, comes when it is back.
    void openFileInEditor(const QString& url);
    // The file read whole and decoded, in EDITOR, with the label of its encoding.
    void showFileInEditor(const QString& path, const QString& text, const QString& label,
                          int64_t byteSize);
    // The question about an outside application, for a file of this size.
    void offerExternalOpenForLargeFile(const QString& url, int64_t size);
    void updateEditorText(const QString& text);
    // Gallery
    void rebuildGalleryItems();
    void syncGallerySelection();
    void moveGalleryCursor(int dx, int dy);
    void openGallerySelection(std::optional<int> index);
    // Selects the item and moves the filer's cursor to the row of the same
    // name: the pane's list, or the file list of a pane in tree mode, whose
    // cursor then moves to the files.
    void selectGalleryItem(int index);
    // File search and its folder box
    void enterFileSearchMode();
    void exitFileSearchMode();
    void cycleFileSearchFocus(int delta);
    void moveFileSearchSelection(int delta);
    void focusFileSearchResults();
    void fileSearchSelectFirst();
    void fileSearchSelectLast();
    void fileSearchPage(int direction);
    void cycleFileSearchSort(int delta);
    void cycleFileSearchMatchMode(int delta);
    void toggleFileSearchChoice();
    void openSearchTreeBox();
    void openFileSearchResult();
    void editFileSearchResult();
    void openFileSearchResultExternally();
    void closeSearchTreeBox();
    void moveSearchTreeBoxRow(int delta);
    void collapseOrExpandSearchTreeBoxRow(bool expand);
    void selectSearchTreeBoxRow(int index);
    int searchTreeBoxRowCount() const;
    void confirmSearchTreeBox();
    // Starts the scan of the form once it has held still for the debounce
    // interval; every call starts the wait again (search/FileSearchCommands.cpp).
    void scheduleFileSearch();
    // The end of that wait: the scan of what the form holds now.
    void runScheduledFileSearch();
    // A field of the search form typed into: the text taken and the wait
    // before the next scan started again.
    void setFileSearchText(FileSearchFocusField field, const QString& text);
    // A click on a row of the form moves the form's focus there.
    void setFileSearchFocus(FileSearchFocusField field);
    // The folder a search looks in: the chosen one, else the left pane's
    // folder, or the folder of the archive the left pane is in.
    QString fileSearchRoot() const;
    // Tree mode
    void toggleTreeMode();
    void exitTreeModeByEsc();
    void leaveTreeMode(PaneSide side);
    void activateTreeSelection();
    void moveTreeSelection(int delta);
    void treeSelectFirst();
    void treeSelectLast();
    void treePage(int direction);
    void treeStepLeft();
    void treeStepRight();
    void refreshTreeSessions();
    // Asks a worker thread whether the folders of the open trees' new rows
    // have subfolders (search/TreeSubfolderCommands.cpp).
    void askTreeSubfolders();
    // Puts the cursor of a pane in tree mode on a file or folder by its path.
    void putTreeCursorOn(PaneSide side, const QString& path);
    void treeOpenFilter(PaneSide side);
    void treeApplyFilter(PaneSide side);
    void treeCloseFilterKeepingRow(PaneSide side);
    void treeToggleTagAtCursor(PaneSide side);
    QList<FileEntry> treeFiles(PaneSide side) const;
    // A click on a tree row or on a file of the tree's file list.
    void selectTreeRow(PaneSide side, int index);
    void selectTreeFile(PaneSide side, int index);
    // Jump dialog and bookmarks
    void openJumpDialog();
    void closeJumpDialog();
    void clearJumpSelection();
    void moveJumpSelection(int delta);
    void confirmJumpDialog();
    void jumpToNumberedBookmark(int number);
    void removeJumpBookmark();
    void setStartupFromJumpSelection();
    void addJumpBookmark();
    void setStartupDirectoryToCurrent();
    // The bookmarks the dialog shows through its filter.
    QStringList jumpRows() const;
    void setJumpFilterQuery(const QString& text);
    // Enter with no path; a click on a row with that row's path.
    void confirmJumpDialogAt(const std::optional<QString>& clickedPath);
    void goToBookmark(const QString& path);
    void goToBookmarkFolder(const QString& path, const QString& folder, PaneSide side);
    void saveJumpBookmarks();
    // Volume and open-with pickers
    void openVolumePicker();
    void closeVolumePicker();
    void moveVolumePickerSelection(int delta);
    void confirmVolumePicker(std::optional<int> index);
    void openCursorEntryExternally();
    // The applications are found on a worker; keys typed meanwhile wait.
    void showOpenWithChoices(const QString& url, const QString& name, bool isFolder = false);
    void offerOpenWith(const QString& url, const QString& name, bool isFolder,
                       const QList<OpenWithApp>& apps);
    void closeOpenWithPicker();
    void moveOpenWithSelection(int delta);
    void confirmOpenWith(std::optional<int> index);

    // --- DOS dialog (dialogs/DosDialogCommands.cpp): the answers to the one
    // dialog that stands, built from the fields below by currentDosDialog().
    void activateDosDialogAction(bool shift);
    void confirmDosDialog(bool shift);
    void cancelDosDialog();
    void moveDosDialogSelection(int delta);
    void openPrivacySettings();

    // --- Name prompts (dialogs/NamePromptCommands.cpp)
    void commitCreateItem();
    void commitRename();
    // The open text prompt's field typed into (name, new name, pattern or
    // destination path); nothing when no text prompt is open.
    void setPromptText(const QString& text);
    // A click on a button of the standing dialog chooses it.
    void selectDialogButton(int index);
    // The Shift layer of the key hints goes when the window loses the keys.
    void releaseShiftKey();

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
    // A save of EDITOR's text is being written; the text waits for it.
    bool isEditorSaving = false;
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
    // The GALLERY's item list of a large folder under way; a newer one drops the older.
    Background::TicketCounter galleryBuildGeneration;

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

    // --- Prompts, pickers and boxes: which one stands, and the fields of each
    Overlay overlay() const { return m_overlay; }
    bool isOpen(Overlay overlay) const { return m_overlay == overlay; }
    // Opens this one; any other that stood is gone.
    void showOverlay(Overlay overlay);
    // Closes it if it is the one that stands.
    void closeOverlay(Overlay overlay);
    // A prompt, picker or box stands, or a copy or move awaits its answer:
    // no other prompt or picker opens meanwhile.
    bool anyPromptOrPickerOpen() const;
    CreateItemPromptState createItemPrompt;
    RenamePromptState renamePrompt;
    WildcardPromptState wildcardPrompt;
    CopyMovePathPromptState copyMovePathPrompt;
    AttributePromptState attributePrompt;
    SortPickerState sortPicker;
    JumpDialogState jumpDialog;
    VolumePickerState volumePicker;
    OpenWithPickerState openWithPicker;
    SearchTreeBoxState searchTreeBox;

    // --- Gallery
    QList<GalleryItem> galleryItems;
    std::optional<int> gallerySelection;

    // --- Tags
    QSet<QString> taggedKeys;
    QString lastWildcardPattern = QStringLiteral("*.*");

    // --- Copy, move, delete
    std::optional<PendingDelete> pendingDelete;
    std::optional<PendingCopyMove> pendingCopyMove;
    QString lastCopyMoveDestinationPath;

    // Set while an item of a copy or move, or a delete or attribute job, runs
    // on a worker thread: keys wait but for Esc, which stops the job, and the
    // menu shortcuts; no dialog stands meanwhile.
    bool isFileOperationRunning = false;
    // What the status line shows of a job that runs longer than half a
    // second: an item's name and the bytes done of all, or the count of items
    // done of all; empty otherwise.
    QString fileOperationProgressText;
    // The running job's stop request: Esc asks for it, the worker hears it
    // between items and a copy between stretches of bytes. Without a job it
    // has no stop state.
    std::stop_source fileJobStop{std::nostopstate};
    // What a job that Esc stopped got done, for the STOPPED dialog.
    std::optional<QString> fileJobStopReport;

    // --- Dialogs
    bool pendingQuit = false;
    bool pendingFullDiskAccessTip = false;
    std::optional<QString> errorMessage;
    int dosDialogActionIndex = 0;

    // --- Tree mode (the sessions live in each pane)
    int64_t treeRevision = 0;

    // --- Filter: the incremental filter of the active pane (not file search)
    bool isFilterOpen = false;
    QString filterQuery;

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
    std::shared_ptr<FolderSearchService> folderSearch;
    // The wait between the last change of the form and its scan; the scan
    // runs only if no change came and the form was not left meanwhile.
    int fileSearchDebounceMilliseconds = 280;
    Background::TicketCounter fileSearchDebounceTask;

signals:
    void changed();

private:
    void readSettings();
    void readJumpBookmarks();
    void resolveStartupDirectory();
    // The check of the start folders that startUp runs before the first
    // listing; until then the panes stand on the folder they are to start in.
    enum class StartCheck { none, waiting, running, done };
    StartCheck m_startCheck = StartCheck::none;
    QString m_storedStartFolder;
    std::optional<QString> m_namedStartFolder;
    std::function<void(const QString&)> m_namedFolderRefused;
    void checkStartFolders();
    void settleStartFolders(const QString& stored, const std::optional<QString>& named,
                            const std::optional<QString>& refusal);
    void showListing(PaneSide side, Result<QList<FileEntry>, QString> rows,
                     const std::shared_ptr<ArmedWatch>& armed = nullptr);
    void startListing(PaneSide side, PaneListing request);
    void noteLoadSlow(PaneSide side, const Background::Ticket& ticket,
                      PaneLoad* (*load)(PaneState&));
    void finishListing(PaneSide side, Result<QList<FileEntry>, QString> rows,
                       const std::shared_ptr<ArmedWatch>& armed);
    // After a listing or a tree load: once neither runs on the side, the steps
    // that waited for them run, then the keys held for the pane.
    void finishLoading(PaneSide side);
    void completeOpenLocation(PaneSide side, const PaneListing& request,
                              Result<QList<FileEntry>, QString> rows,
                              const std::shared_ptr<ArmedWatch>& armed = nullptr);
    void replayHeldKeys(PaneSide side);

    // Before a picker or the gallery opens: none opens without an active pane
    // or over another prompt or picker; file search and the filter are left,
    // the filter keeping the cursor's row or its index.
    enum class FilterRow { keep, leave };
    bool makeWayForPicker(FilterRow filterRow);

    // Navigation and layout helpers.
    void goUp(PaneSide side);
    void showEntryInViewer(const FileEntry& entry);
    void noteLayoutSettled();
    static double systemWallClock();
    bool isFilterNarrowing() const;
    bool nameMatchesFilter(const QString& name) const;

    // Tree mode and bookmarks (search/TreeCommands.cpp, pickers/JumpDialogCommands.cpp).
    void noteTreeChanged();
    // A change of a pane's tree that reads the disk (search/TreeLoadingCommands.cpp):
    // step runs on a worker thread over a copy of base, and says whether it
    // changed anything; apply takes the changed copy on the main thread,
    // unless a newer load of the side or Esc came first.
    using TreeStep = std::function<bool(TreeSession&, bool showHidden)>;
    void loadTree(PaneSide side, const TreeSession& base, TreeStep step,
                  std::function<void(TreeSession)> apply);
    // The same over the side's own session, which then takes the copy's rows,
    // files and cursors and tells the screen.
    void loadPaneTree(PaneSide side, TreeStep step);
    // The side's tree read anew from the disk, keeping its cursor and open folders.
    void refreshPaneTree(PaneSide side);
    void cancelTreeLoad(PaneSide side);
    void openTreeFolder(PaneSide side, const std::shared_ptr<TreeSession>& session);
    // A step of the search folder box that reads the disk, over a copy of its
    // tree on a worker (search/SearchTreeBoxCommands.cpp).
    void changeSearchTreeBox(TreeStep step);
    void takeSearchTreeBoxFolder(const QString& path, bool readable);
    void moveTreeCursorTo(PaneSide side, int index);
    int treeCursorIndex(PaneSide side) const;
    bool refuseInsideArchive(PaneSide side, ArchiveLocation::ReadOnlyCommand command);
    std::optional<QString> bookmarkTarget(PaneSide side) const;
    void storeStartupDirectory(const QString& path);
    void addBookmark(const QString& folder);

    // The pane's filter memo, made afresh when its rows are others than the
    // ones it was made for.
    PaneState::FilterMemo& filterMemo(PaneSide side) const;
    // The tagged size the status line asks for at every redraw, kept until
    // the tags or either pane's list change.
    // The tags it was made for, and those whose size is still to be read
    // from the disk (asked of a worker once).
    struct TaggedSizeMemo {
        std::array<int64_t, 2> listEpochs{-1, -1};
        QSet<QString> keys;
        QString label;
        QStringList unread;
        bool unreadAsked = false;
    };
    // The sizes of tagged files that neither list shows, read beside these lists.
    struct TaggedDiskSizes {
        std::array<int64_t, 2> listEpochs{-1, -1};
        QHash<QString, std::optional<int64_t>> sizes;
    };
    void readUnlistedTagSizes();

    static constexpr size_t paneIndex(PaneSide side) { return static_cast<size_t>(side); }

    Preferences& m_preferences;
    std::array<PaneState, 2> m_panes;
    Overlay m_overlay = Overlay::none;
    Background::Executor& m_executor;
    // Live resizes so far; the quiet timer of the last one alone ends the resize.
    uint64_t m_liveResizeCount = 0;
    TextInputHost* m_textInputHost = nullptr;
    mutable TaggedSizeMemo m_taggedSizeMemo;
    mutable TaggedDiskSizes m_taggedDiskSizes;
    Background::TicketCounter m_taggedSizeReads;
    // The running preview load, if any; its type lives with the loading code.
    std::shared_ptr<struct PreviewLoadTask> m_previewLoadTask;
    // The copy of an archive member VIEWER shows, removed once it shows
    // something else.
    QString m_previewCopy;
    void releasePreviewCopy(const QString& keep = {});
    bool m_changeScheduled = false;
    // The file whose status was last asked for, and the line of those reads.
    QString m_shownFileAsked;
    Background::TicketCounter m_shownFileReads;
    void noteShownFile();
    // The commands reading the disk, oldest first, each with its steps once
    // its read is back, and the keys typed since the first began.
    enum class DiskAccess { read, write };
    struct PendingDiskLook {
        uint64_t id = 0;
        DiskAccess access = DiskAccess::read;
        std::function<void()> then;
    };
    std::deque<PendingDiskLook> m_diskLooks;
    uint64_t m_lastDiskLook = 0;
    QList<KeyEvent> m_keysHeldForLook;
    std::vector<std::function<void()>> m_afterWrites;
    void startDiskLook(DiskAccess access, DiskLook look);
    void finishDiskLook(uint64_t id, std::function<void()> then);
    void replayHeldKeys();
    // What waits for the answer to the save question, if anything.
    std::function<void()> m_afterEditorSaveQuestion;
};
