// What stands over the screen: the order of the overlays, the dialog box with
// its selected button, the prompts' fields, and clicks on the backdrop.
#include "ui/OverlayView.h"

#include "ScreenTestSupport.h"
#include "ui/DosDialogView.h"
#include "ui/PromptBoxView.h"

#include <QFileInfo>
#include <QLineEdit>

using namespace ScreenTest;

namespace {

class OverlayTest : public OverlayFixture {
protected:
    void SetUp() override {
        OverlayFixture::SetUp();
        dir.makeFile(QStringLiteral("file.txt"));
        showOverlay();
    }
};

TEST_F(OverlayTest, TheOpenOverlayStandsUnderAnyDialog) {
    using Kind = OverlayView::Kind;
    EXPECT_EQ(OverlayView::kindFor(*state), Kind::none);
    state->copyMovePathPrompt.kind = AppState::CopyMoveKind::copy;
    state->createItemPrompt.kind = CreateItemKind::file;
    // Each one opened takes the place of the last.
    const std::pair<Overlay, Kind> opened[] = {
        {Overlay::copyMovePathPrompt, Kind::copyMovePathPrompt},
        {Overlay::renamePrompt, Kind::renamePrompt},
        {Overlay::createItemPrompt, Kind::createItemPrompt},
        {Overlay::wildcardPrompt, Kind::wildcardPrompt},
        {Overlay::sortPicker, Kind::sortPicker},
        {Overlay::searchTreeBox, Kind::searchTreeBox}};
    for (const auto& [which, kind] : opened) {
        state->showOverlay(which);
        EXPECT_EQ(OverlayView::kindFor(*state), kind);
    }
    state->pendingQuit = true;
    EXPECT_EQ(OverlayView::kindFor(*state), Kind::dosDialog);
}

TEST_F(OverlayTest, TheDialogBoxFillsItsSelectedButton) {
    state->requestQuit();
    auto* dialog = box<DosDialogView>();
    ASSERT_NE(dialog, nullptr);
    const QList<QRectF> buttons = dialog->buttonRects();
    ASSERT_EQ(buttons.size(), 2);
    const auto fill = [&](int index) { return filled(*dialog, buttons.at(index)); };
    EXPECT_GT(fill(0), 0);
    EXPECT_EQ(fill(1), 0);
    // " Y:OK " quits: it is drawn in the warning colour once it is not selected.
    state->moveDosDialogSelection(1);
    settle();
    EXPECT_EQ(fill(0), 0);
    EXPECT_GT(countColor(grab(*dialog), buttons.at(0).toRect(), QColor::fromRgbF(1, 0.45, 0.45)),
              0);
    EXPECT_GT(fill(1), 0);

    // The backdrop does nothing under a dialog; a click on a button runs it.
    clickBackdrop();
    EXPECT_TRUE(state->pendingQuit);
    QTest::mouseClick(dialog, Qt::LeftButton, {}, buttons.at(1).center().toPoint());
    EXPECT_FALSE(state->pendingQuit);
    settle();
    EXPECT_FALSE(overlay->isVisible());
}

TEST_F(OverlayTest, ThePromptFieldsMakeOnEnterAndTheBackdropCancels) {
    overlay->activateWindow();
    state->openCreateItemPrompt(CreateItemKind::folder);
    auto* prompt = box<PromptBoxView>();
    ASSERT_NE(prompt, nullptr);
    // The box stands in the middle of the backdrop.
    EXPECT_NEAR(prompt->geometry().center().x(), overlay->width() / 2, 1);
    EXPECT_NEAR(prompt->geometry().center().y(), overlay->height() / 2, 1);
    // A size chosen from the menu while the box stands applies to it at once;
    // the box grows and shrinks with its text and stays in the middle.
    const int heightAt13 = prompt->height();
    state->setUIFontSize(18);
    EXPECT_TRUE(QTest::qWaitFor([&] { return prompt->height() > heightAt13; }, 2000));
    EXPECT_EQ(prompt->field()->font().pixelSize(), 18);
    EXPECT_NEAR(prompt->geometry().center().y(), overlay->height() / 2, 1);
    state->setUIFontSize(13);
    EXPECT_TRUE(QTest::qWaitFor([&] { return prompt->height() == heightAt13; }, 2000));
    QTest::keyClicks(prompt->field(), QStringLiteral("made by typing"));
    EXPECT_EQ(state->createItemPrompt.name, QStringLiteral("made by typing"));
    QTest::keyClick(prompt->field(), Qt::Key_Return);
    ASSERT_TRUE(waitForListings(*state));
    EXPECT_TRUE(QFileInfo(dir.filePath(QStringLiteral("made by typing"))).isDir());
    EXPECT_FALSE(state->isOpen(Overlay::createItemPrompt));

    // The wildcard field starts with the last pattern, and typing replaces it.
    state->openWildcardPrompt();
    prompt = box<PromptBoxView>();
    ASSERT_NE(prompt, nullptr);
    QTest::keyClicks(prompt->field(), QStringLiteral("*.TXT"));
    QTest::keyClick(prompt->field(), Qt::Key_Return);
    EXPECT_EQ(state->errorMessage, std::nullopt);
    EXPECT_TRUE(state->taggedKeys.contains(dir.filePath(QStringLiteral("file.txt"))));

    // The rename field starts with the name; a click beside the box cancels.
    state->setSelection(rowOf(QStringLiteral("file.txt")), PaneSide::left);
    state->openRenamePrompt();
    prompt = box<PromptBoxView>();
    ASSERT_NE(prompt, nullptr);
    EXPECT_EQ(prompt->field()->text(), QStringLiteral("file.txt"));
    clickBackdrop();
    EXPECT_FALSE(state->isOpen(Overlay::renamePrompt));
    EXPECT_TRUE(QFileInfo::exists(dir.filePath(QStringLiteral("file.txt"))));
}

} // namespace
