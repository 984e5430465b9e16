#pragma once

// Shared by the screen tests: a state over a real folder, widgets grabbed to
// images, looking for a colour in a part of an image, and the overlay box.
#include "support/PaneRows.h"
#include "support/StateFixture.h"
#include "ui/OverlayView.h"
#include "ui/Palette.h"

#include <QApplication>
#include <QColor>
#include <QImage>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <memory>

namespace ScreenTest {

// How many pixels in the rect have the colour, within a small tolerance for
// the rounding of blended edges.
inline int countColor(const QImage& image, const QRect& rect, const QColor& color,
                      int tolerance = 6) {
    int count = 0;
    const QRect area = rect.intersected(image.rect());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (std::abs(pixel.red() - color.red()) <= tolerance &&
                std::abs(pixel.green() - color.green()) <= tolerance &&
                std::abs(pixel.blue() - color.blue()) <= tolerance) {
                ++count;
            }
        }
    }
    return count;
}

// A colour laid over another at an opacity, as the screen shows it.
inline QColor blended(const QColor& top, double opacity, const QColor& under) {
    return QColor::fromRgbF(top.redF() * opacity + under.redF() * (1 - opacity),
                            top.greenF() * opacity + under.greenF() * (1 - opacity),
                            top.blueF() * opacity + under.blueF() * (1 - opacity));
}

inline QImage grab(QWidget& widget) {
    QApplication::processEvents();
    return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

// The pixels inside an area, off its fractional edges, which the next row shares.
inline QRect inside(const QRectF& area) {
    return area.toRect().adjusted(0, 1, 0, -1);
}
// How many pixels of the cursor fill stand inside an area of the widget.
inline int filled(QWidget& view, const QRectF& area) {
    return countColor(grab(view), inside(area), Palette::cursorFill());
}

// A state over a temporary folder, listed.
class ScreenFixture : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        preferences.setValue(QStringLiteral("uiFontSize"), 13.0);
    }
    int rowOf(const QString& name, PaneSide side = PaneSide::left) const {
        return PaneRows::rowOf(*state, name, side);
    }
};

// The overlay over the whole window, and the box that stands in it.
class OverlayFixture : public ScreenFixture {
protected:
    void showOverlay() {
        makeState();
        overlay = std::make_unique<OverlayView>(*state);
        overlay->resize(1000, 700);
        overlay->show();
    }
    static void settle() {
        QApplication::processEvents();
        QApplication::processEvents();
    }
    template <typename View> View* box() {
        settle();
        return qobject_cast<View*>(overlay->box());
    }
    void clickBackdrop() { QTest::mouseClick(overlay.get(), Qt::LeftButton, {}, QPoint(5, 5)); }

    std::unique_ptr<OverlayView> overlay;
};

} // namespace ScreenTest
