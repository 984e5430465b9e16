#pragma once

#include <QObject>

#include <optional>
#include <type_traits>

// What a key asks of the state. The key tables answer a key with one of
// these, and AppState::runKeyCommand carries it out in one place, so that
// which command a key reaches can be read off a table without running it.
struct KeyCommand {
    Q_GADGET

public:
    // The commands the keys reach, named after the AppState commands they
    // run. `none` takes the key and runs nothing. The few rows that run two
    // commands in turn, or whose key is taken only when a command says so,
    // have a name of their own that says what they do.
    enum class Command {
        none,
        // Text prompts
        cancelCreateItemPrompt,
        cancelWildcardPrompt,
        cancelRenamePrompt,
        cancelCopyMovePathPrompt,
        // Attribute prompt
        cancelAttributePrompt,
        moveAttributeFocus,
        moveAttributeFieldCursor,
        toggleAttributeField,
        applyAttributePrompt,
        typeAttributeDigit,
        // File search form
        exitFileSearchMode,
        cycleFileSearchFocus,
        moveFileSearchSelection,
        focusFileSearchResults,
        fileSearchSelectFirst,
        fileSearchSelectLast,
        fileSearchPage,
        cycleFileSearchSort,
        cycleFileSearchMatchMode,
        toggleFileSearchChoice,
        openSearchTreeBox,
        openFileSearchResult,
        editFileSearchResult,
        openFileSearchResultExternally,
        // Search tree box
        closeSearchTreeBox,
        moveSearchTreeBoxRow,
        collapseOrExpandSearchTreeBoxRow,
        selectSearchTreeBoxRow,
        confirmSearchTreeBox,
        // Sort, volume and open-with pickers
        closeSortPicker,
        moveSortPickerSelection,
        confirmSortPicker,
        closeVolumePicker,
        moveVolumePickerSelection,
        confirmVolumePicker,
        closeOpenWithPicker,
        moveOpenWithSelection,
        confirmOpenWith,
        // Jump dialog
        closeJumpDialog,
        clearJumpSelection,
        moveJumpSelection,
        confirmJumpDialog,
        jumpToNumberedBookmark,
        removeJumpBookmark,
        setStartupFromJumpSelection,
        // Gallery, EDITOR and VIEWER
        exitGallery,
        moveGalleryCursor,
        openGallerySelection,
        exitEditorToViewer,
        // Taken only when the picture has frames to page or a file to step to.
        pageAnimatedFrameOrStepViewerFile,
        // Filter
        closeFilter,
        // The filter closes without keeping the row, then the focus moves.
        closeFilterAndFocusPane,
        // The focus moves, then the filter closes without keeping the row.
        focusPaneAndCloseFilter,
        // Filer
        exitTreeModeByEsc,
        enterEditor,
        toggleHiddenFiles,
        toggleAllExtensions,
        toggleLocalizedNames,
        toggleTreeMode,
        openFilter,
        openSortPicker,
        openJumpDialog,
        openAttributePrompt,
        setStartupDirectoryToCurrent,
        goToStartupDirectory,
        goToHomeDirectory,
        openVolumePicker,
        openCursorEntryExternally,
        enterGalleryLayout,
        requestQuit,
        openWildcardPrompt,
        addJumpBookmark,
        goToRootDirectory,
        toggleAlwaysPreview,
        openCreateItemPrompt,
        openRenamePrompt,
        startCopyOrMove,
        startFolderCopyOrMove,
        startDelete,
        toggleTagAtCursor,
        focusPane,
        openCursorEntry,
        activateSelection,
        goToParentDirectory,
        moveCursorToTop,
        moveCursorToBottom,
        moveCursorByPage,
        moveCursor,
        // Layout shortcuts
        setLayoutMode,
        enterFileSearchMode,
        // A pane in tree mode
        activateTreeSelection,
        moveTreeSelection,
        treeSelectFirst,
        treeSelectLast,
        treePage,
        treeStepLeft,
        treeStepRight,
    };
    Q_ENUM(Command)

    KeyCommand() = default;
    // A bare Command stands for that command with no numbers.
    KeyCommand(Command id, int firstNumber = 0, int secondNumber = 0)
        : command(id)
        , first(firstNumber)
        , second(secondNumber) {}

    // A command whose argument is a side, a kind or a layout.
    template <typename Enum>
    requires std::is_enum_v<Enum>
    static KeyCommand with(Command id, Enum value) {
        return KeyCommand(id, static_cast<int>(value));
    }
    // A picker's confirmation of the row at an index; none for the selected row.
    static KeyCommand at(Command id, std::optional<int> row) {
        KeyCommand result(id);
        result.index = row;
        return result;
    }

    template <typename Enum>
    requires std::is_enum_v<Enum> Enum firstAs()
    const { return static_cast<Enum>(first); }
    bool operator==(const KeyCommand&) const = default;

    Command command = Command::none;
    // The command's number: a step or a delta, a row, a bookmark number, the
    // character of a typed digit, a flag, or the value of a side, a kind or a
    // layout. second is the gallery's vertical step.
    int first = 0;
    int second = 0;
    // The row a picker confirms; none for the selected row.
    std::optional<int> index;
};
