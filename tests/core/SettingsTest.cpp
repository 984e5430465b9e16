// Reading the user's settings at start-up: defaults, clamps, normalising and
// the writes that start-up makes (and must not make).
#include "core/KeyTestSupport.h"
#include "core/AppState.h"
#include "core/Background.h"
#include "core/PathUtils.h"
#include "core/Preferences.h"
#include "core/StartFolder.h"
#include "core/SystemPath.h"
#include "core/UiFontSize.h"
#include "support/ListingWait.h"
#include "support/TestDir.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// A missing key reads as its default; only the language is written back.
TEST(SettingsTest, EmptyStoreGivesTheDefaultsAndNormalisesTheLanguage) {
    MemoryPreferences preferences;
    AppState state(preferences);
    EXPECT_TRUE(state.showLocalizedNames);
    EXPECT_EQ(state.uiFontSize, 13);
    EXPECT_EQ(state.startupDirectory, PathUtils::homeDirectory());
    EXPECT_EQ(state.pane(PaneSide::left).location,
              FilerLocation::directory(PathUtils::homeDirectory()));
    EXPECT_EQ(state.pane(PaneSide::right).location, state.pane(PaneSide::left).location);
    EXPECT_TRUE(
        state.pane(PaneSide::left).entries.isEmpty()); // nothing is listed before the window shows
    EXPECT_EQ(preferences.stringValue("appLanguage"), QStringLiteral("system"));
    EXPECT_FALSE(preferences.contains("jumpBookmarks"));
    EXPECT_FALSE(preferences.contains("uiFontSize"));
}

TEST(SettingsTest, FontSizeOutsideTheChoicesReadsAsThirteenAndTheStoredValueStays) {
    for (const double stored : {15.0, -3.0, 100.0}) {
        MemoryPreferences preferences;
        preferences.setValue("uiFontSize", stored);
        AppState state(preferences);
        EXPECT_EQ(state.uiFontSize, 13) << stored;
        EXPECT_EQ(UiFontSize::current(), 13);
        EXPECT_EQ(preferences.doubleValue("uiFontSize"), stored);
    }
    MemoryPreferences preferences;
    preferences.setValue("uiFontSize", 16.0);
    AppState state(preferences);
    EXPECT_EQ(state.uiFontSize, 16);
    EXPECT_EQ(UiFontSize::current(), 16);
    state.setUIFontSize(11);
    EXPECT_EQ(preferences.doubleValue("uiFontSize"), 11);
    EXPECT_EQ(UiFontSize::current(), 11);
}

TEST(SettingsTest, UnknownLanguageIsWrittenBackAsSystem) {
    MemoryPreferences preferences;
    preferences.setValue("appLanguage", QStringLiteral("klingon"));
    AppState state(preferences);
    EXPECT_EQ(state.appLanguage, AppLanguage::system);
    EXPECT_EQ(preferences.stringValue("appLanguage"), QStringLiteral("system"));

    preferences.setValue("appLanguage", QStringLiteral("japanese"));
    AppState japanese(preferences);
    EXPECT_EQ(japanese.appLanguage, AppLanguage::japanese);
    japanese.setAppLanguage(AppLanguage::english);
    EXPECT_EQ(preferences.stringValue("appLanguage"), QStringLiteral("english"));
}

TEST(SettingsTest, BookmarksAreNormalisedAndStoredOnlyWhenThatChangedThem) {
    MemoryPreferences preferences;
    preferences.setValue("jumpBookmarks",
                         QVariantList{QStringLiteral("/tmp/work/"), 42, QStringLiteral("/tmp/work"),
                                      QStringLiteral("/usr//share")});
    AppState state(preferences);
    const QStringList expected = {"/tmp/work", "/usr/share"};
    EXPECT_EQ(state.jumpBookmarks, expected);
    EXPECT_EQ(preferences.stringListElements("jumpBookmarks"), expected);

    MemoryPreferences clean;
    clean.setValue("jumpBookmarks", QStringList{"/tmp/work", "/usr/share"});
    const int writesBefore = clean.writeCount();
    AppState untouched(clean);
    EXPECT_EQ(untouched.jumpBookmarks, expected);
    // Only the language is written back at start-up.
    EXPECT_EQ(clean.writeCount(), writesBefore + 1);
}

TEST(SettingsTest, AStoredFalseIsToldApartFromAMissingKey) {
    MemoryPreferences preferences;
    preferences.setValue("showLocalizedNames", false);
    preferences.setValue("showHiddenFiles", true);
    preferences.setValue("alwaysPreviewMode", true);
    preferences.setValue("showAllFileExtensions", true);
    preferences.setValue("filerSortMode", QStringLiteral("timestamp"));
    AppState state(preferences);
    EXPECT_FALSE(state.showLocalizedNames);
    EXPECT_TRUE(state.showHiddenFiles);
    EXPECT_TRUE(state.alwaysPreviewMode);
    EXPECT_TRUE(state.showAllFileExtensions);
    EXPECT_EQ(state.sortMode, FilerSortMode::timestamp);

    preferences.setValue("filerSortMode", QStringLiteral("random"));
    EXPECT_EQ(AppState(preferences).sortMode, FilerSortMode::name);
}

// The start folder is checked on a worker when the window first shows.
TEST(SettingsTest, StartFolderIsTheStoredFolderOnlyWhenItStillExists) {
    TestDir dir;
    MemoryPreferences preferences;
    const auto checkedStartFolder = [&preferences] {
        Background::ManualExecutor executor;
        AppState state(preferences, executor);
        state.startUp();
        executor.runNext();
        return state.startupDirectory;
    };
    preferences.setValue("startupDirectory", dir.path() + QStringLiteral("//sub/.."));
    EXPECT_EQ(checkedStartFolder(), dir.path());

    const QString file = dir.makeFile(QStringLiteral("file"));
    for (const QString& stored : {dir.filePath("gone"), file, QString()}) {
        preferences.setValue("startupDirectory", stored);
        EXPECT_EQ(checkedStartFolder(), PathUtils::homeDirectory());
        EXPECT_EQ(preferences.stringValue("startupDirectory"), stored);
    }
}

// The window shows at once: the panes stand on the folders they are to start
// in, and are listed once a worker has found those folders; the keys typed
// meanwhile run on the rows. A named folder that can't be started in is told
// with its reason, and Esc gives up a check that does not answer.
TEST(SettingsTest, TheStartFoldersAreCheckedOnAWorkerBeforeTheFirstListing) {
    TestDir dir;
    const QString start = dir.makeFolder(QStringLiteral("start"));
    dir.makeFile(QStringLiteral("start/a.txt"));
    dir.makeFile(QStringLiteral("start/b.txt"));
    MemoryPreferences preferences;
    preferences.setValue("startupDirectory", start);
    Background::ManualExecutor executor;
    AppState state(preferences, executor);
    QStringList refusals;
    state.startInNamedFolder(dir.filePath("gone"),
                             [&refusals](const QString& reason) { refusals.append(reason); });
    state.startUp();
    EXPECT_TRUE(state.isCheckingStartFolder());
    EXPECT_EQ(state.pane(PaneSide::left).location, FilerLocation::directory(dir.filePath("gone")));
    state.handleKeyDown(KeyTest::named(KeyCode::down));
    state.handleKeyDown(KeyTest::named(KeyCode::down));
    EXPECT_TRUE(state.pane(PaneSide::left).entries.isEmpty());
    EXPECT_EQ(executor.nextPool(), Background::Pool::listing);
    ASSERT_TRUE(waitForListings(state, executor));
    EXPECT_EQ(
        refusals,
        QStringList{
            QStringLiteral("cannot open %1: No such file or directory").arg(dir.filePath("gone"))});
    EXPECT_EQ(state.pane(PaneSide::left).location, FilerLocation::directory(start));
    EXPECT_EQ(state.currentEntry()->name, QStringLiteral("b.txt"));

    AppState given(preferences, executor);
    given.startInNamedFolder(dir.path(), nullptr);
    given.startUp();
    given.handleKeyDown(KeyTest::named(KeyCode::escape));
    EXPECT_FALSE(given.isCheckingStartFolder());
    ASSERT_TRUE(waitForListings(given, executor));
    EXPECT_EQ(given.startupDirectory, PathUtils::homeDirectory());
    EXPECT_EQ(given.pane(PaneSide::left).location,
              FilerLocation::directory(PathUtils::homeDirectory()));
}

// A folder named on the command line holds for one run: both panes start in
// it, while the stored start folder stays what O goes to.
TEST(SettingsTest, AFolderFromTheCommandLineStartsBothPanesForThisRunOnly) {
    TestDir dir;
    const QString home = dir.makeFolder(QStringLiteral("home"));
    const QString given = dir.makeFolder(QStringLiteral("given"));
    MemoryPreferences preferences;
    preferences.setValue("startupDirectory", home);
    AppState state(preferences);
    const auto start = StartFolder::fromArgument(given + QStringLiteral("/./"));
    ASSERT_TRUE(start) << start.error().toStdString();
    state.startIn(*start);
    EXPECT_EQ(state.pane(PaneSide::left).location, FilerLocation::directory(given));
    EXPECT_EQ(state.pane(PaneSide::right).location, FilerLocation::directory(given));
    EXPECT_EQ(state.startupDirectory, home);
    EXPECT_EQ(preferences.stringValue("startupDirectory"), home);

    const QString before = QDir::currentPath();
    QDir::setCurrent(dir.path());
    const auto relative = StartFolder::fromArgument(QStringLiteral("given"));
    QDir::setCurrent(before);
    ASSERT_TRUE(relative);
    EXPECT_EQ(*relative, given);
}

TEST(SettingsTest, AFolderThatCannotBeStartedInIsRefusedWithItsReason) {
    TestDir dir;
    const QString file = dir.makeFile(QStringLiteral("file"));
    const QString closed = dir.makeFolder(QStringLiteral("closed"));
    dir.setMode(QStringLiteral("closed"), 0);
    struct Case {
        QString argument;
        QString reason;
    };
    std::vector<Case> cases = {{dir.filePath("gone"), QStringLiteral("No such file or directory")},
                               {file, QStringLiteral("Not a folder")}};
    // The superuser reads every folder.
    if (::geteuid() != 0) {
        cases.push_back({closed, QStringLiteral("Permission denied")});
    }
    for (const Case& c : cases) {
        const auto start = StartFolder::fromArgument(c.argument);
        ASSERT_FALSE(start) << c.argument.toStdString();
        EXPECT_EQ(start.error(), QStringLiteral("cannot open %1: %2").arg(c.argument, c.reason));
    }
}

TEST(SettingsTest, SettingsSurviveARealSettingsFile) {
    TestDir dir;
    const QString ini = dir.filePath("Dorvik.ini");
    {
        SettingsPreferences preferences(ini);
        preferences.setValue("jumpBookmarks", QStringList{"/only/one"});
        preferences.setValue("showLocalizedNames", false);
        preferences.setValue("uiFontSize", 18.0);
    }
    SettingsPreferences preferences(ini);
    AppState state(preferences);
    EXPECT_EQ(state.jumpBookmarks, QStringList{"/only/one"});
    EXPECT_FALSE(state.showLocalizedNames);
    EXPECT_EQ(state.uiFontSize, 18);
}

// Folders whose names are not UTF-8 ("bad\xff\xfe" and "ソフト" in Shift_JIS,
// made with their raw bytes) are remembered as bookmarks and as the start
// folder, and the settings file gives them back after a restart. The file
// is read under a new name: Qt keeps what this process wrote to a settings
// file in memory, and only a fresh read shows what the file really holds.
TEST(SettingsTest, FoldersWhoseNamesAreNotUtf8SurviveARestart) {
    TestDir dir;
    QStringList folders;
    for (const QByteArray& name :
         {QByteArray("bad\xff\xfe"), QByteArray("\x83\x5c\x83\x74\x83\x67"),
          QByteArray("100%25 done")}) {
        const QByteArray path = toSystemPath(dir.path()) + '/' + name;
        ASSERT_EQ(::mkdir(path.constData(), 0700), 0);
        folders.append(fromSystemPath(path));
    }
    const QString ini = dir.filePath("Dorvik.ini");
    {
        SettingsPreferences preferences(ini);
        AppState state(preferences);
        state.jumpBookmarks = folders;
        state.saveJumpBookmarks();
        state.openJumpDialog();
        state.moveJumpSelection(1);
        state.setStartupFromJumpSelection();
        waitForListings(state);
        ASSERT_EQ(state.startupDirectory, folders.first());
    }
    const QString restartedIni = dir.filePath("Restarted.ini");
    ASSERT_TRUE(QFile::copy(ini, restartedIni));
    SettingsPreferences preferences(restartedIni);
    AppState restarted(preferences);
    EXPECT_EQ(restarted.jumpBookmarks, folders);
    EXPECT_EQ(restarted.startupDirectory, folders.first());
    // Settings written before the lossless form are still read.
    MemoryPreferences older;
    older.setValue("jumpBookmarks", QStringList{dir.path()});
    older.setValue("startupDirectory", dir.path());
    AppState fromOlder(older);
    EXPECT_EQ(fromOlder.jumpBookmarks, QStringList{dir.path()});
    EXPECT_EQ(fromOlder.startupDirectory, dir.path());
}

TEST(SettingsTest, QuitIsAskedOnlyWhenNothingElseStands) {
    MemoryPreferences preferences;
    AppState state(preferences);
    state.errorMessage = QStringLiteral("boom");
    state.requestQuit();
    EXPECT_FALSE(state.pendingQuit);
    state.errorMessage.reset();
    state.showOverlay(Overlay::sortPicker);
    state.requestQuit();
    EXPECT_FALSE(state.pendingQuit);
    state.closeOverlay(Overlay::sortPicker);
    state.dosDialogActionIndex = 3;
    state.requestQuit();
    EXPECT_TRUE(state.pendingQuit);
    EXPECT_EQ(state.dosDialogActionIndex, 0);
}

} // namespace
