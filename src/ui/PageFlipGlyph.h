#pragma once

#include <QColor>
#include <QWidget>

// A small drawn sign of a page being turned: a sheet with its corner folded
// over, and a curved arrow. It marks the frame strip of a paged picture.
class PageFlipGlyph : public QWidget {
    Q_OBJECT

public:
    explicit PageFlipGlyph(int size, QWidget* parent = nullptr);

    QSize sizeHint() const override { return {m_size, m_size}; }
    void setColor(const QColor& color);

    // Draws the sign into a square.
    static void paint(QPainter& painter, const QRectF& square, const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_size;
    QColor m_color;
};
