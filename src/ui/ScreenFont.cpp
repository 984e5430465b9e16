#include "ui/ScreenFont.h"

#include <QStringList>

namespace ScreenFont {

QFont font(double pointSize) {
    QFont face;
    face.setFamilies(QStringList()
                     << QStringLiteral("Noto Sans Mono CJK JP")
                     << QStringLiteral("DejaVu Sans Mono") << QStringLiteral("Monospace"));
    face.setStyleHint(QFont::Monospace);
    face.setPointSizeF(pointSize);
    return face;
}

} // namespace ScreenFont
