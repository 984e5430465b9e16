// An archive entered as a folder lists its rows under its standardised path,
// and every command that would change a file is refused there with its own
// message, reached through the keys a person presses.
#include "../core/KeyTestSupport.h"
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"

#include "ZipFixtures.h"
#include "support/ListingWait.h"

#include <QScopeGuard>

#include <gtest/gtest.h>

namespace {

TEST(ArchiveRefusalTest, EachChangingKeyNamesWhatCannotBeDone) {
    TestDir dir;
    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    const auto detach = qScopeGuard([] { FileAccessMemory::attach(nullptr); });
    dir.makeFile(QStringLiteral("src/inner/a.txt"), "alpha");
    ZipFixtures::run(dir.filePath("src"), "zip", {"-qr", dir.filePath("box.zip"), "inner"});
    preferences.setValue("startupDirectory", dir.path());
    AppState state(preferences);
    // The archive's path is standardised before it names the rows.
    state.pane(PaneSide::left).location =
        FilerLocation::zip(dir.path() + "/./box.zip", QStringLiteral("inner/"));
    state.reloadPane(PaneSide::left, false);
    waitForListings(state);
    ASSERT_FALSE(state.errorMessage) << state.errorMessage->toStdString();
    ASSERT_EQ(state.visibleEntries(PaneSide::left).size(), 2);
    EXPECT_EQ(state.visibleEntries(PaneSide::left).at(1).id(),
              "arch:" + dir.filePath("box.zip") + "!inner/a.txt");
    state.setSelection(1, PaneSide::left);

    const std::pair<const char*, const char*> cases[] = {
        {"c", "Cannot copy inside an archive"},
        {"m", "Cannot move inside an archive"},
        {"d", "Cannot delete inside an archive"},
        {"k", "Cannot create folder inside an archive"},
        {"i", "Cannot create file inside an archive"},
        {"n", "Cannot rename inside an archive"},
        {"a", "Cannot change attributes inside an archive"},
        {"t", "Tree mode is not available inside an archive"},
        {"h", "Cannot set startup inside an archive"},
        {"+", "Cannot bookmark inside an archive"},
    };
    for (const auto& [key, message] : cases) {
        SCOPED_TRACE(key);
        state.errorMessage.reset();
        state.dosDialogActionIndex = 2;
        EXPECT_TRUE(state.handleKeyDown(KeyTest::typed(QString::fromLatin1(key))));
        waitForListings(state);
        EXPECT_EQ(state.errorMessage.value_or(QString()), QString::fromUtf8(message));
        EXPECT_EQ(state.dosDialogActionIndex, 0);
    }
    EXPECT_TRUE(QFile::exists(dir.filePath("box.zip")));
    EXPECT_FALSE(state.isOpen(Overlay::createItemPrompt) || state.isOpen(Overlay::renamePrompt) ||
                 state.isOpen(Overlay::attributePrompt) ||
                 state.isOpen(Overlay::copyMovePathPrompt) || state.pendingDelete);
    EXPECT_TRUE(state.jumpBookmarks.isEmpty());
}

TEST(ArchiveRefusalTest, AnArchiveThatCannotBeListedLeavesThePaneWhereItWas) {
    TestDir dir;
    MemoryPreferences preferences;
    dir.makeFile(QStringLiteral("cut.zip"), "PK\x03\x04 cut short");
    dir.makeFile(QStringLiteral("notes.txt"), "notes");
    preferences.setValue("startupDirectory", dir.path());
    AppState state(preferences);
    state.refreshAll();
    waitForListings(state);
    const FilerLocation before = state.pane(PaneSide::left).location;
    const QList<FileEntry> rowsBefore = state.visibleEntries(PaneSide::left);
    ASSERT_EQ(rowsBefore.at(1).name, QStringLiteral("cut.zip"));
    state.setSelection(1, PaneSide::left);

    EXPECT_TRUE(state.handleKeyDown(KeyTest::named(KeyCode::returnKey)));
    waitForListings(state);
    EXPECT_EQ(state.errorMessage.value_or(QString()),
              QStringLiteral("Cannot list ZIP: EOCD not found"));
    EXPECT_EQ(state.pane(PaneSide::left).location, before);
    EXPECT_EQ(state.visibleEntries(PaneSide::left), rowsBefore);
    EXPECT_EQ(state.pane(PaneSide::left).selection, 1);
}

} // namespace
