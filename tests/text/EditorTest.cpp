// EDITOR on real files: what opens and what is refused, how the text is
// saved in its encoding, the encoding picker, and the ways out.
#include "core/SystemPath.h"
#include "dialogs/DosDialog.h"
#include "support/EmptyDesktop.h"
#include "support/StateFixture.h"

#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <functional>
#include <ostream>
#include <sys/stat.h>
#include <unistd.h>

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {

constexpr int kLimit = 262144;

QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

QByteArray hex(const char* digits) {
    return QByteArray::fromHex(digits);
}

class EditorTest : public StateFixture {
protected:
    static void SetUpTestSuite() { useEmptyDesktop(); }

    // The state over the folder, its cursor on the named row.
    AppState& listedAt(const QString& name) {
        makeState();
        const QList<FileEntry> rows = state->visibleEntries(PaneSide::left);
        for (int i = 0; i < rows.size(); ++i) {
            if (rows[i].name == name) {
                state->setSelection(i, PaneSide::left);
            }
        }
        return *state;
    }
    AppState& editing(const QString& name, const QByteArray& bytes) {
        dir.makeFile(name, bytes);
        AppState& s = listedAt(name);
        s.enterEditor();
        waitForListings(s);
        return s;
    }
    QString error() const { return state->errorMessage.value_or(QString()); }
    QString dialogTitle() const {
        const auto dialog = currentDosDialog(*state);
        return dialog ? dialog->title : QString();
    }
};

TEST_F(EditorTest, FilesUnderTheLimitOpenWholeAndOneAtItIsOfferedOutside) {
    AppState& s = editing(QStringLiteral("under.txt"), QByteArray(kLimit - 1, 'a'));
    EXPECT_FALSE(s.errorMessage);
    EXPECT_EQ(s.rightMode, RightPaneMode::editor);
    EXPECT_EQ(s.editorText.size(), kLimit - 1);
    EXPECT_EQ(s.textEncodingLabel, QStringLiteral("UTF-8"));
    EXPECT_EQ(s.focusedSide, PaneSide::right);
    EXPECT_EQ(s.editorFocusNonce, 1);
    EXPECT_FALSE(s.isDirty);

    AppState& e = editing(QStringLiteral("empty.txt"), QByteArray());
    EXPECT_EQ(e.rightMode, RightPaneMode::editor);
    EXPECT_EQ(e.textEncodingLabel, QStringLiteral("UTF-8"));

    const QString big = dir.makeFile(QStringLiteral("big.txt"), QByteArray(kLimit, 'b'));
    AppState& t = listedAt(QStringLiteral("big.txt"));
    t.enterEditor();
    waitForListings(t);
    EXPECT_EQ(t.pendingLargeEditURL, big);
    EXPECT_EQ(t.editorURL, big) << "VIEWER shows it meanwhile";
    // The size is told at once, while VIEWER's load is still under way, and
    // still after it is back.
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(dialogTitle(), QStringLiteral("LARGE FILE"));
        EXPECT_TRUE(
            currentDosDialog(t)->message.startsWith(QStringLiteral("このファイルは 256.0 KB（")))
            << currentDosDialog(t)->message.toStdString();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !t.isViewerLoading; }, 5000));
    }
    // X sends it to open-with, never to EDITOR.
    t.handleDosDialogKey(QStringLiteral("x"), KeyCode::other, false);
    waitForListings(t);
    EXPECT_FALSE(t.pendingLargeEditURL);
    EXPECT_EQ(error(), QStringLiteral("No application can open:\nbig.txt"));
    EXPECT_NE(t.rightMode, RightPaneMode::editor);
}

// The bytes are written out: each file as read, and as saved with "終"
// (UTF-8 E7 B5 82, CP932 and Shift_JIS 8F 49, EUC-JP BD AA) added.
TEST_F(EditorTest, EachEncodingIsSavedAsReadOrAsTheLabelSays) {
    const QString japanese = QStringLiteral("日本語です。\n");
    const struct {
        const char* name;
        QByteArray read;
        const char* label;
        bool labelAsRead;
        QByteArray saved;
        QString text;
    } cases[] = {
        // A byte order mark stays the first character and is written back.
        {"bom.txt", hex("efbbbf6162630a"), "UTF-8", true, hex("efbbbf6162630ae7b582"),
         QStringLiteral("\uFEFFabc\n")},
        {"cp932.txt", hex("93fa967b8cea82c582b781420a"), "CP932", true,
         hex("93fa967b8cea82c582b781420a8f49"), japanese},
        {"euc.txt", hex("c6fccbdcb8eca4c7a4b9a1a30a"), "EUC-JP", true,
         hex("c6fccbdcb8eca4c7a4b9a1a30abdaa"), japanese},
        // Read as CP932, saved by the label in strict Shift_JIS: 半角 94BC 8A70,
        // ｶﾅ B6 C5, と 82C6, 全角 9153 8A70, カナ 834A 8369.
        {"sjis.txt", hex("94bc8a70b6c582c691538a70834a83690a"), "Shift_JIS", false,
         hex("94bc8a70b6c582c691538a70834a83690a8f49"), QStringLiteral("半角ｶﾅと全角カナ\n")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString path = dir.makeFile(c.name, c.read);
        AppState& s = listedAt(c.name);
        s.enterEditor();
        waitForListings(s);
        EXPECT_EQ(s.editorText, c.text);
        if (c.labelAsRead) {
            EXPECT_EQ(s.textEncodingLabel, QString::fromLatin1(c.label));
        }
        s.textEncodingLabel = QString::fromLatin1(c.label);
        s.updateEditorText(c.text + QStringLiteral("終"));
        EXPECT_TRUE(s.isDirty);
        s.saveEditor();
        waitForListings(s);
        EXPECT_FALSE(s.errorMessage);
        EXPECT_FALSE(s.isDirty);
        EXPECT_EQ(readBytes(path), c.saved);
    }
}

TEST_F(EditorTest, ThePickerOpensOnlyInEditorOverNothingElseAndChangesOnlyTheLabel) {
    const QString text = QStringLiteral("日本語のテキストです。\n");
    // The text in CP932.
    dir.makeFile(QStringLiteral("pick.txt"), hex("93fa967b8cea82cc8365834c8358836782c582b781420a"));
    AppState& s = listedAt(QStringLiteral("pick.txt"));
    s.textEncodingLabel = QStringLiteral("UTF-8");
    s.showEncodingPicker();
    EXPECT_FALSE(s.isEncodingPickerOpen) << "VIEWER's label is not for saving";
    EXPECT_FALSE(s.canChangeSaveEncoding());

    s.enterEditor();
    waitForListings(s);
    EXPECT_TRUE(s.canChangeSaveEncoding());
    const Overlay blockers[] = {Overlay::renamePrompt,    Overlay::sortPicker,
                                Overlay::jumpDialog,      Overlay::volumePicker,
                                Overlay::wildcardPrompt,  Overlay::openWithPicker,
                                Overlay::attributePrompt, Overlay::searchTreeBox};
    for (Overlay blocker : blockers) {
        s.showOverlay(blocker);
        s.showEncodingPicker();
        EXPECT_FALSE(s.isEncodingPickerOpen);
        s.closeOverlay(blocker);
    }
    s.errorMessage = QStringLiteral("earlier");
    s.showEncodingPicker();
    EXPECT_FALSE(s.isEncodingPickerOpen);
    s.errorMessage.reset();

    s.showEncodingPicker();
    ASSERT_EQ(dialogTitle(), QStringLiteral("SAVE ENCODING"));
    EXPECT_EQ(s.dosDialogActionIndex, 1) << "the selection starts on CP932";
    s.handleDosDialogKey(std::nullopt, KeyCode::left, false);
    waitForListings(s);
    s.handleDosDialogKey(std::nullopt, KeyCode::returnKey, false);
    waitForListings(s);
    EXPECT_FALSE(s.isEncodingPickerOpen);
    EXPECT_EQ(s.textEncodingLabel, QStringLiteral("UTF-8"));
    EXPECT_FALSE(s.isDirty);
    EXPECT_EQ(s.editorText, text);
    // Saved in UTF-8, the file is detected anew as UTF-8.
    s.saveEditor();
    waitForListings(s);
    EXPECT_EQ(readBytes(dir.filePath(QStringLiteral("pick.txt"))), text.toUtf8());
    s.finishExitEditor(false);
    waitForListings(s);
    s.editorURL.reset();
    s.enterEditor();
    waitForListings(s);
    EXPECT_EQ(s.textEncodingLabel, QStringLiteral("UTF-8"));
    EXPECT_EQ(s.editorText, text);
}

TEST_F(EditorTest, EachRefusalSaysWhyAndKeepsTheMode) {
    dir.makeFolder(QStringLiteral("sub"));
    const QString doc = dir.makeFile(QStringLiteral("notes.txt"), "some notes");
    const QString picture = dir.makeFile(QStringLiteral("pic.png"), "\x89PNG\r\n\x1a\n");
    dir.makeFile(QStringLiteral("bad.txt"), "\xFF\xFE\xFF\xFF\x80\x80\xFF");
    AppState& s = listedAt(QStringLiteral("sub"));
    const auto refusal = [&](const std::function<void()>& command) {
        s.errorMessage.reset();
        command();
        waitForListings(s);
        EXPECT_EQ(s.rightMode, RightPaneMode::viewer);
        return error();
    };
    EXPECT_EQ(refusal([&] { s.enterEditor(); }), QStringLiteral("No file to edit"));
    s.setSelection(0, PaneSide::left); // the parent row
    EXPECT_EQ(refusal([&] { s.enterEditor(); }), QStringLiteral("No file to edit"));
    EXPECT_EQ(refusal([&] { s.saveEditor(); }),
              QStringLiteral("Switch to EDITOR (E) before saving"));
    EXPECT_EQ(refusal([&] { s.openFileInEditor(dir.filePath(QStringLiteral("bad.txt"))); }),
              QStringLiteral("Cannot read as text: bad.txt"));
    EXPECT_EQ(refusal([&] { s.openFileInEditor(picture); }),
              QStringLiteral("This file is preview-only (not editable as text)"));
    EXPECT_EQ(s.editorURL, picture) << "VIEWER shows the picture instead";

    s.editorURL = picture;
    s.viewerKind = ViewerContentKind::preview;
    EXPECT_EQ(refusal([&] { s.enterEditor(); }),
              QStringLiteral("This file is preview-only (not editable as text)"));
    s.editorURL = doc;
    s.viewerKind = ViewerContentKind::text;
    s.isExtractedTextPreview = true;
    EXPECT_EQ(refusal([&] { s.enterEditor(); }),
              QStringLiteral("抽出プレビューのため編集できません（元ファイルは Word 等）"));
    s.viewerFromZip = true;
    EXPECT_EQ(refusal([&] { s.enterEditor(); }),
              QStringLiteral("Cannot edit files inside an archive (read-only)"));
    EXPECT_EQ(refusal([&] { s.saveEditor(); }),
              QStringLiteral("Cannot save files inside an archive"));

    s.viewerFromZip = false;
    s.rightMode = RightPaneMode::editor;
    s.editorURL.reset();
    s.errorMessage.reset();
    s.saveEditor();
    waitForListings(s);
    EXPECT_EQ(error(), QStringLiteral("No file open in editor"));
}

// A device reads as empty text and would open if only its size were asked;
// a FIFO would hold the reader in open() until a writer came.
TEST_F(EditorTest, AFifoOrADeviceIsRefusedWithoutWaitingForIt) {
    const QString fifo = dir.filePath(QStringLiteral("stuck.txt"));
    ASSERT_EQ(::mkfifo(toSystemPath(fifo).constData(), 0644), 0);
    AppState& s = listedAt(QStringLiteral("stuck.txt"));
    for (const bool fifoAtCursor : {true, false}) {
        SCOPED_TRACE(fifoAtCursor ? "FIFO at the cursor" : "device");
        s.errorMessage.reset();
        fifoAtCursor ? s.enterEditor() : s.openFileInEditor(QStringLiteral("/dev/null"));
        const bool answered = waitForListings(s, 3000);
        // A writer that opens and closes lets a reader stuck in open() go.
        const int fd = ::open(toSystemPath(fifo).constData(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0) {
            ::close(fd);
        }
        EXPECT_TRUE(answered);
        waitForListings(s);
        EXPECT_EQ(error(),
                  QStringLiteral("This item is not a regular file (not editable as text)"));
        EXPECT_EQ(s.rightMode, RightPaneMode::viewer);
    }
}

TEST_F(EditorTest, TheViewersWholeTextIsEditedAsItIsAndAHeadIsReadAgain) {
    const QString path = dir.makeFile(QStringLiteral("shown.txt"), "on the disk");
    AppState& s = listedAt(QStringLiteral("shown.txt"));
    s.editorURL = path;
    s.viewerKind = ViewerContentKind::text;
    s.editorText = QStringLiteral("in the viewer");
    s.textEncodingLabel = QStringLiteral("EUC-JP");
    s.enterEditor();
    waitForListings(s);
    EXPECT_EQ(s.rightMode, RightPaneMode::editor);
    EXPECT_EQ(s.editorText, QStringLiteral("in the viewer"));
    EXPECT_EQ(s.textEncodingLabel, QStringLiteral("EUC-JP"));

    s.rightMode = RightPaneMode::viewer;
    s.isTextPreviewTruncated = true;
    s.enterEditor();
    waitForListings(s);
    EXPECT_EQ(s.rightMode, RightPaneMode::editor);
    EXPECT_EQ(s.editorText, QStringLiteral("on the disk"));
    EXPECT_EQ(s.textEncodingLabel, QStringLiteral("UTF-8"));
    EXPECT_FALSE(s.isTextPreviewTruncated);
}

TEST_F(EditorTest, ChangesCountAgainstTheStoredTextAndAFailedSaveKeepsEditor) {
    const QString path = dir.filePath(QStringLiteral("exit.txt"));
    AppState& s = editing(QStringLiteral("exit.txt"), "first");
    // Changes count against the last stored text; typing into VIEWER changes nothing.
    s.updateEditorText(QStringLiteral("first"));
    EXPECT_FALSE(s.isDirty);
    s.rightMode = RightPaneMode::viewer;
    s.updateEditorText(QStringLiteral("typed into VIEWER"));
    EXPECT_FALSE(s.isDirty);
    EXPECT_EQ(s.editorText, QStringLiteral("first"));
    s.rightMode = RightPaneMode::editor;
    s.updateEditorText(QStringLiteral("firstx"));
    s.updateEditorText(QStringLiteral("first")); // undone: still changed
    EXPECT_TRUE(s.isDirty);

    s.updateEditorText(QStringLiteral("a 😀 in CP932"));
    s.textEncodingLabel = QStringLiteral("CP932");
    s.handleKeyDown(KeyEvent{KeyCode::escape, std::nullopt, std::nullopt, {}});
    waitForListings(s);
    ASSERT_EQ(dialogTitle(), QStringLiteral("SAVE"));
    s.handleDosDialogKey(QStringLiteral("y"), KeyCode::other, false);
    waitForListings(s);
    EXPECT_FALSE(s.pendingExitEditorToViewer);
    EXPECT_EQ(s.rightMode, RightPaneMode::editor);
    EXPECT_EQ(error(),
              QStringLiteral("この内容を CP932 で保存できません（未対応の文字があります）"));
    EXPECT_TRUE(s.isDirty);
    EXPECT_EQ(s.editorText, QStringLiteral("a 😀 in CP932"));
    EXPECT_EQ(readBytes(path), QByteArray("first"));
}

// Every way that would replace or close unsaved text asks the save question
// first: Cancel keeps the text and does nothing, Don't Save goes on, Save
// writes the file and goes on.
TEST_F(EditorTest, EveryWayOutOfUnsavedTextAsksFirst) {
    dir.makeFile(QStringLiteral("other.txt"), "other");
    const QString path = dir.filePath(QStringLiteral("draft.txt"));
    const struct {
        const char* name;
        std::function<void(AppState&)> leave;
        std::function<bool(const AppState&)> wentOn;
    } ways[] = {
        // Back to VIEWER, which reads the file again as it is on the disk.
        {"Esc",
         [](AppState& s) {
             s.handleKeyDown(KeyEvent{KeyCode::escape, std::nullopt, std::nullopt, {}});
         },
         [](const AppState& s) {
             return s.rightMode == RightPaneMode::viewer && s.focusedSide == PaneSide::left;
         }},
        {"Enter on another file",
         [](AppState& s) {
             s.focusedSide = PaneSide::left;
             s.setSelection(s.pane(PaneSide::left).selection + 1, PaneSide::left); // other.txt
             s.handleKeyDown(
                 KeyEvent{KeyCode::returnKey, QStringLiteral("\r"), QStringLiteral("\r"), {}});
         },
         [](const AppState& s) { return s.editorURL && s.editorURL->endsWith("other.txt"); }},
        {"Enter on a file of the tree",
         [](AppState& s) {
             s.focusedSide = PaneSide::left;
             s.toggleTreeMode();
             waitForListings(s);
             s.handleKeyDown(KeyEvent{KeyCode::right, std::nullopt, std::nullopt, {}});
             waitForListings(s);
             s.activateTreeSelection();
             waitForListings(s);
         },
         [](const AppState& s) { return s.rightMode == RightPaneMode::viewer; }},
        {"a layout from the menu", [](AppState& s) { s.setLayoutMode(LayoutMode::dualFiler); },
         [](const AppState& s) { return s.layoutMode == LayoutMode::dualFiler; }},
        {"the right pane toggled", [](AppState& s) { s.toggleRightPaneMode(); },
         [](const AppState& s) { return s.rightMode == RightPaneMode::filer; }},
        {"Q", [](AppState& s) { s.requestQuit(); },
         [](const AppState& s) { return s.pendingQuit; }},
    };
    for (const auto& way : ways) {
        for (const char* answer : {"cancel", "discard", "save"}) {
            SCOPED_TRACE(std::string(way.name) + ", " + answer);
            dir.makeFile(QStringLiteral("draft.txt"), "stored");
            AppState& s = editing(QStringLiteral("draft.txt"), "stored");
            s.updateEditorText(QStringLiteral("typed"));
            way.leave(s);
            ASSERT_EQ(dialogTitle(), QStringLiteral("SAVE"));
            EXPECT_EQ(s.editorText, QStringLiteral("typed"));
            EXPECT_FALSE(way.wentOn(s));
            if (QLatin1String(answer) == QLatin1String("cancel")) {
                s.handleDosDialogKey(std::nullopt, KeyCode::escape, false);
                waitForListings(s);
                EXPECT_EQ(s.rightMode, RightPaneMode::editor);
                EXPECT_EQ(s.editorText, QStringLiteral("typed"));
                EXPECT_TRUE(s.isDirty);
                EXPECT_FALSE(way.wentOn(s));
                EXPECT_FALSE(currentDosDialog(s));
                continue;
            }
            const bool save = QLatin1String(answer) == QLatin1String("save");
            s.handleDosDialogKey(QString::fromLatin1(save ? "y" : "n"), KeyCode::other, false);
            waitForListings(s);
            EXPECT_EQ(readBytes(path), save ? QByteArray("typed") : QByteArray("stored"));
            EXPECT_TRUE(way.wentOn(s));
            EXPECT_FALSE(s.isDirty);
            EXPECT_TRUE(QTest::qWaitFor([&] { return !s.isViewerLoading; }, 5000));
            if (s.rightMode == RightPaneMode::viewer && s.editorURL == path) {
                EXPECT_EQ(s.editorText, QString::fromUtf8(readBytes(path)));
            }
        }
    }
}

} // namespace
