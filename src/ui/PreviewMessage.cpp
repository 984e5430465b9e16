#include "ui/PreviewMessage.h"

#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QPainter>

namespace PreviewMessage {

void paint(QPainter& painter, const QRect& rect, const QString& message, double fontSize,
           const QColor& color) {
    painter.fillRect(rect, Palette::paneBackground());
    if (message.isEmpty()) {
        return;
    }
    const ScreenText text(ScreenFont::font(fontSize));
    const QString line = text.elided(message, rect.width(), Qt::ElideRight);
    text.draw(painter, QRectF(rect), line, color, Qt::AlignHCenter);
}

} // namespace PreviewMessage
