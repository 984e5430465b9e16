// What stands over the screen: the order of the overlays, the dialog box with
// its selected button, the prompts' fields, and clicks on the backdrop.
#include "ui/OverlayView.h"

#include "ScreenTestSupport.h"
#include "ui/DosDialogView.h"
#include "ui/Palette.h"
#include "ui/PromptBoxView.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QTest>

using namespace ScreenTest;

namespace {

class OverlayTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        dir.makeFile(QStringLiteral("file.txt"));
        makeState();
        overlay = std::make_unique<OverlayView>(*state);
        overlay->resize(1000, 700);
        overlay->show();
    }
    void settle() {
        QApplication::processEvents();
        QApplication::processEvents();
    }

    std::unique_ptr<OverlayView> overlay;
};

TEST_F(OverlayTest, TheFirstOverlayInOrderStands) {
    EXPECT_EQ(OverlayView::kindFor(*state), OverlayView::Kind::none);
    state->copyMovePathKind = AppState::CopyMoveKind::copy;
    EXPECT_EQ(OverlayView::kindFor(*state), OverlayView::Kind::copyMovePathPrompt);
    state->isRenamePromptOpen = true;
    EXPECT_EQ(OverlayView::kindFor(*state), OverlayView::Kind::renamePrompt);
    state->createItemKind = CreateItemKind::file;
    EXPECT_EQ(OverlayView::kindFor(*state), OverlayView::Kind::createItemPrompt);
    state->isWildcardPromptOpen = true;
    EXPECT_EQ(OverlayView::kindFor(*state), OverlayView::Kind::wildcardPrompt);
    state->isSortPickerOpen = true;
    EXPECT_EQ(OverlayView::kindFor(*state), OverlayView::Kind::sortPicker);
    state->isSearchTreeBoxOpen = true;
    EXPECT_EQ(OverlayView::kindFor(*state), OverlayView::Kind::searchTreeBox);
    state->pendingQuit = true;
    EXPECT_EQ(OverlayView::kindFor(*state), OverlayView::Kind::dosDialog);
}

TEST_F(OverlayTest, TheDialogBoxFillsItsSelectedButton) {
    state->requestQuit();
    settle();
    auto* box = qobject_cast<DosDialogView*>(overlay->box());
    ASSERT_NE(box, nullptr);
    EXPECT_GE(box->width(), 360);
    EXPECT_LE(box->width(), 560);
    const QList<QRectF> buttons = box->buttonRects();
    ASSERT_EQ(buttons.size(), 2);
    const auto filled = [&](int index) {
        return countColor(grab(*box), buttons.at(index).toRect(), Palette::cursorFill());
    };
    EXPECT_GT(filled(0), 0);
    EXPECT_EQ(filled(1), 0);
    // " Y:OK " quits: it is drawn in the warning colour once it is not selected.
    state->moveDosDialogSelection(1);
    settle();
    EXPECT_EQ(filled(0), 0);
    EXPECT_GT(countColor(grab(*box), buttons.at(0).toRect(), QColor::fromRgbF(1, 0.45, 0.45)), 0);
    EXPECT_GT(filled(1), 0);

    // The backdrop does nothing under a dialog; a click on a button runs it.
    QTest::mouseClick(overlay.get(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_TRUE(state->pendingQuit);
    QTest::mouseClick(box, Qt::LeftButton, {}, buttons.at(1).center().toPoint());
    EXPECT_FALSE(state->pendingQuit);
    settle();
    EXPECT_FALSE(overlay->isVisible());
}

TEST_F(OverlayTest, TheCreatePromptsFieldMakesTheFolderOnEnter) {
    overlay->activateWindow();
    state->openCreateItemPrompt(CreateItemKind::folder);
    settle();
    auto* box = qobject_cast<PromptBoxView*>(overlay->box());
    ASSERT_NE(box, nullptr);
    QTest::keyClicks(box->field(), QStringLiteral("made by typing"));
    EXPECT_EQ(state->createItemName, QStringLiteral("made by typing"));
    QTest::keyClick(box->field(), Qt::Key_Return);
    EXPECT_TRUE(QFileInfo(dir.filePath(QStringLiteral("made by typing"))).isDir());
    EXPECT_FALSE(state->createItemKind.has_value());
}

TEST_F(OverlayTest, TheRenameFieldStartsWithTheNameAndTheBackdropCancels) {
    state->setSelection(rowOf(QStringLiteral("file.txt")), PaneSide::left);
    state->openRenamePrompt();
    settle();
    auto* box = qobject_cast<PromptBoxView*>(overlay->box());
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->field()->text(), QStringLiteral("file.txt"));
    QTest::mouseClick(overlay.get(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_FALSE(state->isRenamePromptOpen);
    EXPECT_TRUE(QFileInfo::exists(dir.filePath(QStringLiteral("file.txt"))));
}

} // namespace
