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

using Check = std::function<bool(const RecordingState&)>;
using Arrange = std::function<void(RecordingState&)>;

// One key in one mode. calls lists the commands still to come that the key
// must reach; effect checks the state afterwards. A case with neither must
// reach no such command at all. A composing case presses the key while the
// text input holds marked text.
struct KeyCase {
    const char* name;
    KeyEvent event;
    bool consumed;
    QStringList calls = {};
    Check effect = nullptr;
    bool composing = false;
};

template <class T> Check has(T AppState::*field, T value) {
    return [=](const RecordingState& s) { return s.*field == value; };
}
Check opened(Overlay overlay) {
    return [=](const RecordingState& s) { return s.isOpen(overlay); };
}
Check closed(Overlay overlay) {
    return [=](const RecordingState& s) { return !s.isOpen(overlay); };
}
Check sortRow(int row) {
    return [=](const RecordingState& s) { return s.sortPicker.selection == row; };
}
Check on(bool AppState::*flag) {
    return has(flag, true);
}
Check off(bool AppState::*flag) {
    return has(flag, false);
}
Check both(Check first, Check second) {
    return [=](const RecordingState& s) { return first(s) && second(s); };
}
Check row(int selection) {
    return [=](const RecordingState& s) { return s.pane(PaneSide::left).selection == selection; };
}
Check focus(PaneSide side) {
    return has(&AppState::focusedSide, side);
}
Check layout(LayoutMode mode) {
    return has(&AppState::layoutMode, mode);
}
const Check focusLeft = focus(PaneSide::left);
const Check focusRight = focus(PaneSide::right);
const Check atRoot = [](const RecordingState& s) {
    return s.pane(PaneSide::left).location == FilerLocation::directory("/");
};
const KeyEvent esc = named(KeyCode::escape);
const KeyEvent space = coded(KeyCode::space, " ");
const KeyEvent shift2 = coded(KeyCode::mainRow2, "@", shift);

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
            input.composing = c.composing;
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
        input.composing = false;
    }

    Check leftIn(const QString& folder) const {
        const FilerLocation location =
            FilerLocation::directory(PathUtils::standardizedPath(folder));
        return [=](const RecordingState& s) { return s.pane(PaneSide::left).location == location; };
    }

    MemoryPreferences rights;
    std::unique_ptr<MemoryPreferences> preferences;
    TestDir dir;
    ComposingInput input;
};

TEST_F(KeyDispatchTest, FilerTableRowsInOrder) {
    const QString sub = dir.filePath(QStringLiteral("sub"));
    const Check gallery = layout(LayoutMode::filerGallery);
    const KeyEvent shiftPeriod = coded(KeyCode::period, ">", shift);
    const KeyModifier ctrl = KeyModifier::control;
    const KeyModifier option = KeyModifier::option;
    const Check taggedAndDown = [](auto& s) { return s.taggedKeys.size() == 1 && row(3)(s); };
    expectCases(
        [&](RecordingState& s) { s.setSelection(2, PaneSide::left); },
        {
            {"Esc without tree mode", esc, false},
            {"E", typed("e"), true, {"enterEditor"}},
            {".", typed("."), true, {"refreshTreeSessions"}, on(&AppState::showHiddenFiles)},
            {"Shift+period", shiftPeriod, true, {}, on(&AppState::showAllFileExtensions)},
            {"L", typed("l"), true, {"refreshTreeSessions"}, off(&AppState::showLocalizedNames)},
            {"T", typed("t"), true, {"toggleTreeMode"}},
            {"F", typed("f"), true, {}, on(&AppState::isFilterOpen)},
            {"S", typed("s"), true, {}, opened(Overlay::sortPicker)},
            {"J", typed("j"), true, {"openJumpDialog"}},
            {"A", typed("a"), true, {"openAttributePrompt"}},
            {"H", typed("h"), true, {"setStartupDirectoryToCurrent"}},
            {"V", typed("v"), true, {"openVolumePicker"}},
            {"X", typed("x"), true, {"openCursorEntryExternally"}},
            {"G", typed("g"), true, {"stopWatching(right)", "rebuildGalleryItems"}, gallery},
            {"Q", typed("q"), true, {}, on(&AppState::pendingQuit)},
            {"W", typed("w"), true, {}, opened(Overlay::wildcardPrompt)},
            {"+", typed("+", shift), true, {"addJumpBookmark"}},
            {"/", typed("/"), true, {}, atRoot},
            {"~", typed("~", shift), true, {}, leftIn(PathUtils::homeDirectory())},
            {"P", typed("p"), true, {"showFilePreview(a.txt)"}, on(&AppState::alwaysPreviewMode)},
            {"K", typed("k"), true, {"openCreateItemPrompt(folder)"}},
            {"I", typed("i"), true, {"openCreateItemPrompt(file)"}},
            {"N", typed("n"), true, {"openRenamePrompt"}},
            {"R", typed("r"), true, {"openRenamePrompt"}},
            {"C", typed("c"), true, {"startCopyOrMove(copy)"}},
            {"M", typed("m"), true, {"startCopyOrMove(move)"}},
            {"D", typed("d"), true, {"startDelete(files)"}},
            {"Control+D", typed("d", ctrl), true, {"startDelete(files)"}},
            {"Shift+D", typed("D", shift), true, {"startDelete(folders)"}},
            {"Shift+Control+D", typed("D", shift | ctrl), true},
            {"Shift+Option+D", typed("D", shift | option), true},
            {"Space", space, true, {}, taggedAndDown},
            {"Shift+2", shift2, true, {}, layout(LayoutMode::dualFiler)},
            {"Shift+Option+2", coded(KeyCode::mainRow2, "€", shift | option), false},
            {"Right", named(KeyCode::right), true, {}, focusRight},
            {"Enter on a file", named(KeyCode::returnKey), true, {"showFilePreview(a.txt)"}},
            {"Tab", named(KeyCode::tab), true, {}, focusRight},
            {"Home", named(KeyCode::home), true, {}, row(0)},
            {"End", named(KeyCode::end), true, {}, row(3)},
            {"PageUp", named(KeyCode::pageUp), true, {}, row(0)},
            {"PageDown", named(KeyCode::pageDown), true, {}, row(3)},
            {"Up", named(KeyCode::up), true, {}, row(1)},
            {"Down", named(KeyCode::down), true, {}, row(3)},
            {"Z", typed("z"), false},
            {"a key without characters", named(KeyCode::other), false},
            {"Command+Q", typed("q", KeyModifier::command), false, {}, off(&AppState::pendingQuit)},
        });
    // Enter on a folder, Delete and "-" go in and out of folders.
    expectCases([](RecordingState& s) { s.setSelection(1, PaneSide::left); },
                {{"Enter on a folder", named(KeyCode::keypadEnter), true, {}, leftIn(sub)}});
    expectCases(
        [&](RecordingState& s) {
            s.openLocation(FilerLocation::directory(sub), PaneSide::left, {});
        },
        {{"Delete", named(KeyCode::deleteBackward), true, {}, leftIn(dir.path())},
         {"-", typed("-"), true, {}, leftIn(dir.path())},
         {"O", typed("o"), true, {}, leftIn(dir.path())}});
}

TEST_F(KeyDispatchTest, TreeModeTakesEscAndArrowsOfItsPane) {
    expectCases(
        [](RecordingState& s) { s.pane(PaneSide::left).treeMode = true; },
        {
            {"Esc", esc, true, {"exitTreeModeByEsc"}},
            {"Right is the tree's, session or not", named(KeyCode::right), true, {}, focusLeft},
            {"Shift+Right moves the focus", named(KeyCode::right, shift), true, {}, focusRight},
        });
}

TEST_F(KeyDispatchTest, WithoutAnActiveSideFilerKeysAreConsumedAndDoNothing) {
    // The right half holds neither VIEWER nor a filer, and has the focus.
    const Arrange noActiveSide = [](RecordingState& s) {
        s.rightMode = RightPaneMode::gallery;
        s.focusedSide = PaneSide::right;
        s.setSelection(2, PaneSide::left);
    };
    const Check unchanged = [](auto& s) {
        return s.pane(PaneSide::left).selection == 2 && s.taggedKeys.isEmpty() && !s.isFilterOpen &&
               !s.isOpen(Overlay::sortPicker) && !s.isOpen(Overlay::wildcardPrompt);
    };
    const auto still = [&](const char* name, KeyEvent event) {
        return KeyCase{name, event, true, {}, unchanged};
    };
    expectCases(noActiveSide,
                {still("Space", space), still("Down", named(KeyCode::down)),
                 still("End", named(KeyCode::end)), still("F", typed("f")), still("S", typed("s")),
                 still("W", typed("w")), still("Enter", named(KeyCode::returnKey))});
}

TEST_F(KeyDispatchTest, AStandingDialogSwallowsEverythingButCommandKeys) {
    const Check untouched = [](auto& s) {
        return !s.isFilterOpen && !s.pendingQuit && s.pane(PaneSide::left).selection == 0 &&
               s.focusedSide == PaneSide::left;
    };
    expectCases([](RecordingState& s) { s.errorMessage = QStringLiteral("boom"); },
                {
                    {"F", typed("f"), true, {}, untouched},
                    {"Q", typed("q"), true, {}, untouched},
                    {"Down", named(KeyCode::down), true, {}, untouched},
                    {"Tab", named(KeyCode::tab), true, {}, untouched},
                    {"Esc", esc, true},
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
        {"create",
         [](auto& s) {
             s.createItemPrompt.kind = CreateItemKind::file;
             s.showOverlay(Overlay::createItemPrompt);
         },
         "cancelCreateItemPrompt"},
        {"rename", [](auto& s) { s.showOverlay(Overlay::renamePrompt); }, "cancelRenamePrompt"},
        {"copy path",
         [](auto& s) {
             s.copyMovePathPrompt.kind = AppState::CopyMoveKind::copy;
             s.showOverlay(Overlay::copyMovePathPrompt);
         },
         "cancelCopyMovePathPrompt"},
        {"create before rename",
         [](auto& s) {
             s.showOverlay(Overlay::renamePrompt);
             s.createItemPrompt.kind = CreateItemKind::folder;
             s.showOverlay(Overlay::createItemPrompt);
         },
         "cancelCreateItemPrompt"},
    };
    for (const Prompt& p : prompts) {
        SCOPED_TRACE(p.name);
        expectCases(p.open, {
                                {"Esc", esc, true, {p.cancel}},
                                {"Enter", named(KeyCode::returnKey), false},
                                {"A", typed("a"), false},
                                {"Space", space, false},
                                {"Esc while composing", esc, false, {}, nullptr, true},
                            });
    }
    expectCases(
        [](auto& s) { s.openWildcardPrompt(); },
        {{"Esc closes the wildcard prompt", esc, true, {}, closed(Overlay::wildcardPrompt)}});
}

TEST_F(KeyDispatchTest, AttributePromptTable) {
    expectCases(
        [](auto& s) {
            s.showOverlay(Overlay::attributePrompt);
            s.attributePrompt.focusField = 1;
        },
        {
            {"Esc", esc, true, {"cancelAttributePrompt"}},
            {"Up", named(KeyCode::up), true, {"moveAttributeFocus(-1)"}},
            {"Down", named(KeyCode::down), true, {"moveAttributeFocus(1)"}},
            {"Left", named(KeyCode::left), true, {"moveAttributeFieldCursor(-1)"}},
            {"Right", named(KeyCode::right), true, {"moveAttributeFieldCursor(1)"}},
            {"Space", space, true, {"toggleAttributeField"}},
            {"Enter", named(KeyCode::keypadEnter), true, {"applyAttributePrompt"}},
            {"7", typed("7"), true, {"typeAttributeDigit(7)"}},
            {"Q", typed("q"), true, {}, off(&AppState::pendingQuit)},
        });
    expectCases([](auto& s) { s.showOverlay(Overlay::attributePrompt); },
                {{"7 in the mode field", typed("7"), true}});
}

TEST_F(KeyDispatchTest, FileSearchTable) {
    using F = FileSearchFocusField;
    const auto focusOn = [](F field, int selection = 0) {
        return Arrange([=](RecordingState& s) {
            s.isFileSearchMode = true;
            s.fileSearchFocusField = field;
            s.fileSearchSelection = selection;
        });
    };
    expectCases(focusOn(F::results, 2),
                {
                    {"Esc", esc, true, {"exitFileSearchMode"}},
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
                    {"Space", space, false},
                    {"Left in results", named(KeyCode::left), false},
                    {"Z", typed("z"), false},
                });
    expectCases(
        focusOn(F::results, 0),
        {{"Up at the first result", named(KeyCode::up), true, {"cycleFileSearchFocus(-1)"}}});
    expectCases(focusOn(F::sort),
                {
                    {"Down", named(KeyCode::down), true, {"focusFileSearchResults"}},
                    {"Left", named(KeyCode::left), true, {"cycleFileSearchSort(-1)"}},
                    {"Space", space, true, {"toggleFileSearchChoice"}},
                    {"Enter", named(KeyCode::returnKey), true, {"focusFileSearchResults"}},
                });
    expectCases(focusOn(F::matchMode),
                {{"Right", named(KeyCode::right), true, {"cycleFileSearchMatchMode(1)"}},
                 {"Down", named(KeyCode::down), true, {"cycleFileSearchFocus(1)"}}});
    expectCases(focusOn(F::folder),
                {{"Enter", named(KeyCode::returnKey), true, {"openSearchTreeBox"}}});
    expectCases(
        focusOn(F::query),
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
            s.showOverlay(Overlay::searchTreeBox);
        },
        {
            {"Esc", esc, true, {"closeSearchTreeBox"}},
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
    expectCases([](auto& s) { s.showOverlay(Overlay::volumePicker); },
                {
                    {"Esc", esc, true, {"closeVolumePicker"}},
                    {"Up", named(KeyCode::up), true, {"moveVolumePickerSelection(-1)"}},
                    {"Down", named(KeyCode::down), true, {"moveVolumePickerSelection(1)"}},
                    {"Enter", named(KeyCode::returnKey), true, {"confirmVolumePicker(none)"}},
                    {"F", typed("f"), true, {}, off(&AppState::isFilterOpen)},
                });
    expectCases([](auto& s) { s.showOverlay(Overlay::openWithPicker); },
                {
                    {"Esc", esc, true, {"closeOpenWithPicker"}},
                    {"Up", named(KeyCode::up), true, {"moveOpenWithSelection(-1)"}},
                    {"Down", named(KeyCode::down), true, {"moveOpenWithSelection(1)"}},
                    {"Enter", named(KeyCode::keypadEnter), true, {"confirmOpenWith(none)"}},
                    {"Z", typed("z"), true},
                });
    const auto closedWith = [](FilerSortMode mode) {
        return [=](const RecordingState& s) {
            return !s.isOpen(Overlay::sortPicker) && s.sortMode == mode;
        };
    };
    expectCases([](auto& s) { s.openSortPicker(); },
                {
                    {"Esc", esc, true, {}, closed(Overlay::sortPicker)},
                    {"Up wraps", named(KeyCode::up), true, {}, sortRow(2)},
                    {"Down", named(KeyCode::down), true, {}, sortRow(1)},
                    {"Enter", named(KeyCode::returnKey), true, {}, closedWith(FilerSortMode::name)},
                    {"3", typed("3"), true, {}, closedWith(FilerSortMode::size)},
                    {"4", typed("4"), true, {}, opened(Overlay::sortPicker)},
                });
}

TEST_F(KeyDispatchTest, JumpDialogTable) {
    expectCases([](auto& s) { s.showOverlay(Overlay::jumpDialog); },
                {
                    {"Esc", esc, true, {"closeJumpDialog"}},
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
                    {"Esc while composing", esc, false, {}, nullptr, true},
                });
    expectCases(
        [](auto& s) {
            s.showOverlay(Overlay::jumpDialog);
            s.jumpDialog.selectedPath = QStringLiteral("/tmp");
        },
        {
            {"Delete", named(KeyCode::deleteBackward), true, {"removeJumpBookmark"}},
            {"ForwardDelete", named(KeyCode::forwardDelete), true, {"removeJumpBookmark"}},
            {"S", typed("s"), true, {"setStartupFromJumpSelection"}},
            {"Z is swallowed", typed("z"), true},
        });
}

TEST_F(KeyDispatchTest, GalleryTableWithTheFocusOnIt) {
    const Arrange gallery = [](auto& s) {
        s.layoutMode = LayoutMode::filerGallery;
        s.rightMode = RightPaneMode::gallery;
        s.focusedSide = PaneSide::right;
    };
    expectCases(gallery, {
                             {"Esc", esc, true, {}, layout(LayoutMode::filerViewer)},
                             {"Tab", named(KeyCode::tab), true, {}, focusLeft},
                             {"Shift+Left", named(KeyCode::left, shift), true, {}, focusLeft},
                             {"Left", named(KeyCode::left), true, {"moveGalleryCursor(-1,0)"}},
                             {"Right", named(KeyCode::right), true, {"moveGalleryCursor(1,0)"}},
                             {"Up", named(KeyCode::up), true, {"moveGalleryCursor(0,-1)"}},
                             {"Down", named(KeyCode::down), true, {"moveGalleryCursor(0,1)"}},
                             {"/", typed("/"), true, {}, atRoot},
                             {"Z is swallowed", typed("z"), true},
                             {"Shift+2", shift2, true, {}, layout(LayoutMode::dualFiler)},
                         });
    expectCases(
        [&](auto& s) {
            gallery(s);
            s.gallerySelection = 0;
        },
        {{"Enter", named(KeyCode::returnKey), true, {"openGallerySelection(none)"}}});
}

TEST_F(KeyDispatchTest, EditorWithTheFocusTakesOnlyEscTabAndLayouts) {
    const Check editing = has(&AppState::rightMode, RightPaneMode::editor);
    const Check asks = [](auto& s) { return s.pendingLayoutMode == LayoutMode::filerGallery; };
    expectCases(
        [](auto& s) {
            s.rightMode = RightPaneMode::editor;
            s.focusedSide = PaneSide::right;
        },
        {
            {"Esc", esc, true, {}, has(&AppState::rightMode, RightPaneMode::viewer)},
            {"Tab", named(KeyCode::tab), true, {}, focusLeft},
            {"Shift+3 asks first", coded(KeyCode::mainRow3, "#", shift), true, {}, asks},
            {"Q is typed", typed("q"), false},
            {"Down is the editor's", named(KeyCode::down), false},
            {"Esc while composing", esc, false, {}, editing, true},
        });
}

TEST_F(KeyDispatchTest, ViewerWithTheFocusPassesFilerLettersToTheLeftPane) {
    const KeyEvent shift1 = coded(KeyCode::mainRow1, "!", shift);
    expectCases(
        [](auto& s) { s.focusedSide = PaneSide::right; },
        {
            {"Tab", named(KeyCode::tab), true, {}, focusLeft},
            {"Left", named(KeyCode::left), true, {}, focusLeft},
            {"Right stays", named(KeyCode::right), true, {}, focusRight},
            {"Down steps on", named(KeyCode::down), true, {"showFilePreview(a.txt)"}, row(2)},
            {"E", typed("e"), true, {"enterEditor"}},
            {"Shift+1", shift1, true, {}, focusLeft},
            {". acts on the left pane", typed("."), true, {}, on(&AppState::showHiddenFiles)},
            {"Space tags on the left", space, true, {}, row(1)},
        });
    expectCases(
        [](auto& s) {
            s.focusedSide = PaneSide::right;
            s.alwaysPreviewMode = true;
            s.setSelection(2, PaneSide::left);
        },
        {{"Shift+1 previews anew", shift1, true, {"showFilePreview(a.txt)"}, focusLeft}});
}

TEST_F(KeyDispatchTest, OpenFilterTable) {
    const auto closedOn = [](int selection) {
        return [=](auto& s) {
            return !s.isFilterOpen && s.pane(PaneSide::left).selection == selection;
        };
    };
    const auto openOn = [](int selection) {
        return [=](auto& s) {
            return s.isFilterOpen && s.pane(PaneSide::left).selection == selection;
        };
    };
    expectCases(
        [](auto& s) {
            s.openFilter();
            s.filterQuery = QStringLiteral("b.t");
            s.applyFilter();
            s.setSelection(1, PaneSide::left); // "b.txt" in ("..", "b.txt")
        },
        {
            {"Esc keeps the row", esc, true, {}, closedOn(3)},
            {"Tab keeps the index", named(KeyCode::tab), true, {}, both(closedOn(1), focusRight)},
            {"Right leaves",
             named(KeyCode::right),
             true,
             {},
             both(off(&AppState::isFilterOpen), focusRight)},
            {"Up moves the list's cursor", named(KeyCode::up), true, {}, openOn(0)},
            {"Home", named(KeyCode::home), true, {}, openOn(0)},
            {"Enter shows the file", named(KeyCode::returnKey), true, {"showFilePreview(b.txt)"}},
            {"Shift+2", shift2, true, {}, layout(LayoutMode::dualFiler)},
            {"Q is typed into the field", typed("q"), false},
            {"Delete edits the field", named(KeyCode::deleteBackward), false},
            {"Esc while composing", esc, false, {}, on(&AppState::isFilterOpen), true},
        });
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
