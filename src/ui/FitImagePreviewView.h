#pragma once

#include <QImage>
#include <QWidget>

// A picture scaled to fit the view with its aspect ratio kept and centred on
// the navy pane. It is never drawn larger than its own size, so a small icon
// stays sharp.
class FitImagePreviewView : public QWidget {
    Q_OBJECT

public:
    explicit FitImagePreviewView(QWidget* parent = nullptr);

    void setImage(const QImage& image);
    const QImage& image() const { return m_image; }

    // Where the image lands in a view of the given size.
    static QRect fittedRect(const QSize& imageSize, const QRect& bounds);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_image;
};
