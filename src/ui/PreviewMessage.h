#pragma once

#include <QColor>
#include <QString>

class QPainter;
class QRect;

// The one line a preview shows in place of its picture ("Loading…",
// "Unable to load image"): the screen face, centred on the navy pane.
namespace PreviewMessage {

void paint(QPainter& painter, const QRect& rect, const QString& message, double fontSize,
           const QColor& color);

} // namespace PreviewMessage
