// X hands a file to another application. The applications are fake desktop
// entries in a desktop of the test's own (temporary XDG folders): each is a
// script that writes the path it was given into a marker file, so a test can
// see which one was started and with what.
#include "../core/KeyTestSupport.h"
#include "core/PreferenceKeys.h"
#include "core/SystemPath.h"
#include "pickers/OpenWith.h"
#include "search/FolderSearchService.h"
#include "support/PaneRows.h"
#include "support/StateFixture.h"
#include "support/ToolRun.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

using KeyTest::typed;

const QString kTestType = QStringLiteral("application/x-dorvik-test");

// The fake desktop. GIO reads the XDG folders once per process, so the whole
// desktop is laid out once, before the first look-up, and stays.
class FakeDesktop {
public:
    static FakeDesktop& instance() {
        static FakeDesktop desktop;
        return desktop;
    }
    // The desktop entry of an application, by its short name ("alpha").
    QString entry(const char* app) const {
        return m_root.filePath(QStringLiteral("data/applications/dorvik-%1.desktop").arg(app));
    }
    QString marker(const QString& app) const {
        return m_root.filePath(QStringLiteral("opened/%1").arg(app));
    }
    // What the application (short name or desktop entry) was asked to open, once it has run.
    QString opened(QString app) const {
        app = QFileInfo(app).completeBaseName().remove(QStringLiteral("dorvik-"));
        QFile file(marker(app));
        if (!QTest::qWaitFor([&] { return file.size() > 0; }, 10000) ||
            !file.open(QIODevice::ReadOnly)) {
            return {};
        }
        return QString::fromUtf8(file.readAll()).trimmed();
    }
    void forgetLaunches() const {
        QDir opened(m_root.filePath(QStringLiteral("opened")));
        opened.removeRecursively();
        opened.mkpath(QStringLiteral("."));
    }

private:
    FakeDesktop() {
        m_root.makeFolder(QStringLiteral("system-data"));
        m_root.makeFolder(QStringLiteral("system-config"));
        addType("application/x-dorvik-test", "dvkt");
        addType("application/x-dorvik-solo", "dvks");
        addType("application/x-dorvik-gone", "dvkg");
        addType("application/x-dorvik-none", "dvkn");
        addApp("alpha", "Alpha Viewer", kTestType);
        addApp("beta", "Beta Editor", kTestType);
        addApp("gamma", "Gamma Tool", kTestType);
        addApp("solo", "Solo Player", QStringLiteral("application/x-dorvik-solo"));
        addApp("keep", "Keeper", QStringLiteral("application/x-dorvik-gone"));
        addApp("doomed", "Doomed", QStringLiteral("application/x-dorvik-gone"));
        addApp("folder", "Folder Browser", QStringLiteral("inode/directory"));
        addApp("pager", "Plain Pager", QStringLiteral("text/plain"));
        m_root.makeFile(QStringLiteral("config/mimeapps.list"),
                        "[Default Applications]\n" + kTestType.toUtf8() + "=dorvik-beta.desktop\n");
        m_root.makeFile(QStringLiteral("data/mime/packages/dorvik.xml"),
                        "<?xml version=\"1.0\"?>\n<mime-info "
                        "xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n" +
                            m_types + "</mime-info>\n");
        run(QStringLiteral("update-mime-database"), m_root.filePath(QStringLiteral("data/mime")));
        run(QStringLiteral("update-desktop-database"),
            m_root.filePath(QStringLiteral("data/applications")));
        qputenv("XDG_DATA_HOME", toSystemPath(m_root.filePath(QStringLiteral("data"))));
        qputenv("XDG_DATA_DIRS", toSystemPath(m_root.filePath(QStringLiteral("system-data"))));
        qputenv("XDG_CONFIG_HOME", toSystemPath(m_root.filePath(QStringLiteral("config"))));
        qputenv("XDG_CONFIG_DIRS", toSystemPath(m_root.filePath(QStringLiteral("system-config"))));
    }
    void addType(const char* type, const char* extension) {
        m_types += QStringLiteral("<mime-type type=\"%1\"><glob pattern=\"*.%2\"/></mime-type>\n")
                       .arg(QLatin1String(type), QLatin1String(extension))
                       .toUtf8();
    }
    void addApp(const char* app, const char* name, const QString& type) {
        const QString id = QString::fromLatin1(app);
        const QString script = m_root.makeFile(QStringLiteral("bin/%1.sh").arg(id),
                                               "#!/bin/sh\nprintf '%s\\n' \"$1\" > '" +
                                                   toSystemPath(marker(id)) + "'\n");
        m_root.setMode(QStringLiteral("bin/%1.sh").arg(id), 0755);
        m_root.makeFile(QStringLiteral("data/applications/dorvik-%1.desktop").arg(id),
                        "[Desktop Entry]\nType=Application\nName=" + QByteArray(name) + "\nExec=" +
                            toSystemPath(script) + " %f\nMimeType=" + type.toUtf8() + ";\n");
    }
    static void run(const QString& program, const QString& folder) {
        QProcess process;
        process.start(program, {folder});
        EXPECT_TRUE(process.waitForFinished(30000) && process.exitCode() == 0)
            << program.toStdString() << ": " << process.readAllStandardError().toStdString();
    }

    TestDir m_root;
    QByteArray m_types;
};

class OpenWithTest : public StateFixture {
protected:
    static void SetUpTestSuite() { FakeDesktop::instance(); }
    void SetUp() override {
        StateFixture::SetUp();
        desktop.forgetLaunches();
        dir.makeFile(QStringLiteral("doc.dvkt"), "doc\n");
        dir.makeFile(QStringLiteral("song.dvks"), "song\n");
        dir.makeFile(QStringLiteral("kept.dvkg"), "kept\n");
        dir.makeFile(QStringLiteral("odd.dvkn"), "odd\n");
        dir.makeFile(QStringLiteral("README"), "plain words\n");
        dir.makeFolder(QStringLiteral("Photos"));
        makeState();
        ASSERT_EQ(OpenWith::contentType(dir.filePath(QStringLiteral("doc.dvkt"))), kTestType)
            << "the fake desktop did not take";
    }
    void select(const QString& name) { PaneRows::putCursorOn(*state, name); }
    void pressX(const QString& name) {
        select(name);
        state->handleKeyDown(typed(QStringLiteral("x")));
        waitForListings(*state);
    }
    QStringList appPaths(const QString& file) const {
        QStringList paths;
        for (const OpenWithApp& app :
             OpenWith::openWithCandidates(dir.filePath(file), preferences)) {
            paths << app.appURL;
        }
        return paths;
    }

    FakeDesktop& desktop = FakeDesktop::instance();
};

TEST_F(OpenWithTest, KindKeysAndApplicationNames) {
    // Folders ("/") and names without an extension (".") are seen through X below.
    const std::pair<const char*, const char*> kinds[] = {{"/any/.profile", "."},
                                                         {"/any/trailing.", "."},
                                                         {"/any/Notes.TXT", "txt"},
                                                         {"/any/backup.tar.GZ", "gz"}};
    for (const auto& [path, kind] : kinds) {
        EXPECT_EQ(OpenWith::kindKey(QString::fromUtf8(path)), kind) << path;
    }
    EXPECT_EQ(OpenWith::applicationDisplayName(QStringLiteral("/gone/org.example.Tool.desktop")),
              "org.example.Tool");
}

TEST_F(OpenWithTest, RecentChoicesComeFirstThenTheDefaultThenTheRest) {
    const QString alpha = desktop.entry("alpha");
    const QString beta = desktop.entry("beta");
    const QString gamma = desktop.entry("gamma");
    const QString doc = dir.filePath(QStringLiteral("doc.dvkt"));

    QList<OpenWithApp> apps = OpenWith::openWithCandidates(doc, preferences);
    ASSERT_EQ(apps.size(), 3);
    EXPECT_EQ(apps.at(0), (OpenWithApp{beta, "Beta Editor", true, false}));
    EXPECT_EQ(QSet<QString>({apps.at(1).appURL, apps.at(2).appURL}), QSet<QString>({alpha, gamma}));
    EXPECT_FALSE(apps.at(1).isDefault || apps.at(1).isRecent || apps.at(2).isRecent);

    // A remembered application that cannot open this kind is left out.
    OpenWith::recordChoice(preferences, "dvkt", desktop.entry("solo"));
    OpenWith::recordChoice(preferences, "dvkt", gamma);
    EXPECT_EQ(appPaths("doc.dvkt"), QStringList({gamma, beta, alpha}));
    apps = OpenWith::openWithCandidates(doc, preferences);
    EXPECT_TRUE(apps.at(0).isRecent && !apps.at(0).isDefault);
    EXPECT_TRUE(apps.at(1).isDefault && !apps.at(1).isRecent);

    // The default chosen last stands first, once, with both marks.
    OpenWith::recordChoice(preferences, "dvkt", beta);
    apps = OpenWith::openWithCandidates(doc, preferences);
    EXPECT_EQ(appPaths("doc.dvkt"), QStringList({beta, gamma, alpha}));
    EXPECT_TRUE(apps.at(0).isDefault && apps.at(0).isRecent);
    EXPECT_FALSE(apps.at(2).isRecent);
}

TEST_F(OpenWithTest, EachKindRemembersTwelveNewestFirstInADictionary) {
    for (int i = 1; i <= 13; ++i) {
        OpenWith::recordChoice(preferences, "txt", QStringLiteral("/apps/%1.desktop").arg(i));
    }
    OpenWith::recordChoice(preferences, "md", QStringLiteral("/apps/md.desktop"));
    QStringList txt = OpenWith::recentApplications(preferences, "txt");
    ASSERT_EQ(txt.size(), 12);
    EXPECT_EQ(txt.first(), "/apps/13.desktop");
    EXPECT_EQ(txt.last(), "/apps/2.desktop");

    // Chosen again: moved to the front, not repeated; paths are standardised.
    OpenWith::recordChoice(preferences, "txt", QStringLiteral("/apps//./5.desktop"));
    txt = OpenWith::recentApplications(preferences, "txt");
    EXPECT_EQ(txt.size(), 12);
    EXPECT_EQ(txt.first(), "/apps/5.desktop");
    EXPECT_EQ(txt.count(QStringLiteral("/apps/5.desktop")), 1);
    EXPECT_EQ(OpenWith::recentApplications(preferences, "md"), QStringList{"/apps/md.desktop"});

    // Stored as a dictionary; the old JSON text is read once.
    const QString key = PreferenceKeys::openWithRecentByExtension;
    // As earlier versions left it: one JSON text.
    preferences.setValue(key,
                         QByteArray(R"({"txt":["/apps/old.desktop"],"/":["/apps/f.desktop"]})"));
    EXPECT_EQ(OpenWith::recentApplications(preferences, "txt"), QStringList{"/apps/old.desktop"});
    OpenWith::recordChoice(preferences, "md", "/apps/md.desktop");
    const auto stored = preferences.value(key);
    ASSERT_TRUE(stored);
    ASSERT_EQ(stored->typeId(), QMetaType::QVariantMap);
    const QVariantMap map = stored->toMap();
    EXPECT_EQ(map.keys(), (QStringList{"/", "md", "txt"}));
    EXPECT_EQ(map.value("txt").toStringList(), QStringList{"/apps/old.desktop"});
    EXPECT_EQ(map.value("md").toStringList(), QStringList{"/apps/md.desktop"});

    // The dictionary survives the settings file.
    const QString ini = dir.filePath("settings.ini");
    {
        SettingsPreferences file(ini);
        OpenWith::recordChoice(file, ".", "/apps/a.desktop");
        OpenWith::recordChoice(file, ".", "/apps/b.desktop");
    }
    SettingsPreferences reopened(ini);
    EXPECT_EQ(reopened.value(key)->typeId(), QMetaType::QVariantMap);
    EXPECT_EQ(OpenWith::recentApplications(reopened, "."),
              (QStringList{"/apps/b.desktop", "/apps/a.desktop"}));
}

TEST_F(OpenWithTest, OneApplicationOpensAtOnceAndIsRemembered) {
    // A folder goes to the applications that open folders, under "/"; a name
    // without an extension is filed under ".".
    const struct {
        const char *file, *app, *kind;
    } cases[] = {
        {"song.dvks", "solo", "dvks"}, {"Photos", "folder", "/"}, {"README", "pager", "."}};
    for (const auto& c : cases) {
        pressX(c.file);
        EXPECT_FALSE(state->isOpen(Overlay::openWithPicker)) << c.file;
        EXPECT_EQ(desktop.opened(c.app), dir.filePath(c.file));
        EXPECT_EQ(OpenWith::recentApplications(preferences, c.kind),
                  QStringList{desktop.entry(c.app)});
    }
    EXPECT_FALSE(state->errorMessage);

    // A remembered application removed from the desktop drops out; the one
    // left then opens at once.
    const QString doomed = desktop.entry("doomed");
    OpenWith::recordChoice(preferences, "dvkg", doomed);
    EXPECT_EQ(appPaths("kept.dvkg").value(0), doomed);
    ASSERT_TRUE(QFile::remove(doomed));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return appPaths("kept.dvkg") == QStringList{desktop.entry("keep")}; }, 5000))
        << appPaths("kept.dvkg").join(' ').toStdString();
    pressX(QStringLiteral("kept.dvkg"));
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
    EXPECT_EQ(desktop.opened("keep"), dir.filePath(QStringLiteral("kept.dvkg")));
}

TEST_F(OpenWithTest, XRefusesWhatCannotBeOpened) {
    pressX(QStringLiteral(".."));
    EXPECT_EQ(state->errorMessage, "No file to open");
    state->errorMessage.reset();
    state->dosDialogActionIndex = 1;

    pressX(QStringLiteral("odd.dvkn"));
    EXPECT_EQ(state->errorMessage, "No application can open:\nodd.dvkn");
    EXPECT_EQ(state->dosDialogActionIndex, 0);
    state->errorMessage.reset();

    // Under another picker X waits.
    state->showOverlay(Overlay::volumePicker);
    state->openCursorEntryExternally();
    EXPECT_FALSE(state->errorMessage);
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
}

TEST_F(OpenWithTest, ThePickerMovesRoundOpensTheChosenAndRemembersIt) {
    select(QStringLiteral("doc.dvkt"));
    state->isFilterOpen = true; // the filter closes on the way
    state->openCursorEntryExternally();
    ASSERT_TRUE(state->isOpen(Overlay::openWithPicker));
    EXPECT_FALSE(state->isFilterOpen);
    EXPECT_EQ(state->openWithPicker.fileName, "doc.dvkt");
    EXPECT_EQ(state->openWithPicker.fileURL, dir.filePath(QStringLiteral("doc.dvkt")));
    ASSERT_EQ(state->openWithPicker.apps.size(), 3);

    state->moveOpenWithSelection(-1);
    EXPECT_EQ(state->openWithPicker.selection, 2);
    state->moveOpenWithSelection(1);
    state->moveOpenWithSelection(1);
    EXPECT_EQ(state->openWithPicker.selection, 1);

    const OpenWithApp chosen = state->openWithPicker.apps.at(1);
    state->confirmOpenWith(std::nullopt); // Enter: the selected row
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
    EXPECT_EQ(desktop.opened(chosen.appURL), dir.filePath(QStringLiteral("doc.dvkt")));

    // Next time the last choice stands on top, selected: Enter repeats it.
    pressX(QStringLiteral("doc.dvkt"));
    ASSERT_TRUE(state->isOpen(Overlay::openWithPicker));
    EXPECT_EQ(state->openWithPicker.apps.first().appURL, chosen.appURL);
    EXPECT_TRUE(state->openWithPicker.apps.first().isRecent);
    EXPECT_EQ(state->openWithPicker.selection, 0);

    state->closeOpenWithPicker();
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
    EXPECT_FALSE(state->openWithPicker.fileURL);
    state->confirmOpenWith(0); // closed: nothing
    EXPECT_FALSE(state->errorMessage);
}

// X on a search hit puts the picker for that hit over the form; closing it
// leaves the form standing.
TEST_F(OpenWithTest, ThePickerStandsOverFileSearchForTheHit) {
    state->enterFileSearchMode();
    state->fileSearchQuery = QStringLiteral("doc");
    state->fileSearchDebounceMilliseconds = 0;
    state->scheduleFileSearch();
    QSignalSpy finished(state->folderSearch.get(), &FolderSearchService::finished);
    ASSERT_TRUE(finished.wait(3000));
    state->focusFileSearchResults();
    state->handleKeyDown(typed(QStringLiteral("x")));
    waitForListings(*state);
    ASSERT_TRUE(state->isOpen(Overlay::openWithPicker));
    EXPECT_EQ(state->openWithPicker.fileURL, dir.filePath(QStringLiteral("doc.dvkt")));
    state->closeOpenWithPicker();
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
    EXPECT_TRUE(state->isFileSearchMode);
}

TEST_F(OpenWithTest, AFailedStartIsReportedLaterAndStaysRemembered) {
    const QString doc = dir.filePath(QStringLiteral("doc.dvkt"));
    state->showOpenWithChoices(doc, QStringLiteral("doc.dvkt"));
    ASSERT_TRUE(state->isOpen(Overlay::openWithPicker));
    const QString gone = dir.filePath(QStringLiteral("gone.desktop"));
    state->openWithPicker.apps.append({gone, QStringLiteral("gone"), false, false});
    state->confirmOpenWith(7); // outside the list: nothing
    EXPECT_TRUE(state->isOpen(Overlay::openWithPicker));
    state->confirmOpenWith(3);
    EXPECT_FALSE(state->isOpen(Overlay::openWithPicker));
    EXPECT_EQ(OpenWith::recentApplications(preferences, "dvkt"), QStringList{gone});
    EXPECT_TRUE(QTest::qWaitFor([&] { return state->errorMessage.has_value(); }, 10000));
    EXPECT_EQ(state->errorMessage, "Cannot open application:\n" + gone);
}

TEST_F(OpenWithTest, AnArchiveMemberOpensAsATemporaryCopy) {
    dir.makeFile(QStringLiteral("src/inside.dvkt"), "packed\n");
    dir.makeFile(QStringLiteral("src/sub/x.txt"), "x");
    ToolRun::run(dir.filePath(QStringLiteral("src")), "zip",
                 {"-qr", dir.filePath(QStringLiteral("box.zip")), "inside.dvkt", "sub"});
    state->openLocation(FilerLocation::zip(dir.filePath(QStringLiteral("box.zip")), QString()),
                        PaneSide::left, std::nullopt);
    waitForListings(*state);

    pressX(QStringLiteral("sub"));
    EXPECT_EQ(state->errorMessage, "Cannot open archive folder externally");
    state->errorMessage.reset();

    pressX(QStringLiteral("inside.dvkt"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return state->isOpen(Overlay::openWithPicker); }, 10000));
    EXPECT_EQ(state->openWithPicker.fileName, "inside.dvkt");
    ASSERT_TRUE(state->openWithPicker.fileURL);
    EXPECT_NE(*state->openWithPicker.fileURL, dir.filePath(QStringLiteral("src/inside.dvkt")));
    QFile copy(*state->openWithPicker.fileURL);
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), "packed\n");
    QFile::remove(*state->openWithPicker.fileURL);
}

} // namespace
