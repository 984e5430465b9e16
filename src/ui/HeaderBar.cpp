#include "ui/HeaderBar.h"

#include "ui/PageFlipGlyph.h"
#include "ui/Palette.h"
#include "ui/ScreenText.h"

#include <QPainter>

namespace {

constexpr double kHorizontalPadding = 8;
constexpr double kVerticalPadding = 4;
constexpr double kMinimumSpace = 8;
constexpr double kGlyphGap = 6;

// The page-flip sign of an item: a square of the text's height.
double glyphWidth(const HeaderBar::Item& item, const ScreenText& text) {
    return item.pageFlip ? text.lineHeight() + kGlyphGap : 0;
}

} // namespace

namespace HeaderBar {

double height(const ScreenText& text) {
    return text.lineHeight() + 2 * kVerticalPadding;
}

void paint(QPainter& painter, const QRectF& bar, const ScreenText& text, bool focused,
           const QList<Item>& leading, const QList<Item>& trailing) {
    if (focused) {
        painter.fillRect(bar, Palette::focusBar());
    }
    // The gap between items is one cell, the grid's own spacing.
    const double gap = text.cellWidth();
    const QRectF inner = bar.adjusted(kHorizontalPadding, 0, -kHorizontalPadding, 0);
    double fixedWidth = kMinimumSpace;
    for (const QList<Item>* items : {&leading, &trailing}) {
        for (const Item& item : *items) {
            fixedWidth += (item.shrinks ? 0 : text.width(item.text)) + glyphWidth(item, text) + gap;
        }
    }
    const double shrinkRoom = std::max(0.0, inner.width() - fixedWidth);
    const auto colorOf = [&](const Item& item) {
        return focused ? Palette::paneBackground() : item.color;
    };
    double x = inner.left();
    const auto drawGlyph = [&](const Item& item, double left) {
        if (item.pageFlip) {
            const double side = text.lineHeight();
            const QRectF square(left, bar.center().y() - side / 2, side, side);
            PageFlipGlyph::paint(painter, square, colorOf(item));
        }
        return left + glyphWidth(item, text);
    };
    for (const Item& item : leading) {
        x = drawGlyph(item, x);
        const QString shown =
            item.shrinks ? text.elided(item.text, shrinkRoom, Qt::ElideLeft) : item.text;
        text.draw(painter, QRectF(x, bar.top(), text.width(shown), bar.height()), shown,
                  colorOf(item));
        x += text.width(shown) + gap;
    }
    double right = inner.right();
    for (auto it = trailing.crbegin(); it != trailing.crend(); ++it) {
        const double width = text.width(it->text);
        text.draw(painter, QRectF(right - width, bar.top(), width, bar.height()), it->text,
                  colorOf(*it));
        right -= width + glyphWidth(*it, text);
        drawGlyph(*it, right);
        right -= gap;
    }
}

} // namespace HeaderBar
