#include "ui/FitImagePreviewView.h"

#include "ui/Palette.h"

#include <QPainter>

FitImagePreviewView::FitImagePreviewView(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void FitImagePreviewView::setImage(const QImage& image) {
    m_image = image;
    update();
}

QRect FitImagePreviewView::fittedRect(const QSize& imageSize, const QRect& bounds) {
    if (imageSize.isEmpty() || bounds.isEmpty()) {
        return {};
    }
    QSize size = imageSize;
    if (size.width() > bounds.width() || size.height() > bounds.height()) {
        size.scale(bounds.size(), Qt::KeepAspectRatio);
    }
    QRect fitted(QPoint(), size.expandedTo(QSize(1, 1)));
    fitted.moveCenter(bounds.center());
    return fitted;
}

void FitImagePreviewView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::paneBackground());
    const QRect target = fittedRect(m_image.size(), rect());
    if (target.isEmpty()) {
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform, target.size() != m_image.size());
    painter.drawImage(target, m_image);
}
