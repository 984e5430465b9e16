// The one dialog: which question stands when several are pending, its words,
// and what its keys do.
#include "core/AppState.h"
#include "core/KeyEvent.h"
#include "core/Preferences.h"
#include "core/SystemPath.h"
#include "dialogs/DosDialog.h"
#include "support/EmptyDesktop.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>

// Failures print texts as text.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {

class DosDialogTest : public ::testing::Test {
protected:
    // An open-with flow started by mistake shows as a message.
    static void SetUpTestSuite() { useEmptyDesktop(); }
    // No answer that belongs to another area ran: EDITOR, open for this,
    // still stands, and no open-with choice nor its message came up.
    void expectNoOtherAnswer() const {
        EXPECT_EQ(state.rightMode, RightPaneMode::editor);
        EXPECT_FALSE(state.isOpen(Overlay::openWithPicker));
        EXPECT_EQ(currentDosDialog(state), std::nullopt);
    }
    bool key(const QString& characters, bool shift = false) {
        return state.handleDosDialogKey(characters, KeyCode::other, shift);
    }
    bool press(uint16_t code, bool shift = false) {
        return state.handleDosDialogKey(std::nullopt, code, shift);
    }
    QString title() const {
        const auto dialog = currentDosDialog(state);
        return dialog ? dialog->title : QStringLiteral("(none)");
    }
    QStringList actionIds() const {
        QStringList ids;
        const std::optional<DosDialog> dialog = currentDosDialog(state);
        for (const DosDialogAction& action : dialog->actions) {
            ids << action.id;
        }
        return ids;
    }

    MemoryPreferences preferences;
    AppState state{preferences};
};

QStringList paths(int count) {
    QStringList list;
    for (int i = 1; i <= count; ++i) {
        list << QStringLiteral("/data/f%1.txt").arg(i);
    }
    return list;
}

TEST_F(DosDialogTest, EachPendingFieldRaisesItsDialogInPrecedence) {
    struct Row {
        std::function<void(AppState&)> raise;
        const char* title;
        QStringList actions;
    };
    AppState::PendingCopyMove conflict;
    conflict.stage =
        AppState::PendingCopyMove::Conflict{QStringLiteral("/a/x"), QStringLiteral("/b/x")};
    const Row rows[] = {
        {[](AppState& s) { s.pendingFullDiskAccessTip = true; },
         "FOLDER ACCESS",
         {"once", "settings", "dont_show"}},
        {[](AppState& s) { s.isEncodingPickerOpen = true; },
         "SAVE ENCODING",
         {"enc_utf8", "enc_cp932", "enc_sjis", "enc_eucjp"}},
        {[](AppState& s) { s.pendingQuit = true; }, "QUIT", {"yes", "no"}},
        {[](AppState& s) { s.pendingExitEditorToViewer = true; }, "SAVE", {"save", "discard"}},
        {[](AppState& s) { s.pendingLayoutMode = LayoutMode::dualFiler; },
         "LEAVE EDITOR",
         {"yes", "no"}},
        {[](AppState& s) { s.pendingLargeEditURL = QStringLiteral("/big.txt"); },
         "LARGE FILE",
         {"open_with", "no"}},
        {[](AppState& s) {
             s.pendingDelete = AppState::PendingDelete{{"/a"}, true};
         },
         "DELETE FOLDER(S)",
         {"yes", "no"}},
        {[](AppState& s) {
             s.pendingCopyMove = AppState::PendingCopyMove{};
             s.pendingCopyMove->sources = QStringList{QStringLiteral("/a/x")};
         },
         "COPY",
         {"yes", "no"}},
        {[conflict](AppState& s) { s.pendingCopyMove = conflict; },
         "EXISTS",
         {"overwrite", "skip", "abort"}},
        {[](AppState& s) { s.errorMessage = QStringLiteral("boom"); }, "ERROR", {"ok"}},
    };
    EXPECT_EQ(currentDosDialog(state), std::nullopt);
    // Each row raised on top of all the rows before it must win over them.
    for (const Row& row : rows) {
        row.raise(state);
        EXPECT_EQ(title(), QString::fromUtf8(row.title));
        EXPECT_EQ(actionIds(), row.actions) << row.title;
    }
}

TEST_F(DosDialogTest, EscUncoversTheDialogUnderneath) {
    state.rightMode = RightPaneMode::editor;
    state.pendingDelete = AppState::PendingDelete{paths(2), false};
    state.errorMessage = QStringLiteral("Disk full");
    EXPECT_EQ(title(), QStringLiteral("ERROR"));
    EXPECT_EQ(currentDosDialog(state)->message, QStringLiteral("Disk full"));
    EXPECT_TRUE(press(KeyCode::escape));
    EXPECT_EQ(title(), QStringLiteral("DELETE FILE(S)"));
    EXPECT_EQ(currentDosDialog(state)->message, QStringLiteral("Move to Trash:\nf1.txt\nf2.txt"));
    EXPECT_TRUE(press(KeyCode::escape));
    EXPECT_EQ(currentDosDialog(state), std::nullopt);
    EXPECT_FALSE(press(KeyCode::escape));
    expectNoOtherAnswer();
}

TEST_F(DosDialogTest, NameListsShowEightNamesAndThenTheCount) {
    EXPECT_EQ(dosDialogNameList(paths(8)).count(QLatin1Char('\n')), 7);
    EXPECT_FALSE(dosDialogNameList(paths(8)).contains(QStringLiteral("… (")));
    const QString nine = dosDialogNameList(paths(9));
    EXPECT_TRUE(nine.startsWith(QStringLiteral("f1.txt\n")));
    EXPECT_TRUE(nine.endsWith(QStringLiteral("f8.txt\n… (9 items)")));
    EXPECT_FALSE(nine.contains(QStringLiteral("f9.txt")));
}

TEST_F(DosDialogTest, ComposedMessagesReadAsTheUserSeesThem) {
    state.pendingCopyMove = AppState::PendingCopyMove{};
    state.pendingCopyMove->kind = AppState::CopyMoveKind::move;
    state.pendingCopyMove->sources = QStringList{"/a/x.txt", "/a/y.txt"};
    state.pendingCopyMove->destination = QStringLiteral("/dest");
    EXPECT_EQ(title(), QStringLiteral("MOVE"));
    EXPECT_EQ(currentDosDialog(state)->message,
              QStringLiteral("Move 2 item(s) →\n/dest\n\nx.txt\ny.txt"));
    state.pendingCopyMove->stage = AppState::PendingCopyMove::Conflict{
        QStringLiteral("/a/x.txt"), QStringLiteral("/dest/x.txt")};
    EXPECT_EQ(currentDosDialog(state)->message,
              QStringLiteral("Move:\nx.txt\n→ already exists at\n/dest/x.txt"));
    EXPECT_EQ(currentDosDialog(state)->hint,
              QStringLiteral("←→ 選択  Enter 実行  ⇧Enter 以降一括  Esc 中止"));

    state.pendingCopyMove.reset();
    state.pendingLargeEditURL = QStringLiteral("/big.log");
    state.textFileByteSize = 0;
    EXPECT_TRUE(currentDosDialog(state)->message.startsWith(
        QStringLiteral("このファイルは 256.0 KB+（簡易 EDITOR 上限 256.0 KB）です。\n")));
    state.textFileByteSize = 3 * 1024 * 1024;
    EXPECT_TRUE(
        currentDosDialog(state)->message.startsWith(QStringLiteral("このファイルは 3.00 MB（")));
}

TEST_F(DosDialogTest, AStaleIndexIsClampedAtTheFirstKeyAndArrowsWrapAround) {
    state.dosDialogActionIndex = 2;
    state.pendingQuit = true;
    EXPECT_TRUE(key(QStringLiteral("z")));
    EXPECT_EQ(state.dosDialogActionIndex, 1);
    state.pendingQuit = false;

    state.pendingCopyMove = AppState::PendingCopyMove{};
    state.pendingCopyMove->stage = AppState::PendingCopyMove::Conflict{};
    state.dosDialogActionIndex = 2;
    press(KeyCode::right);
    EXPECT_EQ(state.dosDialogActionIndex, 0);
    press(KeyCode::up);
    EXPECT_EQ(state.dosDialogActionIndex, 2);
    press(KeyCode::down);
    press(KeyCode::down);
    EXPECT_EQ(state.dosDialogActionIndex, 1);
}

TEST_F(DosDialogTest, LettersAnswerTheQuestionThatHasThem) {
    // An error has no letters: Y is swallowed, Enter closes it.
    state.errorMessage = QStringLiteral("No item to rename");
    EXPECT_TRUE(key(QStringLiteral("y")));
    EXPECT_TRUE(press(KeyCode::home));
    EXPECT_TRUE(state.errorMessage.has_value());
    EXPECT_TRUE(press(KeyCode::returnKey));
    EXPECT_FALSE(state.errorMessage.has_value());

    state.pendingQuit = true;
    EXPECT_TRUE(key(QStringLiteral("yy")));
    EXPECT_TRUE(state.pendingQuit) << "a key of two characters matches nothing";
    EXPECT_TRUE(key(QStringLiteral("Y")));
    EXPECT_FALSE(state.pendingQuit);

    state.rightMode = RightPaneMode::editor;
    state.pendingLargeEditURL = QStringLiteral("/data/big.log");
    key(QStringLiteral("y"));
    EXPECT_TRUE(state.pendingLargeEditURL.has_value()) << "this question has no Y";
    key(QStringLiteral("n"));
    EXPECT_FALSE(state.pendingLargeEditURL.has_value());
    expectNoOtherAnswer();

    // Abort ends a batch without selecting; an unknown letter does nothing.
    state.pendingCopyMove = AppState::PendingCopyMove{};
    state.pendingCopyMove->stage = AppState::PendingCopyMove::Conflict{};
    key(QStringLiteral("q"));
    EXPECT_TRUE(state.pendingCopyMove.has_value());
    key(QStringLiteral("A"));
    EXPECT_FALSE(state.pendingCopyMove.has_value());
    EXPECT_EQ(state.dosDialogActionIndex, 0);

    state.pendingFullDiskAccessTip = true;
    key(QStringLiteral("d"));
    EXPECT_FALSE(state.pendingFullDiskAccessTip);
    EXPECT_TRUE(preferences.boolValue(QStringLiteral("hideFullDiskAccessTip")));
}

TEST_F(DosDialogTest, ButtonsHaveTheirCaptionsAndLongMessagesBreakBetweenWords) {
    EXPECT_EQ(dosDialogButtonText({QStringLiteral("yes"), QStringLiteral("Switch"), true}),
              QStringLiteral(" Y:OK "));
    EXPECT_EQ(dosDialogButtonText({QStringLiteral("skip"), QStringLiteral("Skip"), false}),
              QStringLiteral(" S:取消 "));
    EXPECT_EQ(dosDialogButtonText({QStringLiteral("later"), QStringLiteral("Later"), false}),
              QStringLiteral(" Later "));

    // One cell a character: lines break after the last word that fits, and only a
    // word longer than the box is cut inside.
    const auto cells = [](const QString& text) { return double(text.size()); };
    const struct {
        const char* message;
        double width;
        QStringList lines;
    } rows[] = {
        {"a.txt: No such file or directory", 16, {"a.txt: No such", "file or", "directory"}},
        {"short\nline two is long", 10, {"short", "line two", "is long"}},
        {"abcdefghijklmnop xy", 5, {"abcde", "fghij", "klmno", "p xy"}},
        {"fits exactly", 12, {"fits exactly"}},
        {"", 5, {""}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(dosDialogWrappedLines(QString::fromUtf8(row.message), cells, row.width),
                  row.lines)
            << row.message;
    }
}

} // namespace
