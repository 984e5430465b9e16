// AppState::runKeyCommand: the one place where what a key table answered is
// carried out. Most commands map straight onto the AppState command of the
// same name; the rest read their argument out of the record.
#include "core/KeyCommand.h"

#include "core/AppState.h"

#include <utility>

using enum KeyCommand::Command;

namespace {

using Command = KeyCommand::Command;
template <typename Member> using Entry = std::pair<Command, Member>;

// The commands without an argument.
constexpr Entry<void (AppState::*)()> plainCommands[] = {
    {cancelCreateItemPrompt, &AppState::cancelCreateItemPrompt},
    {cancelWildcardPrompt, &AppState::cancelWildcardPrompt},
    {cancelRenamePrompt, &AppState::cancelRenamePrompt},
    {cancelCopyMovePathPrompt, &AppState::cancelCopyMovePathPrompt},
    {cancelAttributePrompt, &AppState::cancelAttributePrompt},
    {toggleAttributeField, &AppState::toggleAttributeField},
    {applyAttributePrompt, &AppState::applyAttributePrompt},
    {exitFileSearchMode, &AppState::exitFileSearchMode},
    {focusFileSearchResults, &AppState::focusFileSearchResults},
    {fileSearchSelectFirst, &AppState::fileSearchSelectFirst},
    {fileSearchSelectLast, &AppState::fileSearchSelectLast},
    {toggleFileSearchChoice, &AppState::toggleFileSearchChoice},
    {openSearchTreeBox, &AppState::openSearchTreeBox},
    {openFileSearchResult, &AppState::openFileSearchResult},
    {editFileSearchResult, &AppState::editFileSearchResult},
    {openFileSearchResultExternally, &AppState::openFileSearchResultExternally},
    {closeSearchTreeBox, &AppState::closeSearchTreeBox},
    {confirmSearchTreeBox, &AppState::confirmSearchTreeBox},
    {closeSortPicker, &AppState::closeSortPicker},
    {closeVolumePicker, &AppState::closeVolumePicker},
    {closeOpenWithPicker, &AppState::closeOpenWithPicker},
    {closeJumpDialog, &AppState::closeJumpDialog},
    {clearJumpSelection, &AppState::clearJumpSelection},
    {confirmJumpDialog, &AppState::confirmJumpDialog},
    {removeJumpBookmark, &AppState::removeJumpBookmark},
    {setStartupFromJumpSelection, &AppState::setStartupFromJumpSelection},
    {exitGallery, &AppState::exitGallery},
    {exitEditorToViewer, &AppState::exitEditorToViewer},
    {exitTreeModeByEsc, &AppState::exitTreeModeByEsc},
    {enterEditor, &AppState::enterEditor},
    {toggleHiddenFiles, &AppState::toggleHiddenFiles},
    {toggleAllExtensions, &AppState::toggleAllExtensions},
    {toggleLocalizedNames, &AppState::toggleLocalizedNames},
    {toggleTreeMode, &AppState::toggleTreeMode},
    {openFilter, &AppState::openFilter},
    {openSortPicker, &AppState::openSortPicker},
    {openJumpDialog, &AppState::openJumpDialog},
    {openAttributePrompt, &AppState::openAttributePrompt},
    {setStartupDirectoryToCurrent, &AppState::setStartupDirectoryToCurrent},
    {goToStartupDirectory, &AppState::goToStartupDirectory},
    {goToHomeDirectory, &AppState::goToHomeDirectory},
    {openVolumePicker, &AppState::openVolumePicker},
    {openCursorEntryExternally, &AppState::openCursorEntryExternally},
    {enterGalleryLayout, &AppState::enterGalleryLayout},
    {requestQuit, &AppState::requestQuit},
    {openWildcardPrompt, &AppState::openWildcardPrompt},
    {addJumpBookmark, &AppState::addJumpBookmark},
    {goToRootDirectory, &AppState::goToRootDirectory},
    {toggleAlwaysPreview, &AppState::toggleAlwaysPreview},
    {openRenamePrompt, &AppState::openRenamePrompt},
    {toggleTagAtCursor, &AppState::toggleTagAtCursor},
    {openCursorEntry, &AppState::openCursorEntry},
    {goToParentDirectory, &AppState::goToParentDirectory},
    {moveCursorToTop, &AppState::moveCursorToTop},
    {moveCursorToBottom, &AppState::moveCursorToBottom},
    {enterFileSearchMode, &AppState::enterFileSearchMode},
    {activateTreeSelection, &AppState::activateTreeSelection},
    {treeSelectFirst, &AppState::treeSelectFirst},
    {treeSelectLast, &AppState::treeSelectLast},
    {treeStepLeft, &AppState::treeStepLeft},
    {treeStepRight, &AppState::treeStepRight},
};

// The commands whose argument is a step, a delta, a row or a number.
constexpr Entry<void (AppState::*)(int)> steppedCommands[] = {
    {moveAttributeFocus, &AppState::moveAttributeFocus},
    {moveAttributeFieldCursor, &AppState::moveAttributeFieldCursor},
    {cycleFileSearchFocus, &AppState::cycleFileSearchFocus},
    {moveFileSearchSelection, &AppState::moveFileSearchSelection},
    {fileSearchPage, &AppState::fileSearchPage},
    {cycleFileSearchSort, &AppState::cycleFileSearchSort},
    {cycleFileSearchMatchMode, &AppState::cycleFileSearchMatchMode},
    {moveSearchTreeBoxRow, &AppState::moveSearchTreeBoxRow},
    {selectSearchTreeBoxRow, &AppState::selectSearchTreeBoxRow},
    {moveSortPickerSelection, &AppState::moveSortPickerSelection},
    {moveVolumePickerSelection, &AppState::moveVolumePickerSelection},
    {moveOpenWithSelection, &AppState::moveOpenWithSelection},
    {moveJumpSelection, &AppState::moveJumpSelection},
    {jumpToNumberedBookmark, &AppState::jumpToNumberedBookmark},
    {moveCursorByPage, &AppState::moveCursorByPage},
    {moveCursor, &AppState::moveCursor},
    {moveTreeSelection, &AppState::moveTreeSelection},
    {treePage, &AppState::treePage},
};

// The confirmations of a picker's row: the one at the index, or the selected one.
constexpr Entry<void (AppState::*)(std::optional<int>)> pickingCommands[] = {
    {confirmSortPicker, &AppState::confirmSortPicker},
    {confirmVolumePicker, &AppState::confirmVolumePicker},
    {confirmOpenWith, &AppState::confirmOpenWith},
    {openGallerySelection, &AppState::openGallerySelection},
};

template <typename Member, size_t count>
Member find(const Entry<Member> (&table)[count], Command command) {
    for (const auto& [entry, member] : table) {
        if (entry == command) {
            return member;
        }
    }
    return nullptr;
}

// The rest: a flag, a character, two steps, a side, a kind, or two commands.
bool runWithArgument(AppState& s, const KeyCommand& c) {
    switch (c.command) {
    case typeAttributeDigit:
        s.typeAttributeDigit(QChar(c.first));
        return true;
    case collapseOrExpandSearchTreeBoxRow:
        s.collapseOrExpandSearchTreeBoxRow(c.first != 0);
        return true;
    case moveGalleryCursor:
        s.moveGalleryCursor(c.first, c.second);
        return true;
    case closeFilter:
        s.closeFilter(c.first != 0);
        return true;
    case closeFilterAndFocusPane:
        s.closeFilter(false);
        s.focusPane(c.firstAs<PaneSide>());
        return true;
    case focusPaneAndCloseFilter:
        s.focusPane(c.firstAs<PaneSide>());
        s.closeFilter(false);
        return true;
    case openCreateItemPrompt:
        s.openCreateItemPrompt(c.firstAs<CreateItemKind>());
        return true;
    case startCopyOrMove:
        s.startCopyOrMove(c.firstAs<AppState::CopyMoveKind>());
        return true;
    case startFolderCopyOrMove:
        s.startCopyOrMove(c.firstAs<AppState::CopyMoveKind>(), AppState::CopyMoveItems::folders);
        return true;
    case startDelete:
        s.startDelete(c.firstAs<AppState::DeleteKind>());
        return true;
    case activateSelection:
        s.activateSelection(c.firstAs<PaneSide>());
        return true;
    case setLayoutMode:
        s.setLayoutMode(c.firstAs<LayoutMode>());
        return true;
    default:
        return false;
    }
}

} // namespace

// True when the key is consumed: always, but for the two commands whose
// answer decides it.
bool AppState::runKeyCommand(const KeyCommand& c) {
    switch (c.command) {
    case Command::none:
        return true;
    case Command::focusPane:
        return focusPane(c.firstAs<PaneSide>());
    case Command::pageAnimatedFrameOrStepViewerFile:
        return pageAnimatedFrame(c.first) || stepViewerFile(c.first);
    default:
        break;
    }
    if (const auto run = find(plainCommands, c.command)) {
        (this->*run)();
    } else if (const auto run = find(steppedCommands, c.command)) {
        (this->*run)(c.first);
    } else if (const auto run = find(pickingCommands, c.command)) {
        (this->*run)(c.index);
    } else {
        const bool ran = runWithArgument(*this, c);
        Q_ASSERT_X(ran, "runKeyCommand", "a key command that nothing runs");
    }
    return true;
}
