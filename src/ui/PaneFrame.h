#pragma once

#include "ui/Palette.h"

#include <QPainter>
#include <QRect>

// Every pane: a 1-point hairline border, navy inside, and its content 4
// points in from that.
namespace PaneFrame {

inline constexpr int kBorder = 1;
inline constexpr int kInset = 4;
inline constexpr int kContentMargin = kBorder + kInset;

inline void paint(QPainter& painter, const QRect& rect) {
    painter.fillRect(rect, Palette::hairlineColor());
    painter.fillRect(rect.adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
}

} // namespace PaneFrame
