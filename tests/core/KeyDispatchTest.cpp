// Which command each key reaches in each mode, and whether the key is
// consumed: every row of every key table, and the order in which the modes
// are asked.
#include "core/KeyTestSupport.h"

#include "core/PathUtils.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"

#include <gtest/gtest.h>

#include <functional>

using namespace KeyTest;

namespace {

// One key in one mode. calls lists the commands still to come that the key
// must reach; effect checks the state afterwards. A case with neither must
// reach no such command at all.
struct KeyCase {
    const char* name;
    KeyEvent event;
    bool consumed;
    QStringList calls = {};
    std::function<bool(const RecordingState&)> effect = nullptr;
};

using Arrange = std::function<void(RecordingState&)>;

class KeyDispatchTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&rights);
        dir.makeFolder(QStringLiteral("sub"));
        dir.makeFile(QStringLiteral("a.txt"), "aa");
        dir.makeFile(QStringLiteral("b.txt"), "b");
    }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    // A fresh state over the folder ("..", "sub", "a.txt", "b.txt").
    std::unique_ptr<RecordingState> makeState(const Arrange& setup) {
        // Each state gets its own settings, so that a toggle of one case
        // can't reach the next.
        preferences = std::make_unique<MemoryPreferences>();
        preferences->setValue(QStringLiteral("startupDirectory"), dir.path());
        auto state = std::make_unique<RecordingState>(*preferences);
        state->setTextInputHost(&input);
        state->refreshAll();
        if (setup) {
            setup(*state);
        }
        state->calls.clear();
        return state;
    }

    void expectCases(const Arrange& setup, const std::vector<KeyCase>& cases) {
        for (const KeyCase& c : cases) {
            input.composing = false;
            auto state = makeState(setup);
            EXPECT_EQ(state->handleKeyDown(c.event), c.consumed) << c.name;
            if (c.calls.isEmpty() && !c.effect) {
                EXPECT_TRUE(state->calls.isEmpty())
                    << c.name << ": " << qPrintable(state->calls.join(' '));
            }
            for (const QString& call : c.calls) {
                EXPECT_TRUE(state->calls.contains(call))
                    << c.name << ": wanted " << qPrintable(call) << ", ran "
                    << qPrintable(state->calls.join(' '));
            }
            if (c.effect) {
                EXPECT_TRUE(c.effect(*state)) << c.name;
            }
        }
    }

    QString path(const char* relative) const { return dir.filePath(QString::fromUtf8(relative)); }
    bool leftIsAt(const RecordingState& s, const QString& folder) const {
        return s.leftLocation == FilerLocation::directory(PathUtils::standardizedPath(folder));
    }

    MemoryPreferences rights;
    std::unique_ptr<MemoryPreferences> preferences;
    TestDir dir;
    ComposingInput input;
};

TEST_F(KeyDispatchTest, FilerTableRowsInOrder) {
    const QString sub = path("sub");
    const QString top = dir.path();
    expectCases(
        [&](RecordingState& s) { s.setSelection(2, PaneSide::left); },
        {
            {"Esc without tree mode", named(KeyCode::escape), false},
            {"E", typed("e"), true, {"enterEditor"}},
            {".",
             typed("."),
             true,
             {"refreshTreeSessions"},
             [](auto& s) { return s.showHiddenFiles; }},
            {"Shift+period key",
             coded(KeyCode::period, ">", shift),
             true,
             {},
             [](auto& s) { return s.showAllFileExtensions; }},
            {"L",
             typed("l"),
             true,
             {"refreshTreeSessions"},
             [](auto& s) { return !s.showLocalizedNames; }},
            {"T", typed("t"), true, {"toggleTreeMode"}},
            {"F", typed("f"), true, {}, [](auto& s) { return s.isSearching; }},
            {"S", typed("s"), true, {}, [](auto& s) { return s.isSortPickerOpen; }},
            {"J", typed("j"), true, {"openJumpDialog"}},
            {"A", typed("a"), true, {"openAttributePrompt"}},
            {"H", typed("h"), true, {"setStartupDirectoryToCurrent"}},
            {"V", typed("v"), true, {"openVolumePicker"}},
            {"X", typed("x"), true, {"openCursorEntryExternally"}},
            {"G",
             typed("g"),
             true,
             {"stopWatching(right)", "rebuildGalleryItems"},
             [](auto& s) { return s.layoutMode == LayoutMode::filerGallery; }},
            {"Q", typed("q"), true, {}, [](auto& s) { return s.pendingQuit; }},
            {"W", typed("w"), true, {}, [](auto& s) { return s.isWildcardPromptOpen; }},
            {"+", typed("+", shift), true, {"addJumpBookmark"}},
            {"/",
             typed("/"),
             true,
             {},
             [](auto& s) { return s.leftLocation == FilerLocation::directory("/"); }},
            {"~",
             typed("~", shift),
             true,
             {},
             [&](auto& s) { return leftIsAt(s, PathUtils::homeDirectory()); }},
            {"P",
             typed("p"),
             true,
             {"showFilePreview(a.txt)"},
             [](auto& s) { return s.alwaysPreviewMode; }},
            {"K", typed("k"), true, {"openCreateItemPrompt(folder)"}},
            {"I", typed("i"), true, {"openCreateItemPrompt(file)"}},
            {"N", typed("n"), true, {"openRenamePrompt"}},
            {"R", typed("r"), true, {"openRenamePrompt"}},
            {"C", typed("c"), true, {"startCopyOrMove(copy)"}},
            {"M", typed("m"), true, {"startCopyOrMove(move)"}},
            {"D", typed("d"), true, {"startDelete(files)"}},
            {"Control+D", typed("d", KeyModifier::control), true, {"startDelete(files)"}},
            {"Shift+D", typed("D", shift), true, {"startDelete(folders)"}},
            {"Shift+Control+D", typed("D", shift | KeyModifier::control), true},
            {"Shift+Option+D", typed("D", shift | KeyModifier::option), true},
            {"Space",
             coded(KeyCode::space, " "),
             true,
             {},
             [](auto& s) { return s.taggedKeys.size() == 1 && s.leftSelection == 3; }},
            {"Shift+2",
             coded(KeyCode::mainRow2, "@", shift),
             true,
             {},
             [](auto& s) { return s.layoutMode == LayoutMode::dualFiler; }},
            {"Shift+Option+2", coded(KeyCode::mainRow2, "€", shift | KeyModifier::option), false},
            {"Right",
             named(KeyCode::right),
             true,
             {},
             [](auto& s) { return s.focusedSide == PaneSide::right; }},
            {"Enter on a file", named(KeyCode::returnKey), true, {"showFilePreview(a.txt)"}},
            {"Tab",
             named(KeyCode::tab),
             true,
             {},
             [](auto& s) { return s.focusedSide == PaneSide::right; }},
            {"Home", named(KeyCode::home), true, {}, [](auto& s) { return s.leftSelection == 0; }},
            {"End", named(KeyCode::end), true, {}, [](auto& s) { return s.leftSelection == 3; }},
            {"PageUp",
             named(KeyCode::pageUp),
             true,
             {},
             [](auto& s) { return s.leftSelection == 0; }},
            {"PageDown",
             named(KeyCode::pageDown),
             true,
             {},
             [](auto& s) { return s.leftSelection == 3; }},
            {"Up", named(KeyCode::up), true, {}, [](auto& s) { return s.leftSelection == 1; }},
            {"Down", named(KeyCode::down), true, {}, [](auto& s) { return s.leftSelection == 3; }},
            {"Z", typed("z"), false},
            {"a key without characters", named(KeyCode::other), false},
            {"Command+Q",
             typed("q", KeyModifier::command),
             false,
             {},
             [](auto& s) { return !s.pendingQuit; }},
        });
    // Enter on a folder, Delete and "-" go in and out of folders.
    expectCases([](RecordingState& s) { s.setSelection(1, PaneSide::left); },
                {{"Enter on a folder", named(KeyCode::keypadEnter), true, {}, [&](auto& s) {
                      return leftIsAt(s, sub);
                  }}});
    expectCases(
        [&](RecordingState& s) {
            s.openLocation(FilerLocation::directory(sub), PaneSide::left, {});
        },
        {{"Delete",
          named(KeyCode::deleteBackward),
          true,
          {},
          [&](auto& s) { return leftIsAt(s, top); }},
         {"-", typed("-"), true, {}, [&](auto& s) { return leftIsAt(s, top); }},
         {"O", typed("o"), true, {}, [&](auto& s) { return leftIsAt(s, top); }}});
}

TEST_F(KeyDispatchTest, TreeModeTakesEscAndArrowsOfItsPane) {
    expectCases([](RecordingState& s) { s.leftTreeMode = true; },
                {
                    {"Esc", named(KeyCode::escape), true, {"exitTreeModeByEsc"}},
                    {"Right is the tree's even without a session",
                     named(KeyCode::right),
                     true,
                     {},
                     [](auto& s) { return s.focusedSide == PaneSide::left; }},
                    {"Shift+Right moves the focus",
                     named(KeyCode::right, shift),
                     true,
                     {},
                     [](auto& s) { return s.focusedSide == PaneSide::right; }},
                });
}

TEST_F(KeyDispatchTest, WithoutAnActiveSideFilerKeysAreConsumedAndDoNothing) {
    // The right half holds neither VIEWER nor a filer, and has the focus.
    const Arrange noActiveSide = [](RecordingState& s) {
        s.rightMode = RightPaneMode::gallery;
        s.focusedSide = PaneSide::right;
        s.setSelection(2, PaneSide::left);
    };
    const auto unchanged = [](auto& s) {
        return s.leftSelection == 2 && s.taggedKeys.isEmpty() && !s.isSearching &&
               !s.isSortPickerOpen && !s.isWildcardPromptOpen;
    };
    expectCases(noActiveSide, {
                                  {"Space", coded(KeyCode::space, " "), true, {}, unchanged},
                                  {"Down", named(KeyCode::down), true, {}, unchanged},
                                  {"End", named(KeyCode::end), true, {}, unchanged},
                                  {"F", typed("f"), true, {}, unchanged},
                                  {"S", typed("s"), true, {}, unchanged},
                                  {"W", typed("w"), true, {}, unchanged},
                                  {"Enter", named(KeyCode::returnKey), true, {}, unchanged},
                              });
}

TEST_F(KeyDispatchTest, AStandingDialogSwallowsEverythingButCommandKeys) {
    const Arrange error = [](RecordingState& s) { s.errorMessage = QStringLiteral("boom"); };
    const auto untouched = [](auto& s) {
        return !s.isSearching && !s.pendingQuit && s.leftSelection == 0 &&
               s.focusedSide == PaneSide::left;
    };
    expectCases(error, {
                           {"F", typed("f"), true, {}, untouched},
                           {"Q", typed("q"), true, {}, untouched},
                           {"Down", named(KeyCode::down), true, {}, untouched},
                           {"Tab", named(KeyCode::tab), true, {}, untouched},
                           {"Esc", named(KeyCode::escape), true},
                           {"Z", typed("z"), true},
                           {"Command+C", typed("c", KeyModifier::command), false},
                       });
}

TEST_F(KeyDispatchTest, TextPromptsGiveEveryKeyButEscToTheirField) {
    struct Prompt {
        const char* name;
        Arrange open;
        QString cancel;
    };
    const Prompt prompts[] = {
        {"create", [](auto& s) { s.createItemKind = CreateItemKind::file; },
         "cancelCreateItemPrompt"},
        {"rename", [](auto& s) { s.isRenamePromptOpen = true; }, "cancelRenamePrompt"},
        {"copy path", [](auto& s) { s.copyMovePathKind = AppState::CopyMoveKind::copy; },
         "cancelCopyMovePathPrompt"},
        {"create before rename",
         [](auto& s) {
             s.isRenamePromptOpen = true;
             s.createItemKind = CreateItemKind::folder;
         },
         "cancelCreateItemPrompt"},
    };
    for (const Prompt& p : prompts) {
        SCOPED_TRACE(p.name);
        expectCases(p.open, {
                                {"Esc", named(KeyCode::escape), true, {p.cancel}},
                                {"Enter", named(KeyCode::returnKey), false},
                                {"A", typed("a"), false},
                                {"Space", coded(KeyCode::space, " "), false},
                            });
        input.composing = true;
        auto state = makeState(p.open);
        input.composing = true;
        EXPECT_FALSE(state->handleKeyDown(named(KeyCode::escape)));
        EXPECT_TRUE(state->calls.isEmpty());
    }
    expectCases([](auto& s) { s.openWildcardPrompt(); },
                {{"Esc closes the wildcard prompt", named(KeyCode::escape), true, {}, [](auto& s) {
                      return !s.isWildcardPromptOpen;
                  }}});
}

TEST_F(KeyDispatchTest, AttributePromptTable) {
    const Arrange dateField = [](auto& s) {
        s.isAttributePromptOpen = true;
        s.attributeFocusField = 1;
    };
    expectCases(dateField,
                {
                    {"Esc", named(KeyCode::escape), true, {"cancelAttributePrompt"}},
                    {"Up", named(KeyCode::up), true, {"moveAttributeFocus(-1)"}},
                    {"Down", named(KeyCode::down), true, {"moveAttributeFocus(1)"}},
                    {"Left", named(KeyCode::left), true, {"moveAttributeFieldCursor(-1)"}},
                    {"Right", named(KeyCode::right), true, {"moveAttributeFieldCursor(1)"}},
                    {"Space", coded(KeyCode::space, " "), true, {"toggleAttributeField"}},
                    {"Enter", named(KeyCode::keypadEnter), true, {"applyAttributePrompt"}},
                    {"7", typed("7"), true, {"typeAttributeDigit(7)"}},
                    {"Q", typed("q"), true, {}, [](auto& s) { return !s.pendingQuit; }},
                });
    expectCases([](auto& s) { s.isAttributePromptOpen = true; },
                {{"7 in the mode field", typed("7"), true}});
}

TEST_F(KeyDispatchTest, FileSearchTable) {
    using F = FileSearchFocusField;
    const auto focus = [](F field, int selection = 0) {
        return Arrange([=](RecordingState& s) {
            s.isFileSearchMode = true;
            s.fileSearchFocusField = field;
            s.fileSearchSelection = selection;
        });
    };
    expectCases(focus(F::results, 2),
                {
                    {"Esc", named(KeyCode::escape), true, {"exitFileSearchMode"}},
                    {"Tab", named(KeyCode::tab), true, {"cycleFileSearchFocus(1)"}},
                    {"Shift+Option+Tab",
                     named(KeyCode::tab, shift | KeyModifier::option),
                     true,
                     {"cycleFileSearchFocus(-1)"}},
                    {"Up in results", named(KeyCode::up), true, {"moveFileSearchSelection(-1)"}},
                    {"Down in results", named(KeyCode::down), true, {"moveFileSearchSelection(1)"}},
                    {"Home", named(KeyCode::home), true, {"fileSearchSelectFirst"}},
                    {"End", named(KeyCode::end), true, {"fileSearchSelectLast"}},
                    {"PageUp", named(KeyCode::pageUp), true, {"fileSearchPage(-1)"}},
                    {"PageDown", named(KeyCode::pageDown), true, {"fileSearchPage(1)"}},
                    {"Enter in results", named(KeyCode::returnKey), true, {"openFileSearchResult"}},
                    {"E", typed("e"), true, {"editFileSearchResult"}},
                    {"X", typed("x"), true, {"openFileSearchResultExternally"}},
                    {"Space", coded(KeyCode::space, " "), false},
                    {"Left in results", named(KeyCode::left), false},
                    {"Z", typed("z"), false},
                });
    expectCases(
        focus(F::results, 0),
        {{"Up at the first result", named(KeyCode::up), true, {"cycleFileSearchFocus(-1)"}}});
    expectCases(focus(F::sort),
                {
                    {"Down", named(KeyCode::down), true, {"focusFileSearchResults"}},
                    {"Left", named(KeyCode::left), true, {"cycleFileSearchSort(-1)"}},
                    {"Space", coded(KeyCode::space, " "), true, {"toggleFileSearchChoice"}},
                    {"Enter", named(KeyCode::returnKey), true, {"focusFileSearchResults"}},
                });
    expectCases(focus(F::matchMode),
                {{"Right", named(KeyCode::right), true, {"cycleFileSearchMatchMode(1)"}},
                 {"Down", named(KeyCode::down), true, {"cycleFileSearchFocus(1)"}}});
    expectCases(focus(F::folder),
                {{"Enter", named(KeyCode::returnKey), true, {"openSearchTreeBox"}}});
    expectCases(
        focus(F::query),
        {
            {"E types into the query", typed("e"), false},
            {"Right moves the caret", named(KeyCode::right), false},
            {"Home is taken even here", named(KeyCode::home), true, {"fileSearchSelectFirst"}},
        });
}

TEST_F(KeyDispatchTest, SearchTreeBoxTable) {
    expectCases(
        [](auto& s) {
            s.isFileSearchMode = true;
            s.isSearchTreeBoxOpen = true;
        },
        {
            {"Esc", named(KeyCode::escape), true, {"closeSearchTreeBox"}},
            {"Up", named(KeyCode::up), true, {"moveSearchTreeBoxRow(-1)"}},
            {"Down", named(KeyCode::down), true, {"moveSearchTreeBoxRow(1)"}},
            {"Left", named(KeyCode::left), true, {"collapseOrExpandSearchTreeBoxRow(false)"}},
            {"Right", named(KeyCode::right), true, {"collapseOrExpandSearchTreeBoxRow(true)"}},
            {"PageUp", named(KeyCode::pageUp), true, {"moveSearchTreeBoxRow(-23)"}},
            {"PageDown", named(KeyCode::pageDown), true, {"moveSearchTreeBoxRow(23)"}},
            {"Home", named(KeyCode::home), true, {"selectSearchTreeBoxRow(0)"}},
            {"End without a session", named(KeyCode::end), true},
            {"Enter", named(KeyCode::returnKey), true, {"confirmSearchTreeBox"}},
            {"Z", typed("z"), true},
        });
}

TEST_F(KeyDispatchTest, PickerTables) {
    expectCases([](auto& s) { s.isVolumePickerOpen = true; },
                {
                    {"Esc", named(KeyCode::escape), true, {"closeVolumePicker"}},
                    {"Up", named(KeyCode::up), true, {"moveVolumePickerSelection(-1)"}},
                    {"Down", named(KeyCode::down), true, {"moveVolumePickerSelection(1)"}},
                    {"Enter", named(KeyCode::returnKey), true, {"confirmVolumePicker(none)"}},
                    {"F", typed("f"), true, {}, [](auto& s) { return !s.isSearching; }},
                });
    expectCases([](auto& s) { s.isOpenWithPickerOpen = true; },
                {
                    {"Esc", named(KeyCode::escape), true, {"closeOpenWithPicker"}},
                    {"Up", named(KeyCode::up), true, {"moveOpenWithSelection(-1)"}},
                    {"Down", named(KeyCode::down), true, {"moveOpenWithSelection(1)"}},
                    {"Enter", named(KeyCode::keypadEnter), true, {"confirmOpenWith(none)"}},
                    {"Z", typed("z"), true},
                });
    expectCases(
        [](auto& s) { s.openSortPicker(); },
        {
            {"Esc", named(KeyCode::escape), true, {}, [](auto& s) { return !s.isSortPickerOpen; }},
            {"Up wraps",
             named(KeyCode::up),
             true,
             {},
             [](auto& s) { return s.sortPickerSelection == 2; }},
            {"Down",
             named(KeyCode::down),
             true,
             {},
             [](auto& s) { return s.sortPickerSelection == 1; }},
            {"Enter",
             named(KeyCode::returnKey),
             true,
             {},
             [](auto& s) { return !s.isSortPickerOpen && s.sortMode == FilerSortMode::name; }},
            {"3",
             typed("3"),
             true,
             {},
             [](auto& s) { return !s.isSortPickerOpen && s.sortMode == FilerSortMode::size; }},
            {"4", typed("4"), true, {}, [](auto& s) { return s.isSortPickerOpen; }},
        });
}

TEST_F(KeyDispatchTest, JumpDialogTable) {
    const Arrange noRow = [](auto& s) { s.isJumpDialogOpen = true; };
    const Arrange row = [](auto& s) {
        s.isJumpDialogOpen = true;
        s.jumpSelectedPath = QStringLiteral("/tmp");
    };
    expectCases(noRow,
                {
                    {"Esc", named(KeyCode::escape), true, {"closeJumpDialog"}},
                    {"Home", named(KeyCode::home), true, {"clearJumpSelection"}},
                    {"Up", named(KeyCode::up), true, {"moveJumpSelection(-1)"}},
                    {"Down", named(KeyCode::down), true, {"moveJumpSelection(1)"}},
                    {"Enter", named(KeyCode::returnKey), true, {"confirmJumpDialog"}},
                    {"1", coded(KeyCode::mainRow1, "1"), true, {"jumpToNumberedBookmark(1)"}},
                    {"9", typed("9"), true, {"jumpToNumberedBookmark(9)"}},
                    {"0 is typed", typed("0"), false},
                    {"+", typed("+", shift), true, {"addJumpBookmark"}},
                    {"Delete edits the filter", named(KeyCode::deleteBackward), false},
                    {"S types", typed("s"), false},
                });
    expectCases(row,
                {
                    {"Delete", named(KeyCode::deleteBackward), true, {"removeJumpBookmark"}},
                    {"ForwardDelete", named(KeyCode::forwardDelete), true, {"removeJumpBookmark"}},
                    {"S", typed("s"), true, {"setStartupFromJumpSelection"}},
                    {"Z is swallowed", typed("z"), true},
                });
    input.composing = true;
    auto state = makeState(noRow);
    input.composing = true;
    EXPECT_FALSE(state->handleKeyDown(named(KeyCode::escape)));
    EXPECT_TRUE(state->calls.isEmpty());
}

TEST_F(KeyDispatchTest, GalleryTableWithTheFocusOnIt) {
    const Arrange gallery = [](auto& s) {
        s.layoutMode = LayoutMode::filerGallery;
        s.rightMode = RightPaneMode::gallery;
        s.focusedSide = PaneSide::right;
    };
    const auto focusLeft = [](auto& s) { return s.focusedSide == PaneSide::left; };
    expectCases(gallery,
                {
                    {"Esc",
                     named(KeyCode::escape),
                     true,
                     {},
                     [](auto& s) { return s.layoutMode == LayoutMode::filerViewer; }},
                    {"Tab", named(KeyCode::tab), true, {}, focusLeft},
                    {"Shift+Left", named(KeyCode::left, shift), true, {}, focusLeft},
                    {"Left", named(KeyCode::left), true, {"moveGalleryCursor(-1,0)"}},
                    {"Right", named(KeyCode::right), true, {"moveGalleryCursor(1,0)"}},
                    {"Up", named(KeyCode::up), true, {"moveGalleryCursor(0,-1)"}},
                    {"Down", named(KeyCode::down), true, {"moveGalleryCursor(0,1)"}},
                    {"/",
                     typed("/"),
                     true,
                     {},
                     [](auto& s) { return s.leftLocation == FilerLocation::directory("/"); }},
                    {"Z is swallowed", typed("z"), true},
                    {"Shift+2",
                     coded(KeyCode::mainRow2, "@", shift),
                     true,
                     {},
                     [](auto& s) { return s.layoutMode == LayoutMode::dualFiler; }},
                });
    expectCases(
        [&](auto& s) {
            gallery(s);
            s.gallerySelection = 0;
        },
        {{"Enter with a selection",
          named(KeyCode::returnKey),
          true,
          {"openGallerySelection(none)"}}});
}

TEST_F(KeyDispatchTest, EditorWithTheFocusTakesOnlyEscTabAndLayouts) {
    const Arrange editor = [](auto& s) {
        s.rightMode = RightPaneMode::editor;
        s.focusedSide = PaneSide::right;
    };
    expectCases(editor,
                {
                    {"Esc",
                     named(KeyCode::escape),
                     true,
                     {},
                     [](auto& s) { return s.rightMode == RightPaneMode::viewer; }},
                    {"Tab",
                     named(KeyCode::tab),
                     true,
                     {},
                     [](auto& s) { return s.focusedSide == PaneSide::left; }},
                    {"Shift+3 asks first",
                     coded(KeyCode::mainRow3, "#", shift),
                     true,
                     {},
                     [](auto& s) { return s.pendingLayoutMode == LayoutMode::filerGallery; }},
                    {"Q is typed", typed("q"), false},
                    {"Down is the editor's", named(KeyCode::down), false},
                });
    input.composing = true;
    auto state = makeState(editor);
    input.composing = true;
    EXPECT_FALSE(state->handleKeyDown(named(KeyCode::escape)));
    EXPECT_EQ(state->rightMode, RightPaneMode::editor);
}

TEST_F(KeyDispatchTest, ViewerWithTheFocusPassesFilerLettersToTheLeftPane) {
    const Arrange viewer = [](auto& s) { s.focusedSide = PaneSide::right; };
    const auto focusLeft = [](auto& s) { return s.focusedSide == PaneSide::left; };
    expectCases(viewer, {
                            {"Tab", named(KeyCode::tab), true, {}, focusLeft},
                            {"Left", named(KeyCode::left), true, {}, focusLeft},
                            {"Right stays",
                             named(KeyCode::right),
                             true,
                             {},
                             [](auto& s) { return s.focusedSide == PaneSide::right; }},
                            {"Down steps to the next file",
                             named(KeyCode::down),
                             true,
                             {"showFilePreview(a.txt)"},
                             [](auto& s) { return s.leftSelection == 2; }},
                            {"E", typed("e"), true, {"enterEditor"}},
                            {"Shift+1", coded(KeyCode::mainRow1, "!", shift), true, {}, focusLeft},
                            {". acts on the left pane",
                             typed("."),
                             true,
                             {},
                             [](auto& s) { return s.showHiddenFiles; }},
                            {"Space tags on the left",
                             coded(KeyCode::space, " "),
                             true,
                             {},
                             [](auto& s) { return s.leftSelection == 1; }},
                        });
}

TEST_F(KeyDispatchTest, OpenFilterTable) {
    const Arrange filtering = [](auto& s) {
        s.openFilter();
        s.searchQuery = QStringLiteral("b.t");
        s.applyFilter();
        s.setSelection(1, PaneSide::left); // "b.txt" in ("..", "b.txt")
    };
    const auto closedOn = [](int row) {
        return [=](auto& s) { return !s.isSearching && s.leftSelection == row; };
    };
    expectCases(
        filtering,
        {
            {"Esc keeps the row", named(KeyCode::escape), true, {}, closedOn(3)},
            {"Tab keeps the index",
             named(KeyCode::tab),
             true,
             {},
             [](auto& s) {
                 return !s.isSearching && s.leftSelection == 1 && s.focusedSide == PaneSide::right;
             }},
            {"Right leaves for the other pane",
             named(KeyCode::right),
             true,
             {},
             [](auto& s) { return !s.isSearching && s.focusedSide == PaneSide::right; }},
            {"Up moves the list's cursor",
             named(KeyCode::up),
             true,
             {},
             [](auto& s) { return s.isSearching && s.leftSelection == 0; }},
            {"Home",
             named(KeyCode::home),
             true,
             {},
             [](auto& s) { return s.isSearching && s.leftSelection == 0; }},
            {"Enter shows the file", named(KeyCode::returnKey), true, {"showFilePreview(b.txt)"}},
            {"Shift+2",
             coded(KeyCode::mainRow2, "@", shift),
             true,
             {},
             [](auto& s) { return s.layoutMode == LayoutMode::dualFiler; }},
            {"Q is typed into the field", typed("q"), false},
            {"Delete edits the field", named(KeyCode::deleteBackward), false},
        });
    input.composing = true;
    auto state = makeState(filtering);
    input.composing = true;
    EXPECT_FALSE(state->handleKeyDown(named(KeyCode::escape)));
    EXPECT_TRUE(state->isSearching);
}

TEST_F(KeyDispatchTest, ShiftAloneIsTrackedAndCommandLeavesItAlone) {
    auto state = makeState(nullptr);
    state->handleFlagsChanged(named(KeyCode::other, shift));
    EXPECT_TRUE(state->isShiftKeyDown);
    state->handleFlagsChanged(named(KeyCode::other, shift | KeyModifier::option));
    EXPECT_FALSE(state->isShiftKeyDown);
    state->handleFlagsChanged(named(KeyCode::other, shift));
    state->handleKeyDown(typed("c", KeyModifier::command));
    EXPECT_TRUE(state->isShiftKeyDown);
    state->handleKeyDown(typed("z"));
    EXPECT_FALSE(state->isShiftKeyDown);
}

} // namespace
