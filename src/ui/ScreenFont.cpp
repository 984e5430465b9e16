#include "ui/ScreenFont.h"

#include <QStringList>

namespace ScreenFont {

QFont font(double pointSize) {
    QFont face;
    face.setFamilies(QStringList()
                     << QStringLiteral("Noto Sans Mono CJK JP")
                     << QStringLiteral("DejaVu Sans Mono") << QStringLiteral("Monospace"));
    face.setStyleHint(QFont::Monospace);
    // A point of the screen is one device-independent pixel, as the column
    // widths are: the face is sized in pixels so both scale together.
    face.setPixelSize(qMax(1, qRound(pointSize)));
    return face;
}

} // namespace ScreenFont
