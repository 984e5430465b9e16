// Tagging by Space and by wildcard pattern, and what the tags resolve to.
#include "core/KeyTestSupport.h"

#include "core/AppState.h"
#include "core/Background.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/PaneRows.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <QCoreApplication>
#include <QTest>

#include <gtest/gtest.h>

using namespace KeyTest;

namespace {

class TagsTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        for (const char* name : {"a.txt", "axb", "a.b", "a+b(1)", "B.TXT", ".hidden.txt"}) {
            dir.makeFile(QString::fromUtf8(name), "12345");
        }
        dir.makeFolder(QStringLiteral("folder.txt"));
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences);
        state->refreshAll();
        waitForListings(*state);
    }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    QStringList taggedNames() const {
        QStringList names;
        for (const QString& key : state->taggedKeys) {
            names << key.section(QLatin1Char('/'), -1);
        }
        names.sort();
        return names;
    }
    void applyPattern(const QString& pattern) {
        state->taggedKeys.clear();
        state->errorMessage.reset();
        state->openWildcardPrompt();
        state->wildcardPrompt.pattern = pattern;
        state->applyWildcardTag();
    }
    int rowOf(const QString& name) const { return PaneRows::rowOf(*state, name); }

    MemoryPreferences preferences;
    TestDir dir;
    std::unique_ptr<AppState> state;
};

TEST_F(TagsTest, WildcardPatternsMatchWholeNamesIgnoringCase) {
    struct Case {
        QString pattern;
        QStringList expected;
    };
    const Case cases[] = {
        {"*.TXT", {"B.TXT", "a.txt"}},
        {"a.b", {"a.b"}},
        {"a+b(1)", {"a+b(1)"}},
        {"a?b", {"a.b", "axb"}},
        {"*", {"B.TXT", "a+b(1)", "a.b", "a.txt", "axb"}},
        {"  a.txt\n", {"a.txt"}},
    };
    for (const Case& c : cases) {
        applyPattern(c.pattern);
        EXPECT_EQ(taggedNames(), c.expected) << qPrintable(c.pattern);
        EXPECT_FALSE(state->isOpen(Overlay::wildcardPrompt));
    }
    // Hidden files are tagged only when listed.
    state->toggleHiddenFiles();
    waitForListings(*state);
    applyPattern(QStringLiteral("*.txt"));
    EXPECT_EQ(taggedNames(), QStringList({".hidden.txt", "B.TXT", "a.txt"}));
}

TEST_F(TagsTest, WildcardFailuresSayWhyAndKeepTheLastPattern) {
    applyPattern(QStringLiteral("a.*"));
    EXPECT_EQ(state->lastWildcardPattern, QStringLiteral("a.*"));
    applyPattern(QStringLiteral("   "));
    EXPECT_EQ(state->errorMessage, QStringLiteral("パターンを入力してください"));
    applyPattern(QStringLiteral("*.a *.b"));
    EXPECT_EQ(state->errorMessage, QStringLiteral("一致なし: *.a *.b"));
    EXPECT_EQ(state->lastWildcardPattern, QStringLiteral("a.*"));
    state->openWildcardPrompt();
    EXPECT_EQ(state->wildcardPrompt.pattern, QStringLiteral("a.*"));
}

TEST_F(TagsTest, SpaceTagsFilesAndMovesOn) {
    EXPECT_TRUE(state->handleKeyDown(coded(KeyCode::space, " ")));
    waitForListings(*state);
    EXPECT_TRUE(state->taggedKeys.isEmpty());
    EXPECT_EQ(state->pane(PaneSide::left).selection, 1);
    state->setSelection(rowOf(QStringLiteral("folder.txt")), PaneSide::left);
    state->toggleTagAtCursor();
    EXPECT_TRUE(state->taggedKeys.isEmpty());
    const int last = int(state->visibleEntries(PaneSide::left).size()) - 1;
    state->setSelection(last, PaneSide::left);
    state->toggleTagAtCursor();
    EXPECT_EQ(state->taggedKeys.size(), 1);
    EXPECT_EQ(state->pane(PaneSide::left).selection, last);
    state->toggleTagAtCursor();
    EXPECT_TRUE(state->taggedKeys.isEmpty());
}

TEST_F(TagsTest, ArchiveMembersAreKeyedByArchiveAndOnlyPatternsTagThem) {
    FileEntry member;
    member.name = QStringLiteral("inside.txt");
    member.setUrl(QStringLiteral("/pack.zip/inside.txt"));
    member.setZipArchiveURL(QStringLiteral("/pack.zip"));
    member.setZipEntryPath(QStringLiteral("dir/inside.txt"));
    EXPECT_EQ(AppState::tagKey(member), QStringLiteral("zip:/pack.zip!dir/inside.txt"));
    state->pane(PaneSide::left).entries = {member};
    state->setSelection(0, PaneSide::left);
    state->toggleTagAtCursor();
    EXPECT_TRUE(state->taggedKeys.isEmpty());
    applyPattern(QStringLiteral("*"));
    EXPECT_TRUE(state->taggedKeys.contains(AppState::tagKey(member)));
    EXPECT_TRUE(state->taggedFileURLs().isEmpty());
}

TEST_F(TagsTest, TaggedFilesAreExistingPlainFilesSortedElseTheCursorFile) {
    state->taggedKeys = {dir.filePath("axb"), dir.filePath("a.txt"), dir.filePath("folder.txt"),
                         dir.filePath("gone.txt")};
    EXPECT_EQ(state->taggedFileURLs(), QStringList({dir.filePath("a.txt"), dir.filePath("axb")}));
    // The file that has gone is not listed: its size is asked of the disk.
    state->notifyChanged();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return state->taggedSizeLabel() == QStringLiteral("タグ:10"); }, 10000));
    state->taggedKeys = {dir.filePath("folder.txt")};
    state->setSelection(rowOf(QStringLiteral("a.b")), PaneSide::left);
    EXPECT_EQ(state->taggedFileURLs(), QStringList({dir.filePath("a.b")}));
    state->taggedKeys.clear();
    EXPECT_EQ(state->taggedSizeLabel(), QString());
}

// The status line asks at every redraw: the label is kept, and worked out
// anew when the tags or a pane's list change.
TEST_F(TagsTest, TheTaggedSizeIsKeptUntilTheTagsOrTheListsChange) {
    state->taggedKeys = {dir.filePath("a.txt")};
    const QString first = state->taggedSizeLabel();
    EXPECT_EQ(first, QStringLiteral("タグ:5"));
    EXPECT_EQ(state->taggedSizeLabel().constData(), first.constData());

    dir.makeFile(QStringLiteral("a.txt"), "1234567");
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    EXPECT_EQ(state->taggedSizeLabel(), QStringLiteral("タグ:7"));
    state->taggedKeys.insert(dir.filePath("axb"));
    EXPECT_EQ(state->taggedSizeLabel(), QStringLiteral("タグ:12"));
}

// A tagged file that no pane lists has its size read on a worker: the line
// keeps what it showed until the answer comes.
TEST(TaggedSizeTest, SizesNoListShowsAreReadOnAWorker) {
    TestDir dir;
    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    dir.makeFile(QStringLiteral("shown.txt"), "12");
    dir.makeFile(QStringLiteral("sub/unlisted.txt"), "1234567");
    preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
    Background::ManualExecutor executor;
    AppState state(preferences, executor);
    state.refreshAll();
    executor.runAll();
    state.taggedKeys = {dir.filePath("shown.txt")};
    EXPECT_EQ(state.taggedSizeLabel(), QStringLiteral("タグ:2"));

    state.taggedKeys.insert(dir.filePath("sub/unlisted.txt"));
    state.notifyChanged();
    QCoreApplication::processEvents();
    EXPECT_EQ(state.taggedSizeLabel(), QStringLiteral("タグ:2"));
    EXPECT_EQ(executor.nextPool(), Background::Pool::listing);
    executor.runAll();
    EXPECT_EQ(state.taggedSizeLabel(), QStringLiteral("タグ:9"));

    // A size read beside older lists is read again once the pane is listed anew.
    dir.makeFile(QStringLiteral("sub/unlisted.txt"), "123");
    state.reloadPane(PaneSide::left, false);
    ASSERT_TRUE(waitForListings(state, executor));
    state.notifyChanged();
    QCoreApplication::processEvents();
    executor.runAll();
    EXPECT_EQ(state.taggedSizeLabel(), QStringLiteral("タグ:5"));
    FileAccessMemory::attach(nullptr);
}

TEST_F(TagsTest, TagsSurviveReloadSortAndLayoutButNotAChangeOfFolder) {
    applyPattern(QStringLiteral("a*"));
    state->taggedKeys.insert(QStringLiteral("/elsewhere/of/the/other/pane"));
    const auto tags = state->taggedKeys;
    state->refreshAll();
    waitForListings(*state);
    state->applySortMode(FilerSortMode::size);
    waitForListings(*state);
    state->applyLayoutMode(LayoutMode::dualFiler);
    waitForListings(*state);
    EXPECT_EQ(state->taggedKeys, tags);
    state->setSelection(rowOf(QStringLiteral("folder.txt")), PaneSide::left);
    EXPECT_TRUE(state->handleKeyDown(named(KeyCode::returnKey)));
    waitForListings(*state);
    EXPECT_EQ(state->pane(PaneSide::left).location,
              FilerLocation::directory(dir.filePath("folder.txt")));
    EXPECT_TRUE(state->taggedKeys.isEmpty());
}

} // namespace
