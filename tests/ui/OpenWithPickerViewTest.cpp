// The OPEN WITH box over the screen: which row is filled, the colours of the
// default and recent marks, the empty list, and a click that opens.
#include "ui/OverlayView.h"

#include "ScreenTestSupport.h"
#include "pickers/OpenWith.h"
#include "ui/OpenWithPickerView.h"
#include "ui/Palette.h"

#include <QTest>

using namespace ScreenTest;

namespace {

class OpenWithPickerViewTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        dir.makeFile(QStringLiteral("notes.txt"), "hello");
        makeState();
        overlay = std::make_unique<OverlayView>(*state);
        overlay->resize(1000, 700);
        overlay->show();
    }
    OpenWithPickerView* openPicker(const QList<OpenWithApp>& apps) {
        state->openWithApps = apps;
        state->openWithFileURL = dir.filePath(QStringLiteral("notes.txt"));
        state->openWithFileName = QStringLiteral("notes.txt");
        state->openWithSelection = 0;
        state->isOpenWithPickerOpen = true;
        state->notifyChanged();
        QApplication::processEvents();
        QApplication::processEvents();
        return qobject_cast<OpenWithPickerView*>(overlay->box());
    }
    static QRect inside(const QRectF& area) { return area.toRect().adjusted(0, 1, 0, -1); }

    std::unique_ptr<OverlayView> overlay;
};

TEST_F(OpenWithPickerViewTest, RowsShowTheSelectionAndMarksAndAClickOpens) {
    const QString missing = dir.filePath(QStringLiteral("missing.desktop"));
    auto* view = openPicker({{QStringLiteral("/a.desktop"), QStringLiteral("Alpha"), true, true},
                             {QStringLiteral("/b.desktop"), QStringLiteral("Beta"), false, true},
                             {missing, QStringLiteral("Gamma"), false, false}});
    ASSERT_NE(view, nullptr);
    const QColor accent = Palette::rgb(0.55, 0.95, 1);
    QImage image = grab(*view);
    // The selected row: filled, its name in the title colour, its marks in the accent.
    EXPECT_GT(countColor(image, inside(view->rowRect(0)), Palette::cursorFill()), 0);
    EXPECT_GT(countColor(image, inside(view->rowRect(0)), Palette::titleText(), 30), 0);
    EXPECT_GT(countColor(image, inside(view->rowRect(0)), accent, 30), 0);
    // The others: no fill, names in white; a recent one's mark dim. (The
    // edges of white letters on the blue blend into the dim colour too, so
    // the plain row is the measure of what is only edges.)
    const auto dim = [&](int row) {
        return countColor(image, inside(view->rowRect(row)), Palette::dimText());
    };
    EXPECT_EQ(countColor(image, inside(view->rowRect(1)), Palette::cursorFill()), 0);
    EXPECT_EQ(countColor(image, inside(view->rowRect(1)), accent, 30), 0);
    EXPECT_GT(countColor(image, inside(view->rowRect(2)), Palette::fileText(), 30), 0);
    EXPECT_GT(dim(1), 2 * dim(2) + 20) << dim(1) << " " << dim(2);

    state->moveOpenWithSelection(-1);
    image = grab(*view);
    EXPECT_GT(countColor(image, inside(view->rowRect(2)), Palette::cursorFill()), 0);
    EXPECT_GT(dim(0), dim(1) + 20) << dim(0) << " " << dim(1); // two marks against one

    // A click opens with that row's application at once.
    QTest::mouseClick(view, Qt::LeftButton, {}, view->rowRect(1).center().toPoint());
    EXPECT_FALSE(state->isOpenWithPickerOpen);
    EXPECT_EQ(OpenWith::recentApplications(preferences, "txt"),
              QStringList{QStringLiteral("/b.desktop")});
}

TEST_F(OpenWithPickerViewTest, AnEmptyListSaysSoAndTheBackdropCloses) {
    auto* view = openPicker({});
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(countColor(grab(*view), view->rect(), Palette::cursorFill()), 0);
    EXPECT_GT(countColor(grab(*view), view->rect(), Palette::dimText(), 20), 0);
    QTest::mouseClick(overlay.get(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_FALSE(state->isOpenWithPickerOpen);
}

} // namespace
