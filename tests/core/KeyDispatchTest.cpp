// Which command each key reaches in each mode, read off the key tables row by
// row without running anything; then, through handleKeyDown on a real folder,
// the order in which the modes are asked and what the keys do in the end.
#include "core/KeyTestSupport.h"

#include "core/AppState.h"
#include "core/KeyTables.h"
#include "core/PathUtils.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <QMetaEnum>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>

// Failures name the command.
void PrintTo(const KeyCommand& c, std::ostream* out) {
    *out << QMetaEnum::fromType<KeyCommand::Command>().valueToKey(int(c.command)) << '(' << c.first
         << ", " << c.second;
    if (c.index) {
        *out << ", row " << *c.index;
    }
    *out << ')';
}

using namespace KeyTest;

namespace {

using enum KeyCommand::Command;
using KeyTables::Row;
using Table = Row (*)(const AppState&, const KeyPress&);
using Arrange = std::function<void(AppState&)>;
using Check = std::function<bool(const AppState&)>;
using CopyMove = AppState::CopyMoveKind;

const Row passedOn = std::nullopt;
const Row swallowed = KeyCommand{};
const bool whileComposing = true;
const PaneSide left = PaneSide::left;
const PaneSide right = PaneSide::right;

const KeyModifier ctrl = KeyModifier::control;
const KeyModifier option = KeyModifier::option;
const KeyEvent esc = named(KeyCode::escape), tab = named(KeyCode::tab);
const KeyEvent enter = named(KeyCode::returnKey), keypadEnter = named(KeyCode::keypadEnter);
const KeyEvent up = named(KeyCode::up), down = named(KeyCode::down);
const KeyEvent leftKey = named(KeyCode::left), rightKey = named(KeyCode::right);
const KeyEvent home = named(KeyCode::home), end = named(KeyCode::end);
const KeyEvent pageUp = named(KeyCode::pageUp), pageDown = named(KeyCode::pageDown);
const KeyEvent backspace = named(KeyCode::deleteBackward);
const KeyEvent forwardDelete = named(KeyCode::forwardDelete);
const KeyEvent space = coded(KeyCode::space, " ");
const KeyEvent shift1 = coded(KeyCode::mainRow1, "!", shift);
const KeyEvent shift2 = coded(KeyCode::mainRow2, "@", shift);
const KeyEvent shift3 = coded(KeyCode::mainRow3, "#", shift);

// A key whose characters differ from its characters without modifiers.
KeyEvent typedAs(const QString& characters, const std::optional<QString>& ignoringModifiers,
                 KeyModifiers modifiers = {}) {
    KeyEvent event = typed(characters, modifiers);
    event.charactersIgnoringModifiers = ignoringModifiers;
    return event;
}

KeyCommand step(KeyCommand::Command command, int first, int second = 0) {
    return KeyCommand(command, first, second);
}
template <typename Enum> KeyCommand with(KeyCommand::Command command, Enum value) {
    return KeyCommand::with(command, value);
}

std::string describe(const KeyEvent& e) {
    return QStringLiteral("key code %1 typing \"%2\" (\"%3\" without modifiers), modifiers %4")
        .arg(e.keyCode)
        .arg(e.characters.value_or(QStringLiteral("-")),
             e.charactersIgnoringModifiers.value_or(QStringLiteral("-")))
        .arg(e.modifiers.toInt())
        .toStdString();
}

// One row of a table as a test reads it: the key, and what the table answers.
struct TableRow {
    KeyEvent event;
    Row expected;
    bool composing = false;
};

// A row of a table that is also run: the key must then be consumed as the
// table answers, and leave the effect behind.
struct RunRow {
    KeyEvent event;
    Row expected;
    Check effect = nullptr;
};

// One key through handleKeyDown, and what it left behind.
struct KeyCase {
    const char* name;
    KeyEvent event;
    bool consumed;
    Check effect = nullptr;
    bool composing = false;
};

// The layers of the screen that Esc takes away one by one, the top first.
struct Layer {
    const char* name;
    Arrange raise;
    Check open;
};

template <class T> Check has(T AppState::*field, T value) {
    return [=](const AppState& s) { return s.*field == value; };
}
Check on(bool AppState::*flag) {
    return has(flag, true);
}
Check off(bool AppState::*flag) {
    return has(flag, false);
}
Check both(Check first, Check second) {
    return [=](const AppState& s) { return first(s) && second(s); };
}
Check row(int selection) {
    return [=](const AppState& s) { return s.pane(left).selection == selection; };
}
Check opened(Overlay overlay) {
    return [=](const AppState& s) { return s.isOpen(overlay); };
}
Check closed(Overlay overlay) {
    return [=](const AppState& s) { return !s.isOpen(overlay); };
}
Check sortRow(int row) {
    return [=](const AppState& s) { return s.sortPicker.selection == row; };
}
Check inTreeMode(bool on) {
    return [=](const AppState& s) { return s.pane(PaneSide::left).treeMode == on; };
}
Check creating(CreateItemKind kind) {
    return [=](const AppState& s) {
        return s.isOpen(Overlay::createItemPrompt) && s.createItemPrompt.kind == kind;
    };
}
Check askingPath(AppState::CopyMoveKind kind) {
    return [=](const AppState& s) {
        return s.isOpen(Overlay::copyMovePathPrompt) && s.copyMovePathPrompt.kind == kind;
    };
}
Check layout(LayoutMode mode) {
    return has(&AppState::layoutMode, mode);
}
// Only that the key was consumed or not counts.
const Check nothing = [](const AppState&) { return true; };
const Check focusLeft = has(&AppState::focusedSide, left);
const Check focusRight = has(&AppState::focusedSide, right);
const Check atRoot = [](const AppState& s) {
    return s.pane(left).location == FilerLocation::directory("/");
};

const Arrange galleryFocused = [](AppState& s) {
    s.layoutMode = LayoutMode::filerGallery;
    s.rightMode = RightPaneMode::gallery;
    s.focusedSide = right;
};
const Arrange editorFocused = [](AppState& s) {
    s.rightMode = RightPaneMode::editor;
    s.focusedSide = right;
};
const Arrange viewerFocused = [](AppState& s) { s.focusedSide = right; };

class KeyDispatchTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&rights);
        dir.makeFolder(QStringLiteral("sub"));
        dir.makeFile(QStringLiteral("a.txt"), "aa");
        dir.makeFile(QStringLiteral("b.txt"), "b");
    }
    void TearDown() override {
        state.reset();
        FileAccessMemory::attach(nullptr);
    }

    // A fresh state over the folder ("..", "sub", "a.txt", "b.txt"), with
    // its own settings so that a toggle of one case can't reach the next.
    AppState& fresh(const Arrange& arrange) {
        state.reset();
        preferences = std::make_unique<MemoryPreferences>();
        preferences->setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(*preferences);
        state->setTextInputHost(&input);
        state->refreshAll();
        waitForListings(*state);
        if (arrange) {
            arrange(*state);
            waitForListings(*state);
        }
        return *state;
    }

    void expectRows(Table table, const Arrange& arrange, const std::vector<TableRow>& rows) {
        const AppState& s = fresh(arrange);
        for (const TableRow& r : rows) {
            input.composing = r.composing;
            EXPECT_EQ(table(s, KeyPress(r.event)), r.expected)
                << describe(r.event) << (r.composing ? " while composing" : "");
        }
        input.composing = false;
    }

    // Each row read off the table, and each row with an effect run through
    // handleKeyDown on a state of its own.
    void expectRowsAndRuns(Table table, const Arrange& arrange, const std::vector<RunRow>& rows) {
        std::vector<KeyCase> cases;
        for (const RunRow& r : rows) {
            const AppState& s = fresh(arrange);
            EXPECT_EQ(table(s, KeyPress(r.event)), r.expected) << describe(r.event);
            if (r.effect) {
                cases.push_back({"", r.event, r.expected.has_value(), r.effect});
            }
        }
        for (const KeyCase& c : cases) {
            SCOPED_TRACE(describe(c.event));
            expectCases(arrange, {c});
        }
    }

    void expectCases(const Arrange& arrange, const std::vector<KeyCase>& cases) {
        for (const KeyCase& c : cases) {
            input.composing = c.composing;
            AppState& s = fresh(arrange);
            EXPECT_EQ(s.handleKeyDown(c.event), c.consumed) << c.name;
            waitForListings(s);
            if (c.effect) {
                EXPECT_TRUE(c.effect(s)) << c.name;
            }
        }
        input.composing = false;
    }

    // All layers raised; each Esc must take the top one and leave the rest.
    void expectEscPeels(const std::vector<Layer>& layers) {
        AppState& s = fresh([&](AppState& raised) {
            for (const Layer& layer : layers) {
                layer.raise(raised);
            }
        });
        for (size_t i = 0; i < layers.size(); ++i) {
            EXPECT_TRUE(s.handleKeyDown(esc)) << layers[i].name;
            EXPECT_FALSE(layers[i].open(s)) << layers[i].name << " is still open";
            for (size_t j = i + 1; j < layers.size(); ++j) {
                EXPECT_TRUE(layers[j].open(s))
                    << layers[j].name << " closed with " << layers[i].name;
            }
        }
        EXPECT_FALSE(s.handleKeyDown(esc)) << "Esc with nothing open";
    }

    Check leftIn(const QString& folder) const {
        const FilerLocation location =
            FilerLocation::directory(PathUtils::standardizedPath(folder));
        return [=](const AppState& s) { return s.pane(PaneSide::left).location == location; };
    }
    // VIEWER was sent to the file.
    Check showing(const char* name) const {
        const QString path = PathUtils::standardizedPath(dir.filePath(QString::fromUtf8(name)));
        return [=](const AppState& s) { return s.editorURL == path; };
    }

    MemoryPreferences rights;
    std::unique_ptr<MemoryPreferences> preferences;
    TestDir dir;
    ComposingInput input;
    std::unique_ptr<AppState> state;
};

// Run on a.txt (row 2) of ("..", "sub", "a.txt", "b.txt").
TEST_F(KeyDispatchTest, FilerTableRowsInOrderAndWhatTheyDo) {
    using Delete = AppState::DeleteKind;
    const auto deleting = [](bool folders) {
        return [=](const AppState& s) {
            return s.pendingDelete && s.pendingDelete->deletingFolders == folders;
        };
    };
    const Check tagged = [](const AppState& s) { return s.taggedKeys.size() == 1 && row(3)(s); };
    // Esc needs tree mode (row 1). Rows 2 to 30 need a key, so "+" typed with
    // none passes on; "~" typed on the N key is row 21, before row 25.
    expectRowsAndRuns(
        KeyTables::filerCommand, [](AppState& s) { s.setSelection(2, left); },
        {{esc, passedOn},
         {typed("e"), enterEditor},
         {typed("E", shift), enterEditor},
         {typed("."), toggleHiddenFiles, on(&AppState::showHiddenFiles)},
         {coded(KeyCode::period, ">", shift), toggleAllExtensions,
          on(&AppState::showAllFileExtensions)},
         {coded(KeyCode::period, ">", shift | option), passedOn},
         {typed("l"), toggleLocalizedNames, off(&AppState::showLocalizedNames)},
         {typed("t"), toggleTreeMode, inTreeMode(true)},
         {typed("f"), openFilter, on(&AppState::isFilterOpen)},
         {typed("f", ctrl), openFilter},
         {typed("s"), openSortPicker, opened(Overlay::sortPicker)},
         {typed("j"), openJumpDialog},
         {typed("a"), openAttributePrompt},
         {typed("h"), setStartupDirectoryToCurrent},
         {typed("o"), goToStartupDirectory},
         {typed("u"), goToHomeDirectory},
         {typed("v"), openVolumePicker},
         {typed("x"), openCursorEntryExternally},
         {typed("g"), enterGalleryLayout, layout(LayoutMode::filerGallery)},
         {typed("q"), requestQuit, on(&AppState::pendingQuit)},
         {typed("w"), openWildcardPrompt, opened(Overlay::wildcardPrompt)},
         {typed("+", shift), addJumpBookmark},
         {typedAs("+", "=", shift), addJumpBookmark},
         {typedAs("+", std::nullopt), passedOn},
         {typed("/"), goToRootDirectory, atRoot},
         {typed("~", shift), goToHomeDirectory, leftIn(PathUtils::homeDirectory())},
         {typedAs("~", "n", option), goToHomeDirectory},
         {typed("p"), toggleAlwaysPreview,
          both(on(&AppState::alwaysPreviewMode), showing("a.txt"))},
         {typed("k"), with(openCreateItemPrompt, CreateItemKind::folder),
          creating(CreateItemKind::folder)},
         {typed("i"), with(openCreateItemPrompt, CreateItemKind::file),
          creating(CreateItemKind::file)},
         {typed("n"), openRenamePrompt},
         {typed("r"), openRenamePrompt},
         {typed("c"), with(startCopyOrMove, CopyMove::copy), askingPath(CopyMove::copy)},
         {typed("m"), with(startCopyOrMove, CopyMove::move), askingPath(CopyMove::move)},
         {typed("C", shift), with(startFolderCopyOrMove, CopyMove::copy)},
         {typed("M", shift), with(startFolderCopyOrMove, CopyMove::move)},
         {typed("c", ctrl), with(startCopyOrMove, CopyMove::copy)},
         {typed("M", shift | option), swallowed},
         {typed("d"), with(startDelete, Delete::files), deleting(false)},
         {typed("d", ctrl), with(startDelete, Delete::files)},
         {typed("D", shift), with(startDelete, Delete::folders)},
         {typed("D", shift | ctrl), swallowed},
         {typed("D", shift | option), swallowed},
         {space, toggleTagAtCursor, tagged},
         {shift1, with(setLayoutMode, LayoutMode::filerViewer)},
         {shift2, with(setLayoutMode, LayoutMode::dualFiler), layout(LayoutMode::dualFiler)},
         {shift3, with(setLayoutMode, LayoutMode::filerGallery)},
         {coded(KeyCode::mainRow4, "$", shift), enterFileSearchMode},
         {coded(KeyCode::mainRow2, "€", shift | option), passedOn, nothing},
         {coded(KeyCode::mainRow2, "2"), passedOn},
         {leftKey, with(focusPane, left)},
         {rightKey, with(focusPane, right), focusRight},
         {named(KeyCode::right, shift), with(focusPane, right)},
         {enter, openCursorEntry, showing("a.txt")},
         {keypadEnter, openCursorEntry},
         {tab, with(focusPane, right), focusRight},
         {backspace, goToParentDirectory},
         {home, moveCursorToTop, row(0)},
         {end, moveCursorToBottom, row(3)},
         {pageUp, step(moveCursorByPage, -1), row(0)},
         {pageDown, step(moveCursorByPage, 1), row(3)},
         {up, step(moveCursor, -1), row(1)},
         {down, step(moveCursor, 1), row(3)},
         {typed("-"), goToParentDirectory},
         {typed("z"), passedOn, nothing},
         {named(KeyCode::other), passedOn, nothing}});
    // Tab goes to the other side, whichever that is.
    expectRows(KeyTables::filerCommand,
               [](AppState& s) {
                   s.layoutMode = LayoutMode::dualFiler;
                   s.focusedSide = right;
               },
               {{tab, with(focusPane, left)}});
    // On the folder: Enter goes in, Shift+D asks to delete the folder. Command
    // keys are the menus' before any table's.
    const QString sub = dir.filePath(QStringLiteral("sub"));
    expectCases(
        [](AppState& s) { s.setSelection(1, left); },
        {{"Enter on a folder", keypadEnter, true, leftIn(sub)},
         {"Shift+D", typed("D", shift), true, deleting(true)},
         {"Command+Q", typed("q", KeyModifier::command), false, off(&AppState::pendingQuit)}});
    expectCases([&](AppState& s) { s.openLocation(FilerLocation::directory(sub), left, {}); },
                {{"Delete", backspace, true, leftIn(dir.path())},
                 {"-", typed("-"), true, leftIn(dir.path())},
                 {"O", typed("o"), true, leftIn(dir.path())}});
    expectCases([](AppState& s) { s.toggleTreeMode(); },
                {{"Esc leaves tree mode", esc, true, inTreeMode(false)}});
}

TEST_F(KeyDispatchTest, TreeModeTakesEscArrowsAndMovesOfTheActivePane) {
    // Without a session the tree keeps Left and Right and gives the rest up.
    expectRows(KeyTables::filerCommand, [](AppState& s) { s.pane(PaneSide::left).treeMode = true; },
               {{esc, exitTreeModeByEsc},
                {rightKey, swallowed},
                {leftKey, swallowed},
                {named(KeyCode::right, shift), with(focusPane, right)},
                {down, step(moveCursor, 1)},
                {enter, openCursorEntry}});
    expectRows(KeyTables::filerCommand, [](AppState& s) { s.toggleTreeMode(); },
               {{esc, exitTreeModeByEsc},
                {typed("e"), enterEditor},
                {enter, activateTreeSelection},
                {keypadEnter, activateTreeSelection},
                {up, step(moveTreeSelection, -1)},
                {down, step(moveTreeSelection, 1)},
                {home, treeSelectFirst},
                {end, treeSelectLast},
                {pageUp, step(treePage, -1)},
                {pageDown, step(treePage, 1)},
                {leftKey, treeStepLeft},
                {rightKey, treeStepRight},
                {named(KeyCode::left, shift), with(focusPane, left)},
                {tab, with(focusPane, right)},
                {typed("-"), goToParentDirectory}});
    // Only the pane the filer commands act on counts.
    expectRows(KeyTables::filerCommand,
               [](AppState& s) {
                   s.layoutMode = LayoutMode::dualFiler;
                   s.pane(PaneSide::right).treeMode = true;
               },
               {{esc, passedOn}, {rightKey, with(focusPane, right)}});
}

TEST_F(KeyDispatchTest, TextPromptsGiveEveryKeyButEscToTheirField) {
    struct Prompt {
        const char* name;
        Arrange open;
        KeyCommand::Command cancel;
    };
    const Prompt prompts[] = {
        {"create",
         [](AppState& s) {
             s.createItemPrompt.kind = CreateItemKind::file;
             s.showOverlay(Overlay::createItemPrompt);
         },
         cancelCreateItemPrompt},
        {"wildcard", [](AppState& s) { s.showOverlay(Overlay::wildcardPrompt); },
         cancelWildcardPrompt},
        {"rename", [](AppState& s) { s.showOverlay(Overlay::renamePrompt); }, cancelRenamePrompt},
        {"copy path",
         [](AppState& s) {
             s.copyMovePathPrompt.kind = CopyMove::copy;
             s.showOverlay(Overlay::copyMovePathPrompt);
         },
         cancelCopyMovePathPrompt},
        {"create before rename",
         [](AppState& s) {
             s.showOverlay(Overlay::renamePrompt);
             s.createItemPrompt.kind = CreateItemKind::folder;
             s.showOverlay(Overlay::createItemPrompt);
         },
         cancelCreateItemPrompt},
    };
    for (const Prompt& p : prompts) {
        SCOPED_TRACE(p.name);
        expectRows(KeyTables::textPromptCommand, p.open,
                   {{esc, p.cancel},
                    {enter, passedOn},
                    {typed("a"), passedOn},
                    {space, passedOn},
                    {esc, passedOn, whileComposing}});
    }
    expectCases([](AppState& s) { s.openWildcardPrompt(); },
                {{"Esc closes the wildcard prompt", esc, true, closed(Overlay::wildcardPrompt)}});
}

TEST_F(KeyDispatchTest, AttributePromptTable) {
    const auto onField = [](int field) {
        return [=](AppState& s) { s.attributePrompt.focusField = field; };
    };
    expectRows(KeyTables::attributePromptCommand, onField(1),
               {{esc, cancelAttributePrompt},
                {up, step(moveAttributeFocus, -1)},
                {down, step(moveAttributeFocus, 1)},
                {leftKey, step(moveAttributeFieldCursor, -1)},
                {rightKey, step(moveAttributeFieldCursor, 1)},
                {space, toggleAttributeField},
                {keypadEnter, applyAttributePrompt},
                {enter, applyAttributePrompt},
                {typed("7"), step(typeAttributeDigit, '7')},
                {typed("q"), swallowed},
                {esc, passedOn, whileComposing}});
    expectRows(KeyTables::attributePromptCommand, onField(2),
               {{typed("3"), step(typeAttributeDigit, '3')}});
    expectRows(KeyTables::attributePromptCommand, onField(0), {{typed("7"), swallowed}});
}

TEST_F(KeyDispatchTest, FileSearchTable) {
    using F = FileSearchFocusField;
    const auto focusOn = [](F field, int selection = 0) {
        return Arrange([=](AppState& s) {
            s.isFileSearchMode = true;
            s.fileSearchFocusField = field;
            s.fileSearchSelection = selection;
        });
    };
    const Table table = KeyTables::fileSearchModeCommand;
    expectRows(table, focusOn(F::results, 2),
               {{esc, exitFileSearchMode},
                {tab, step(cycleFileSearchFocus, 1)},
                {named(KeyCode::tab, shift | option), step(cycleFileSearchFocus, -1)},
                {up, step(moveFileSearchSelection, -1)},
                {down, step(moveFileSearchSelection, 1)},
                {home, fileSearchSelectFirst},
                {end, fileSearchSelectLast},
                {pageUp, step(fileSearchPage, -1)},
                {pageDown, step(fileSearchPage, 1)},
                {enter, openFileSearchResult},
                {typed("e"), editFileSearchResult},
                {typed("x"), openFileSearchResultExternally},
                {space, passedOn},
                {leftKey, passedOn},
                {typed("z"), passedOn},
                {esc, passedOn, whileComposing}});
    expectRows(table, focusOn(F::results, 0), {{up, step(cycleFileSearchFocus, -1)}});
    expectRows(table, focusOn(F::sort),
               {{down, focusFileSearchResults},
                {leftKey, step(cycleFileSearchSort, -1)},
                {rightKey, step(cycleFileSearchSort, 1)},
                {space, toggleFileSearchChoice},
                {enter, focusFileSearchResults},
                {typed("e"), editFileSearchResult}});
    expectRows(table, focusOn(F::matchMode),
               {{rightKey, step(cycleFileSearchMatchMode, 1)},
                {down, step(cycleFileSearchFocus, 1)},
                {space, toggleFileSearchChoice}});
    expectRows(table, focusOn(F::folder), {{keypadEnter, openSearchTreeBox}, {space, passedOn}});
    // The typing fields keep letters and Left and Right, but not Home.
    for (F typing : {F::query, F::periodFrom, F::periodTo}) {
        expectRows(table, focusOn(typing),
                   {{typed("e"), passedOn},
                    {rightKey, passedOn},
                    {home, fileSearchSelectFirst},
                    {enter, focusFileSearchResults}});
    }
}

TEST_F(KeyDispatchTest, FileSearchModeGivesKeysToWhatStandsOverTheForm) {
    const auto searching = [](const Arrange& over) {
        return [=](AppState& s) {
            s.isFileSearchMode = true;
            s.fileSearchFocusField = FileSearchFocusField::results;
            over(s);
        };
    };
    const Table table = KeyTables::fileSearchModeCommand;
    expectRows(table, searching([](AppState& s) { s.showOverlay(Overlay::openWithPicker); }),
               {{esc, closeOpenWithPicker},
                {down, step(moveOpenWithSelection, 1)},
                {typed("e"), swallowed},
                {esc, passedOn, whileComposing}});
    expectRows(table, searching([](AppState& s) { s.showOverlay(Overlay::searchTreeBox); }),
               {{esc, closeSearchTreeBox}, {typed("e"), swallowed}});
    expectRows(table, searching(editorFocused),
               {{esc, exitEditorToViewer},
                {tab, with(focusPane, left)},
                {typed("e"), passedOn},
                {down, passedOn}});
}

TEST_F(KeyDispatchTest, SearchTreeBoxTable) {
    // Without a session End finds no last row.
    expectRows(KeyTables::searchTreeBoxCommand, nullptr,
               {{esc, closeSearchTreeBox},
                {up, step(moveSearchTreeBoxRow, -1)},
                {down, step(moveSearchTreeBoxRow, 1)},
                {leftKey, step(collapseOrExpandSearchTreeBoxRow, false)},
                {rightKey, step(collapseOrExpandSearchTreeBoxRow, true)},
                {pageUp, step(moveSearchTreeBoxRow, -23)},
                {pageDown, step(moveSearchTreeBoxRow, 23)},
                {home, step(selectSearchTreeBoxRow, 0)},
                {end, swallowed},
                {enter, confirmSearchTreeBox},
                {typed("z"), swallowed}});
    // With the box over the folder: its row and "sub" below it.
    expectRows(KeyTables::searchTreeBoxCommand,
               [](AppState& s) {
                   s.isFileSearchMode = true;
                   s.openSearchTreeBox();
               },
               {{end, step(selectSearchTreeBoxRow, 1)}});
}

TEST_F(KeyDispatchTest, PickerTables) {
    expectRows(KeyTables::volumePickerCommand, nullptr,
               {{esc, closeVolumePicker},
                {up, step(moveVolumePickerSelection, -1)},
                {down, step(moveVolumePickerSelection, 1)},
                {enter, KeyCommand::at(confirmVolumePicker, std::nullopt)},
                {typed("f"), swallowed}});
    expectRows(KeyTables::openWithPickerCommand, nullptr,
               {{esc, closeOpenWithPicker},
                {up, step(moveOpenWithSelection, -1)},
                {down, step(moveOpenWithSelection, 1)},
                {keypadEnter, KeyCommand::at(confirmOpenWith, std::nullopt)},
                {typed("z"), swallowed}});
    expectRows(KeyTables::sortPickerCommand, nullptr,
               {{esc, closeSortPicker},
                {up, step(moveSortPickerSelection, -1)},
                {down, step(moveSortPickerSelection, 1)},
                {enter, KeyCommand::at(confirmSortPicker, std::nullopt)},
                {typed("1"), KeyCommand::at(confirmSortPicker, 0)},
                {typed("3"), KeyCommand::at(confirmSortPicker, 2)},
                {typed("4"), swallowed},
                {shift1, swallowed}});
    // The picker's own moves and picks, carried out.
    const auto closedWith = [](FilerSortMode mode) {
        return
            [=](const AppState& s) { return !s.isOpen(Overlay::sortPicker) && s.sortMode == mode; };
    };
    expectCases([](AppState& s) { s.openSortPicker(); },
                {{"Esc", esc, true, closed(Overlay::sortPicker)},
                 {"Up wraps", up, true, sortRow(2)},
                 {"Down", down, true, sortRow(1)},
                 {"Enter", enter, true, closedWith(FilerSortMode::name)},
                 {"3", typed("3"), true, closedWith(FilerSortMode::size)},
                 {"4", typed("4"), true, opened(Overlay::sortPicker)}});
}

TEST_F(KeyDispatchTest, JumpDialogTable) {
    // With no row selected, Delete and S edit the filter.
    expectRows(KeyTables::jumpDialogCommand, nullptr,
               {{esc, closeJumpDialog},
                {home, clearJumpSelection},
                {up, step(moveJumpSelection, -1)},
                {down, step(moveJumpSelection, 1)},
                {enter, confirmJumpDialog},
                {coded(KeyCode::mainRow1, "1"), step(jumpToNumberedBookmark, 1)},
                {typed("9"), step(jumpToNumberedBookmark, 9)},
                {typed("0"), passedOn},
                {typed("12"), passedOn},
                {typed("+", shift), addJumpBookmark},
                {backspace, passedOn},
                {forwardDelete, passedOn},
                {typed("s"), passedOn},
                {esc, passedOn, whileComposing}});
    expectRows(KeyTables::jumpDialogCommand,
               [](AppState& s) { s.jumpDialog.selectedPath = QStringLiteral("/tmp"); },
               {{backspace, removeJumpBookmark},
                {forwardDelete, removeJumpBookmark},
                {typed("s"), setStartupFromJumpSelection},
                {typed("5"), step(jumpToNumberedBookmark, 5)},
                {typedAs("+", "="), addJumpBookmark},
                {typed("z"), swallowed}});
}

TEST_F(KeyDispatchTest, GalleryTableWithTheFocusOnItAndWhatItDoes) {
    expectRowsAndRuns(
        KeyTables::galleryCommand, galleryFocused,
        {{esc, exitGallery, layout(LayoutMode::filerViewer)},
         {tab, with(focusPane, left), focusLeft},
         {named(KeyCode::left, shift), with(focusPane, left), focusLeft},
         {named(KeyCode::right, shift), with(focusPane, right)},
         {backspace, goToParentDirectory},
         {typed("-"), goToParentDirectory},
         {typed("/"), goToRootDirectory, atRoot},
         {typed("~", shift), goToHomeDirectory},
         {leftKey, step(moveGalleryCursor, -1, 0)},
         {named(KeyCode::right, shift | option), step(moveGalleryCursor, 1, 0)},
         {up, step(moveGalleryCursor, 0, -1)},
         {down, step(moveGalleryCursor, 0, 1)},
         {enter, with(activateSelection, left)},
         {shift2, with(setLayoutMode, LayoutMode::dualFiler), layout(LayoutMode::dualFiler)},
         {typed("z"), swallowed}});
    expectRows(KeyTables::galleryCommand,
               [](AppState& s) {
                   galleryFocused(s);
                   s.gallerySelection = 0;
               },
               {{enter, KeyCommand::at(openGallerySelection, std::nullopt)}});
}

TEST_F(KeyDispatchTest, EditorAndViewerTablesWithTheFocusOnThemAndWhatTheyDo) {
    // Leaving EDITOR for another layout asks first.
    const Check asks = [](const AppState& s) {
        return s.pendingLayoutMode == LayoutMode::filerGallery;
    };
    expectRowsAndRuns(KeyTables::editorCommand, editorFocused,
                      {{esc, exitEditorToViewer},
                       {tab, with(focusPane, left), focusLeft},
                       {shift3, with(setLayoutMode, LayoutMode::filerGallery), asks},
                       {typed("q"), passedOn},
                       {down, passedOn}});
    expectRows(KeyTables::editorCommand, editorFocused, {{esc, passedOn, whileComposing}});
    // What VIEWER does not take goes on to the filter and the filer.
    expectRowsAndRuns(
        KeyTables::viewerCommand, viewerFocused,
        {{tab, with(focusPane, left)},
         {leftKey, with(focusPane, left), focusLeft},
         {rightKey, with(focusPane, right), focusRight},
         {up, step(pageAnimatedFrameOrStepViewerFile, -1)},
         {down, step(pageAnimatedFrameOrStepViewerFile, 1), both(row(2), showing("a.txt"))},
         {shift1, with(setLayoutMode, LayoutMode::filerViewer), focusLeft},
         {typed("e"), enterEditor},
         {typed("."), passedOn},
         {space, passedOn},
         {esc, passedOn}});
    expectCases(viewerFocused,
                {{". acts on the left pane", typed("."), true, on(&AppState::showHiddenFiles)},
                 {"Space tags on the left", space, true, row(1)}});
    expectCases(
        [](AppState& s) {
            viewerFocused(s);
            s.alwaysPreviewMode = true;
            s.setSelection(2, left);
        },
        {{"Shift+1 previews anew", shift1, true, both(focusLeft, showing("a.txt"))}});
}

// The moves are the list's, and leaving keeps the row: "b.txt" stands
// second of ("..", "b.txt") under the filter and last of the four without.
TEST_F(KeyDispatchTest, OpenFilterTableAndWhatItDoes) {
    const auto filterOn = [](bool open, int selection) {
        return [=](const AppState& s) { return s.isFilterOpen == open && row(selection)(s); };
    };
    const Arrange filtered = [](AppState& s) {
        s.openFilter();
        s.filterQuery = QStringLiteral("b.t");
        s.applyFilter();
        s.setSelection(1, left);
    };
    expectRowsAndRuns(
        KeyTables::filterCommand, filtered,
        {{shift2, with(setLayoutMode, LayoutMode::dualFiler), layout(LayoutMode::dualFiler)},
         {esc, step(closeFilter, true), filterOn(false, 3)},
         {up, step(moveCursor, -1), filterOn(true, 0)},
         {down, step(moveCursor, 1)},
         {home, moveCursorToTop, filterOn(true, 0)},
         {end, moveCursorToBottom},
         {pageUp, step(moveCursorByPage, -1)},
         {pageDown, step(moveCursorByPage, 1)},
         {leftKey, with(closeFilterAndFocusPane, left)},
         {rightKey, with(closeFilterAndFocusPane, right),
          both(off(&AppState::isFilterOpen), focusRight)},
         {enter, with(activateSelection, left), showing("b.txt")},
         {tab, with(focusPaneAndCloseFilter, right), both(filterOn(false, 1), focusRight)},
         {typed("q"), passedOn, nothing},
         {backspace, passedOn}});
    expectRows(KeyTables::filterCommand, filtered, {{esc, passedOn, whileComposing}});
    expectCases(filtered,
                {{"Esc while composing", esc, false, on(&AppState::isFilterOpen), whileComposing}});
    // In tree mode without a session, the moves are the list's.
    expectRows(KeyTables::filterCommand,
               [](AppState& s) { s.pane(PaneSide::left).treeMode = true; },
               {{up, step(moveCursor, -1)},
                {leftKey, swallowed},
                {named(KeyCode::left, shift), with(closeFilterAndFocusPane, left)},
                {enter, activateTreeSelection}});
    expectRows(KeyTables::filterCommand, [](AppState& s) { s.toggleTreeMode(); },
               {{up, step(moveTreeSelection, -1)},
                {home, treeSelectFirst},
                {pageDown, step(treePage, 1)},
                {rightKey, treeStepRight}});
    // No pane for Enter: the right half holds the gallery and has the focus.
    expectRows(KeyTables::filterCommand,
               [](AppState& s) {
                   s.rightMode = RightPaneMode::gallery;
                   s.focusedSide = right;
               },
               {{enter, swallowed}});
}

TEST_F(KeyDispatchTest, ModesAreAskedInTheirOrder) {
    const auto layer = [](const char* name, auto field, auto value) {
        return Layer{name, [=](AppState& s) { s.*field = value; },
                     [=](const AppState& s) { return s.*field == value; }};
    };
    const auto flag = [&](const char* name, bool AppState::*field) {
        return layer(name, field, true);
    };
    const auto overlay = [](const char* name, Overlay which) {
        return Layer{name,
                     [=](AppState& s) {
                         s.createItemPrompt.kind = CreateItemKind::file;
                         s.showOverlay(which);
                     },
                     [=](const AppState& s) { return s.isOpen(which); }};
    };
    const Layer dialog =
        layer("dialog", &AppState::errorMessage, std::optional<QString>(QStringLiteral("boom")));
    const Layer fileSearch = flag("file search", &AppState::isFileSearchMode);
    // The dialog first; the text and attribute prompts before the search form.
    for (const Layer& prompt : {overlay("create prompt", Overlay::createItemPrompt),
                                overlay("wildcard prompt", Overlay::wildcardPrompt),
                                overlay("rename prompt", Overlay::renamePrompt),
                                overlay("attribute prompt", Overlay::attributePrompt),
                                overlay("copy path prompt", Overlay::copyMovePathPrompt)}) {
        expectEscPeels({dialog, prompt, fileSearch});
    }
    // The search form before the pickers.
    for (const Layer& picker : {overlay("sort picker", Overlay::sortPicker),
                                overlay("volume picker", Overlay::volumePicker),
                                overlay("jump dialog", Overlay::jumpDialog)}) {
        expectEscPeels({dialog, fileSearch, picker});
    }
    expectEscPeels({overlay("open-with picker", Overlay::openWithPicker)});
    const Layer jumpDialog = overlay("jump dialog", Overlay::jumpDialog);
    // Then the right half with the focus, the filter, and the filer.
    const Layer gallery{"gallery", galleryFocused,
                        [](const AppState& s) { return s.layoutMode == LayoutMode::filerGallery; }};
    const Layer editor{"editor", editorFocused,
                       [](const AppState& s) { return s.rightMode == RightPaneMode::editor; }};
    const Layer filter = flag("filter", &AppState::isFilterOpen);
    const Layer treeMode{"tree mode", [](AppState& s) { s.pane(left).treeMode = true; },
                         [](const AppState& s) { return s.pane(left).treeMode; }};
    expectEscPeels({jumpDialog, gallery, filter, treeMode});
    expectEscPeels({editor, filter});
    // VIEWER takes no Esc: it reaches the filter behind it.
    expectEscPeels({{"filter behind VIEWER",
                     [](AppState& s) {
                         viewerFocused(s);
                         s.isFilterOpen = true;
                     },
                     [](const AppState& s) { return s.isFilterOpen; }}});
}

TEST_F(KeyDispatchTest, AStandingDialogSwallowsEverythingButCommandKeys) {
    const Check untouched = [](const AppState& s) {
        return !s.isFilterOpen && !s.pendingQuit && s.pane(left).selection == 0 &&
               s.focusedSide == left;
    };
    expectCases([](AppState& s) { s.errorMessage = QStringLiteral("boom"); },
                {{"F", typed("f"), true, untouched},
                 {"Q", typed("q"), true, untouched},
                 {"Down", down, true, untouched},
                 {"Tab", tab, true, untouched},
                 {"Esc", esc, true},
                 {"Z", typed("z"), true},
                 {"Command+C", typed("c", KeyModifier::command), false}});
}

TEST_F(KeyDispatchTest, WithoutAnActiveSideFilerKeysAreConsumedAndDoNothing) {
    // The right half holds neither VIEWER nor a filer, and has the focus.
    const Arrange noActiveSide = [](AppState& s) {
        s.rightMode = RightPaneMode::gallery;
        s.focusedSide = right;
        s.setSelection(2, left);
    };
    const Check unchanged = [](const AppState& s) {
        return s.pane(left).selection == 2 && s.taggedKeys.isEmpty() && !s.isFilterOpen &&
               !s.isOpen(Overlay::sortPicker) && !s.isOpen(Overlay::wildcardPrompt);
    };
    const auto still = [&](const char* name, KeyEvent event) {
        return KeyCase{name, event, true, unchanged};
    };
    expectCases(noActiveSide, {still("Space", space), still("Down", down), still("End", end),
                               still("F", typed("f")), still("S", typed("s")),
                               still("W", typed("w")), still("Enter", enter)});
}

TEST_F(KeyDispatchTest, ShiftAloneIsTrackedAndCommandLeavesItAlone) {
    AppState& s = fresh(nullptr);
    s.handleFlagsChanged(named(KeyCode::other, shift));
    EXPECT_TRUE(s.isShiftKeyDown);
    s.handleFlagsChanged(named(KeyCode::other, shift | option));
    EXPECT_FALSE(s.isShiftKeyDown);
    s.handleFlagsChanged(named(KeyCode::other, shift));
    s.handleKeyDown(typed("c", KeyModifier::command));
    waitForListings(s);
    EXPECT_TRUE(s.isShiftKeyDown);
    s.handleKeyDown(typed("z"));
    waitForListings(s);
    EXPECT_FALSE(s.isShiftKeyDown);
}

} // namespace
