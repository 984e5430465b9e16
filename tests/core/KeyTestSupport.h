#pragma once

// Shared by the key tests: synthetic key events, a state that records which
// not-yet-filled commands a key reached, and a text input that can compose.
#include "core/AppState.h"
#include "core/KeyEvent.h"
#include "core/TextInputHost.h"

#include <QStringList>

namespace KeyTest {

// A key that types text; the letter rows compare with its lower case.
inline KeyEvent typed(const QString& text, KeyModifiers modifiers = {}) {
    KeyEvent event;
    event.characters = text;
    event.charactersIgnoringModifiers = text;
    event.modifiers = modifiers;
    return event;
}

// A key named by its code, typing nothing (arrows, Esc and the like).
inline KeyEvent named(uint16_t keyCode, KeyModifiers modifiers = {}) {
    KeyEvent event;
    event.keyCode = keyCode;
    event.modifiers = modifiers;
    return event;
}

// A key with both a code and characters: Shift+1 typing "!", Space typing " ".
inline KeyEvent coded(uint16_t keyCode, const QString& text, KeyModifiers modifiers = {}) {
    KeyEvent event = typed(text, modifiers);
    event.keyCode = keyCode;
    return event;
}

inline const KeyModifiers shift{KeyModifier::shift};

class ComposingInput : public TextInputHost {
public:
    bool hasMarkedText() const override { return composing; }
    void releaseTextFocus() override { ++releases; }

    bool composing = false;
    int releases = 0;
};

inline QString describe(int value) {
    return QString::number(value);
}
inline QString describe(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}
inline QString describe(QChar value) {
    return QString(value);
}
inline QString describe(PaneSide side) {
    return sideName(side);
}
inline QString describe(std::optional<int> value) {
    return value ? QString::number(*value) : QStringLiteral("none");
}
inline QString describe(CreateItemKind kind) {
    return kind == CreateItemKind::folder ? QStringLiteral("folder") : QStringLiteral("file");
}
inline QString describe(AppState::CopyMoveKind kind) {
    return kind == AppState::CopyMoveKind::copy ? QStringLiteral("copy") : QStringLiteral("move");
}
inline QString describe(AppState::DeleteKind kind) {
    return kind == AppState::DeleteKind::files ? QStringLiteral("files")
                                               : QStringLiteral("folders");
}

#define KEYTEST_RECORD0(name)                                                                      \
    void name() override {                                                                         \
        calls << QStringLiteral(#name);                                                            \
    }
#define KEYTEST_RECORD1(name, Type)                                                                \
    void name(Type value) override {                                                               \
        calls << QStringLiteral(#name "(%1)").arg(describe(value));                                \
    }

// AppState with every command still to come replaced by a note of its call.
class RecordingState : public AppState {
public:
    using AppState::AppState;
    QStringList calls;

    KEYTEST_RECORD1(openCreateItemPrompt, CreateItemKind)
    KEYTEST_RECORD0(cancelCreateItemPrompt)
    KEYTEST_RECORD0(openRenamePrompt)
    KEYTEST_RECORD0(cancelRenamePrompt)
    KEYTEST_RECORD0(openAttributePrompt)
    KEYTEST_RECORD0(cancelAttributePrompt)
    KEYTEST_RECORD1(moveAttributeFocus, int)
    KEYTEST_RECORD1(moveAttributeFieldCursor, int)
    KEYTEST_RECORD0(toggleAttributeField)
    KEYTEST_RECORD0(applyAttributePrompt)
    KEYTEST_RECORD1(typeAttributeDigit, QChar)
    KEYTEST_RECORD1(startCopyOrMove, CopyMoveKind)
    KEYTEST_RECORD0(cancelCopyMovePathPrompt)
    KEYTEST_RECORD1(startDelete, DeleteKind)
    KEYTEST_RECORD1(stopWatching, PaneSide)
    KEYTEST_RECORD0(enterEditor)
    KEYTEST_RECORD0(clearViewer)
    void showFilePreview(const FileEntry& entry) override {
        calls << QStringLiteral("showFilePreview(%1)").arg(entry.name);
    }
    void showArchivePreview(const FileEntry& entry) override {
        calls << QStringLiteral("showArchivePreview(%1)").arg(entry.name);
    }
    KEYTEST_RECORD0(rebuildGalleryItems)
    KEYTEST_RECORD0(syncGallerySelection)
    void moveGalleryCursor(int dx, int dy) override {
        calls << QStringLiteral("moveGalleryCursor(%1,%2)").arg(dx).arg(dy);
    }
    KEYTEST_RECORD1(openGallerySelection, std::optional<int>)
    KEYTEST_RECORD0(enterFileSearchMode)
    KEYTEST_RECORD0(exitFileSearchMode)
    KEYTEST_RECORD1(cycleFileSearchFocus, int)
    KEYTEST_RECORD1(moveFileSearchSelection, int)
    KEYTEST_RECORD0(focusFileSearchResults)
    KEYTEST_RECORD0(fileSearchSelectFirst)
    KEYTEST_RECORD0(fileSearchSelectLast)
    KEYTEST_RECORD1(fileSearchPage, int)
    KEYTEST_RECORD1(cycleFileSearchSort, int)
    KEYTEST_RECORD1(cycleFileSearchMatchMode, int)
    KEYTEST_RECORD0(toggleFileSearchChoice)
    KEYTEST_RECORD0(openSearchTreeBox)
    KEYTEST_RECORD0(openFileSearchResult)
    KEYTEST_RECORD0(editFileSearchResult)
    KEYTEST_RECORD0(openFileSearchResultExternally)
    KEYTEST_RECORD0(closeSearchTreeBox)
    KEYTEST_RECORD1(moveSearchTreeBoxRow, int)
    KEYTEST_RECORD1(collapseOrExpandSearchTreeBoxRow, bool)
    KEYTEST_RECORD1(selectSearchTreeBoxRow, int)
    KEYTEST_RECORD0(confirmSearchTreeBox)
    KEYTEST_RECORD0(toggleTreeMode)
    KEYTEST_RECORD0(exitTreeModeByEsc)
    KEYTEST_RECORD0(activateTreeSelection)
    KEYTEST_RECORD0(refreshTreeSessions)
    KEYTEST_RECORD0(openJumpDialog)
    KEYTEST_RECORD0(closeJumpDialog)
    KEYTEST_RECORD0(clearJumpSelection)
    KEYTEST_RECORD1(moveJumpSelection, int)
    KEYTEST_RECORD0(confirmJumpDialog)
    KEYTEST_RECORD1(jumpToNumberedBookmark, int)
    KEYTEST_RECORD0(removeJumpBookmark)
    KEYTEST_RECORD0(setStartupFromJumpSelection)
    KEYTEST_RECORD0(addJumpBookmark)
    KEYTEST_RECORD0(setStartupDirectoryToCurrent)
    KEYTEST_RECORD0(openVolumePicker)
    KEYTEST_RECORD0(closeVolumePicker)
    KEYTEST_RECORD1(moveVolumePickerSelection, int)
    KEYTEST_RECORD1(confirmVolumePicker, std::optional<int>)
    KEYTEST_RECORD0(openCursorEntryExternally)
    KEYTEST_RECORD0(closeOpenWithPicker)
    KEYTEST_RECORD1(moveOpenWithSelection, int)
    KEYTEST_RECORD1(confirmOpenWith, std::optional<int>)
};

#undef KEYTEST_RECORD0
#undef KEYTEST_RECORD1

} // namespace KeyTest
