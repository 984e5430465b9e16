// File search mode driven through the state: entering and leaving, the wait
// before a scan, the form's choices, the moves over the hits and the folder box.
#include "../core/KeyTestSupport.h"
#include "core/AppState.h"
#include "core/Background.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "search/FolderSearchService.h"
#include "search/TreeSession.h"
#include "support/ChildProcess.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

using KeyTest::named;
using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kShortWait = 40ms;

class FileSearchModeTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        dir.makeFile(QStringLiteral("alpha.txt"), "a");
        dir.makeFile(QStringLiteral("alps.txt"), "b");
        dir.makeFile(QStringLiteral("beta.txt"), "c");
        dir.makeFile(QStringLiteral("music/alpine.mp3"), "d");
        dir.makeFolder(QStringLiteral("music/alpha-live"));
        dir.makeFolder(QStringLiteral("docs/old"));
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences, executor);
        state->fileSearchDebounceMilliseconds = int(kShortWait.count());
        state->refreshAll();
        waitForListings(*state, executor);
    }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    void typeQuery(const QString& text) {
        state->fileSearchQuery = text;
        state->scheduleFileSearch();
    }
    // Lets the wait after the last change end and the scan it starts run.
    bool endTheWaitAndScan() {
        QSignalSpy finished(state->folderSearch.get(), &FolderSearchService::finished);
        executor.advance(kShortWait);
        executor.runAll();
        return finished.count() == 1;
    }
    // The scans the wait let through: each starts its walk on the shared pool.
    qsizetype scans() const { return executor.startedCount(Background::Pool::shared); }
    QStringList hitPaths() const {
        QStringList paths;
        for (const FolderSearchHit& hit : state->folderSearch->results()) {
            paths.append(hit.relativePath);
        }
        return paths;
    }

    MemoryPreferences preferences;
    TestDir dir;
    // The scans and the wait before them run when the test steps them.
    Background::ManualExecutor executor;
    std::unique_ptr<AppState> state;
};

TEST_F(FileSearchModeTest, ThreeQuickKeystrokesStartOneScan) {
    state->enterFileSearchMode();
    typeQuery(QStringLiteral("a"));
    executor.advance(kShortWait - 1ms);
    typeQuery(QStringLiteral("al"));
    executor.advance(kShortWait - 1ms);
    typeQuery(QStringLiteral("alp"));
    EXPECT_EQ(scans(), 0);
    EXPECT_FALSE(state->folderSearch->isSearching());
    ASSERT_TRUE(endTheWaitAndScan());
    executor.advance(3 * kShortWait);
    executor.runAll();
    EXPECT_EQ(scans(), 1);
    EXPECT_EQ(hitPaths(),
              QStringList({"music/alpha-live", "alpha.txt", "alps.txt", "music/alpine.mp3"}));
}

TEST_F(FileSearchModeTest, EscLeavesAndNothingArrivesLater) {
    ASSERT_TRUE(state->handleKeyDown(KeyTest::coded(KeyCode::mainRow4, "$", KeyTest::shift)));
    waitForListings(*state, executor);
    ASSERT_TRUE(state->isFileSearchMode);
    // Esc while the wait runs: no scan starts.
    typeQuery(QStringLiteral("alp"));
    EXPECT_TRUE(state->handleKeyDown(named(KeyCode::escape)));
    waitForListings(*state, executor);
    EXPECT_FALSE(state->isFileSearchMode);
    executor.advance(4 * kShortWait);
    EXPECT_EQ(scans(), 0);

    // Esc while the scan runs: its hits never arrive.
    state->enterFileSearchMode();
    state->fileSearchQuery = QStringLiteral("alp");
    QSignalSpy finished(state->folderSearch.get(), &FolderSearchService::finished);
    state->runScheduledFileSearch();
    ASSERT_TRUE(state->folderSearch->isSearching());
    state->handleKeyDown(named(KeyCode::escape));
    waitForListings(*state, executor);
    executor.runAll();
    EXPECT_EQ(finished.count(), 0);
    EXPECT_TRUE(state->folderSearch->results().isEmpty());
}

TEST_F(FileSearchModeTest, EnteringStartsAFreshFormAndTheMenuKeyLeaves) {
    state->fileSearchQuery = QStringLiteral("old");
    state->fileSearchFromYM = QStringLiteral("2020-01");
    state->fileSearchSort = FolderSearchSort::size;
    state->fileSearchFocusField = FileSearchFocusField::results;
    state->toggleTreeMode();
    waitForListings(*state, executor);
    ASSERT_TRUE(state->pane(PaneSide::left).treeMode);
    state->focusedSide = PaneSide::right;

    state->enterFileSearchMode();
    EXPECT_TRUE(state->isFileSearchMode);
    EXPECT_FALSE(state->pane(PaneSide::left).treeMode);
    EXPECT_FALSE(state->pane(PaneSide::left).treeSession);
    EXPECT_EQ(state->fileSearchScopePath, dir.path());
    EXPECT_EQ(state->fileSearchQuery, QString());
    EXPECT_EQ(state->fileSearchFromYM, QString());
    EXPECT_EQ(state->fileSearchSort, FolderSearchSort::name);
    EXPECT_EQ(state->fileSearchFocusField, FileSearchFocusField::query);
    EXPECT_EQ(state->focusedSide, PaneSide::left);

    state->enterFileSearchMode();
    EXPECT_FALSE(state->isFileSearchMode);
}

TEST_F(FileSearchModeTest, ChoicesAndFocusWrapAndChoicesSearchAgain) {
    using F = FileSearchFocusField;
    state->enterFileSearchMode();
    state->fileSearchQuery = QStringLiteral("al"); // so that a scan has something to look for
    state->cycleFileSearchFocus(-1);
    EXPECT_EQ(state->fileSearchFocusField, F::results);
    state->cycleFileSearchFocus(1);
    EXPECT_EQ(state->fileSearchFocusField, F::query);
    state->cycleFileSearchFocus(5);
    EXPECT_EQ(state->fileSearchFocusField, F::sort);

    state->cycleFileSearchSort(-1);
    EXPECT_EQ(state->fileSearchSort, FolderSearchSort::date);
    executor.advance(kShortWait);
    EXPECT_EQ(scans(), 1);
    state->toggleFileSearchChoice();
    EXPECT_EQ(state->fileSearchSort, FolderSearchSort::name);

    state->fileSearchFocusField = F::matchMode;
    state->toggleFileSearchChoice();
    EXPECT_EQ(state->fileSearchMatchMode, FolderSearchMatchMode::includeContent);
    state->cycleFileSearchMatchMode(1);
    EXPECT_EQ(state->fileSearchMatchMode, FolderSearchMatchMode::nameOnly);
}

TEST_F(FileSearchModeTest, MovesClampAndAFolderHitOpensInTheLeftPane) {
    state->enterFileSearchMode();
    state->editFileSearchResult();
    EXPECT_EQ(state->errorMessage, QStringLiteral("No file to edit"));
    state->errorMessage.reset();
    typeQuery(QStringLiteral("alp"));
    ASSERT_TRUE(endTheWaitAndScan());

    state->moveFileSearchSelection(-3);
    EXPECT_EQ(state->fileSearchSelection, 0);
    EXPECT_EQ(state->fileSearchFocusField, FileSearchFocusField::results);
    EXPECT_EQ(state->editorText, QStringLiteral("(folder) ") + dir.filePath("music/alpha-live"));
    state->openFileSearchResultExternally();
    EXPECT_EQ(state->errorMessage, QStringLiteral("No file to open"));
    state->errorMessage.reset();
    state->fileSearchPage(1);
    EXPECT_EQ(state->fileSearchSelection, 3);
    state->fileSearchSelectFirst();

    state->openFileSearchResult();
    waitForListings(*state, executor);
    EXPECT_FALSE(state->isFileSearchMode);
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath("music/alpha-live")));
}

// E on a hit opens EDITOR beside the form: its keys, letters and arrows
// included, edit the text, and nothing of the form may throw the changes away.
TEST_F(FileSearchModeTest, AnEditorOpenedFromAHitKeepsItsKeysAndItsChanges) {
    state->enterFileSearchMode();
    typeQuery(QStringLiteral("alpha.txt"));
    ASSERT_TRUE(endTheWaitAndScan());
    state->focusFileSearchResults();
    state->handleKeyDown(KeyTest::typed(QStringLiteral("e")));
    waitForListings(*state, executor);
    ASSERT_EQ(state->rightMode, RightPaneMode::editor);
    state->updateEditorText(QStringLiteral("changed"));
    ASSERT_TRUE(state->isDirty);

    EXPECT_FALSE(state->handleKeyDown(KeyTest::typed(QStringLiteral("e"))));
    waitForListings(*state, executor);
    EXPECT_FALSE(state->handleKeyDown(named(KeyCode::down)));
    waitForListings(*state, executor);
    state->moveFileSearchSelection(0); // a click on the hit
    EXPECT_EQ(state->editorText, QStringLiteral("changed"));
    state->exitFileSearchMode();
    EXPECT_EQ(state->editorText, QStringLiteral("changed"));
    EXPECT_TRUE(state->isDirty);
}

TEST_F(FileSearchModeTest, TheFolderBoxSetsTheSearchFolder) {
    state->enterFileSearchMode();
    state->fileSearchQuery = QStringLiteral("al"); // so that a scan has something to look for
    state->fileSearchFocusField = FileSearchFocusField::folder;
    state->handleKeyDown(named(KeyCode::returnKey));
    waitForListings(*state, executor);
    ASSERT_TRUE(state->isOpen(Overlay::searchTreeBox));
    ASSERT_EQ(state->searchTreeBoxRowCount(), 3); // the root, docs, music
    executor.runAll();                            // the rows learn which folders have subfolders
    state->handleKeyDown(named(KeyCode::down));
    waitForListings(*state, executor);
    state->handleKeyDown(named(KeyCode::down));
    waitForListings(*state, executor);
    state->handleKeyDown(named(KeyCode::down));
    waitForListings(*state, executor);
    EXPECT_EQ(state->searchTreeBox.session->selectedPath(), dir.filePath("music"));
    state->handleKeyDown(named(KeyCode::right));
    waitForListings(*state, executor);
    EXPECT_EQ(state->searchTreeBoxRowCount(), 4);
    // The box has no file list: Right on a leaf leaves nothing behind that
    // would swallow the next Left.
    state->handleKeyDown(named(KeyCode::down));
    waitForListings(*state, executor);
    state->handleKeyDown(named(KeyCode::right));
    waitForListings(*state, executor);
    state->handleKeyDown(named(KeyCode::up));
    waitForListings(*state, executor);
    state->handleKeyDown(named(KeyCode::left));
    waitForListings(*state, executor);
    EXPECT_EQ(state->searchTreeBoxRowCount(), 3);

    // Esc keeps the folder; Enter takes the row under the cursor.
    state->handleKeyDown(named(KeyCode::escape));
    waitForListings(*state, executor);
    EXPECT_FALSE(state->isOpen(Overlay::searchTreeBox));
    EXPECT_TRUE(state->isFileSearchMode);
    EXPECT_EQ(state->fileSearchScopePath, dir.path());
    state->openSearchTreeBox();
    state->handleKeyDown(named(KeyCode::end));
    waitForListings(*state, executor);
    state->handleKeyDown(named(KeyCode::returnKey));
    waitForListings(*state, executor);
    EXPECT_FALSE(state->isOpen(Overlay::searchTreeBox));
    EXPECT_EQ(state->fileSearchScopePath, dir.filePath("music"));
    EXPECT_EQ(state->fileSearchFocusField, FileSearchFocusField::folder);
    executor.advance(kShortWait);
    EXPECT_EQ(scans(), 1);
}

TEST_F(FileSearchModeTest, AnUnreadableFolderIsRefusedWithTheBoxOpen) {
    dir.setMode(QString(), 0755);
    dir.setMode(QStringLiteral("docs"), 0);
    state->enterFileSearchMode();
    state->openSearchTreeBox();
    waitForListings(*state, executor);
    const int status = runAsUnprivilegedUser([&] {
        // The listing above ran as root and remembered the folder as readable.
        FileAccessMemory::forget(dir.filePath(QStringLiteral("docs")));
        state->selectSearchTreeBoxRow(1);
        waitForListings(*state, executor);
        state->confirmSearchTreeBox();
        waitForListings(*state, executor);
        return state->errorMessage == QStringLiteral("Cannot open folder") &&
               state->isOpen(Overlay::searchTreeBox) && state->fileSearchScopePath == dir.path();
    });
    EXPECT_EQ(status, 0);
}

// The box's folders are read on a worker: until they come the box does not
// stand, the keys typed meanwhile wait for it, and Esc drops a step.
TEST_F(FileSearchModeTest, TheFolderBoxReadsOnAWorkerAndHoldsTheKeys) {
    state->enterFileSearchMode();
    executor.runAll();
    state->openSearchTreeBox();
    state->handleKeyDown(named(KeyCode::down));
    state->handleKeyDown(named(KeyCode::down));
    EXPECT_FALSE(state->isOpen(Overlay::searchTreeBox));
    EXPECT_EQ(executor.nextPool(), Background::Pool::listing);
    ASSERT_TRUE(waitForListings(*state, executor));
    ASSERT_TRUE(state->isOpen(Overlay::searchTreeBox));
    EXPECT_EQ(state->searchTreeBox.session->selectedPath(), dir.filePath("music"));

    // Right would open music; Esc drops it before its folders come.
    state->handleKeyDown(named(KeyCode::right));
    EXPECT_EQ(state->searchTreeBoxRowCount(), 3);
    state->handleKeyDown(named(KeyCode::escape));
    executor.runAll();
    EXPECT_EQ(state->searchTreeBoxRowCount(), 3);
    ASSERT_TRUE(state->isOpen(Overlay::searchTreeBox));

    // The folder taken waits for its rights to be read.
    const QString scope = state->fileSearchScopePath;
    state->confirmSearchTreeBox();
    EXPECT_TRUE(state->isOpen(Overlay::searchTreeBox));
    EXPECT_EQ(state->fileSearchScopePath, scope);
    ASSERT_TRUE(waitForListings(*state, executor));
    EXPECT_FALSE(state->isOpen(Overlay::searchTreeBox));
    EXPECT_EQ(state->fileSearchScopePath, dir.filePath("music"));

    // The form left while the box's folders are read: the box never stands.
    state->openSearchTreeBox();
    state->exitFileSearchMode();
    executor.runAll();
    EXPECT_FALSE(state->isOpen(Overlay::searchTreeBox));
    EXPECT_FALSE(state->searchTreeBox.session);
}

} // namespace
