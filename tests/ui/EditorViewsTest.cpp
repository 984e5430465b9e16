// The right pane's text views: the column ruler, EDITOR handing typed text to
// the state, VIEWER's text keeping its place, and what an empty body says.
#include "ui/EditorColumnRuler.h"
#include "ui/EditorPaneView.h"
#include "ui/EditorTextView.h"
#include "ui/ViewerPlainTextView.h"

#include "ScreenTestSupport.h"
#include "support/ListingWait.h"

#include <QFile>
#include <QLineEdit>
#include <QScrollBar>

using namespace ScreenTest;

namespace {

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

TEST(EditorColumnRulerTest, MarksEveryFifthAndTenthColumnAcrossTheWidth) {
    EXPECT_EQ(EditorColumnRuler::marks(23), QStringLiteral("----+----1----+----2---"));
    const QString long_ = EditorColumnRuler::marks(120);
    EXPECT_EQ(long_.mid(94, 10), QStringLiteral("+----0----")) << "column 100 shows the 0 of 10";
    EXPECT_EQ(long_.at(109), QLatin1Char('1'));

    EXPECT_EQ(EditorColumnRuler::columnCount(8 + 7 * 60, 7), 60);
    EXPECT_EQ(EditorColumnRuler::columnCount(8 + 7 * 60 + 6, 7), 60) << "a part column is left off";
    EXPECT_EQ(EditorColumnRuler::columnCount(100, 7), 40) << "never fewer than 40";
    EXPECT_EQ(EditorColumnRuler::columnCount(108, 0.5), 100) << "a width under 1 counts as 1";
}

class EditorViewsTest : public ScreenFixture {
protected:
    void TearDown() override {
        editorPane.reset();
        ScreenFixture::TearDown();
    }
    // EDITOR shown over a state listing the folder, with the file opened in it.
    EditorTextView* editorOn(const QString& path) {
        makeState();
        editorPane.emplace(*state);
        editorPane->resize(600, 400);
        editorPane->show();
        editorPane->activateWindow();
        return openAgain(path);
    }
    EditorTextView* openAgain(const QString& path) {
        state->openFileInEditor(path);
        waitForListings(*state);
        QApplication::processEvents();
        return editorPane->findChild<EditorTextView*>();
    }

    std::optional<EditorPaneView> editorPane;
};

TEST_F(EditorViewsTest, TypingInEditorReachesTheStateAndMarksTheFileChanged) {
    // A no-break space and a carriage return must come back as themselves.
    const QString first = dir.makeFile(QStringLiteral("t.txt"), "first\xC2\xA0line\r\nsecond\r\n");
    auto* editor = editorOn(first);
    ASSERT_NE(editor, nullptr);
    AppState& s = *state;
    EXPECT_TRUE(editor->isVisible());
    EXPECT_FALSE(s.isDirty);

    QTest::keyClick(editor, Qt::Key_End, Qt::ControlModifier);
    QTest::keyClicks(editor, QStringLiteral("third"));
    EXPECT_TRUE(s.isDirty);
    EXPECT_EQ(s.editorText, QStringLiteral("first\u00A0line\r\nsecond\r\nthird"));

    // Another file replaces the text, and a fresh one is not marked changed.
    dir.makeFile(QStringLiteral("u.txt"), "other");
    s.isDirty = false;
    openAgain(dir.filePath(QStringLiteral("u.txt")));
    EXPECT_EQ(editor->text(), QStringLiteral("other"));
    EXPECT_FALSE(s.isDirty);

    // Opening takes the keyboard back from wherever it went.
    auto* elsewhere = new QLineEdit(&*editorPane);
    elsewhere->show();
    elsewhere->setFocus();
    ASSERT_TRUE(elsewhere->hasFocus());
    openAgain(first);
    EXPECT_TRUE(editor->hasFocus());
}

// A file with mixed endings, a paragraph separator and a noncharacter the
// view breaks lines at: saved unchanged it is the same bytes, and an edit on
// one line changes that line only.
TEST_F(EditorViewsTest, EveryLineKeepsItsOwnEndingThroughAnEdit) {
    const QByteArray bytes = "unix\nwindows\r\nold mac\rsep\xE2\x80\xA9"
                             "frame\xEF\xB7\x90"
                             "end";
    const QString path = dir.makeFile(QStringLiteral("mixed.txt"), bytes);
    auto* editor = editorOn(path);
    ASSERT_NE(editor, nullptr);
    AppState& s = *state;
    EXPECT_EQ(editor->text(), QString::fromUtf8(bytes));
    s.saveEditor();
    waitForListings(s);
    EXPECT_EQ(bytesOf(path), bytes);

    QTest::keyClick(editor, Qt::Key_Home, Qt::ControlModifier);
    QTest::keyClick(editor, Qt::Key_Down);
    QTest::keyClick(editor, Qt::Key_End);
    QTest::keyClicks(editor, QStringLiteral("!"));
    QTest::keyClick(editor, Qt::Key_Return);
    QTest::keyClicks(editor, QStringLiteral("new"));
    ASSERT_TRUE(s.isDirty);
    s.saveEditor();
    waitForListings(s);
    EXPECT_EQ(bytesOf(path), QByteArray("unix\nwindows!\r\nnew\r\nold mac\rsep\xE2\x80\xA9"
                                        "frame\xEF\xB7\x90"
                                        "end"));
}

TEST_F(EditorViewsTest, AnUnchangedTextKeepsTheViewersScrollPosition) {
    QString text;
    for (int i = 0; i < 500; ++i) {
        text += QStringLiteral("line %1\n").arg(i);
    }
    ViewerPlainTextView view(13);
    view.resize(400, 200);
    view.show();
    view.showText(text, 13);
    QApplication::processEvents();
    QScrollBar* bar = view.verticalScrollBar();
    bar->setValue(bar->maximum() / 2);
    const int scrolled = bar->value();
    ASSERT_GT(scrolled, 0);
    view.showText(text, 13);
    QApplication::processEvents();
    EXPECT_EQ(bar->value(), scrolled);
    view.showText(text + QStringLiteral("more"), 13);
    QApplication::processEvents();
    EXPECT_EQ(bar->value(), 0) << "another text starts at its top";
}

TEST_F(EditorViewsTest, AnEmptyBodySaysWhyNothingIsShown) {
    dir.makeFolder(QStringLiteral("folder"));
    dir.makeFile(QStringLiteral("file.txt"), "x");
    AppState& s = makeState();
    EditorPaneView pane(s);
    s.setSelection(rowOf(QStringLiteral("folder")), PaneSide::left);
    EXPECT_EQ(pane.placeholderText(), QStringLiteral("Enter: view"));
    s.setSelection(rowOf(QStringLiteral("file.txt")), PaneSide::left);
    EXPECT_EQ(pane.placeholderText(), QStringLiteral("Enter: view  /  E: edit"));

    s.editorURL = dir.filePath(QStringLiteral("file.txt"));
    s.viewerKind = ViewerContentKind::text;
    s.isViewerLoading = true;
    EXPECT_EQ(pane.placeholderText(), QStringLiteral("Loading preview…"));
    s.isViewerLoading = false;
    EXPECT_EQ(pane.placeholderText(), QString()) << "the text view stands there";
    s.viewerKind = ViewerContentKind::unsupported;
    EXPECT_EQ(pane.placeholderText(), QStringLiteral("No preview available"));
    s.viewerSkipReason = QStringLiteral("ディスクイメージはプレビューしません");
    EXPECT_EQ(pane.placeholderText(), QStringLiteral("ディスクイメージはプレビューしません"));
}

} // namespace
