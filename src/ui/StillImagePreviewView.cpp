#include "ui/StillImagePreviewView.h"

#include "core/AppState.h"
#include "core/Background.h"
#include "preview/StillImageReading.h"
#include "ui/FitImagePreviewView.h"
#include "ui/Palette.h"
#include "ui/PreviewMessage.h"

#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

StillImagePreviewView::StillImagePreviewView(const AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_picture(new FitImagePreviewView(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_picture);
    m_picture->hide();
}

QImage StillImagePreviewView::readImage(const QString& path, const QSize& bound) {
    return StillImageReading::read(path, bound);
}

void StillImagePreviewView::setPath(const QString& path) {
    if (path == m_path) {
        return;
    }
    m_path = path;
    m_loading = true;
    m_failed = false;
    m_picture->setImage({});
    m_picture->hide();
    update();
    // The pane never grows past its screen: a larger picture is decoded at
    // the screen's size. A read that finishes after the file changed holds a
    // stale ticket and is dropped.
    const QScreen* shownOn = screen();
    const QSize bound =
        shownOn ? (QSizeF(shownOn->size()) * shownOn->devicePixelRatio()).toSize() : QSize();
    Background::run(
        m_state.executor(), Background::Pool::diskRead, this, m_reads.take(),
        [path, bound] { return readImage(path, bound); },
        [this](const QImage& image) { applyLoaded(image); });
}

void StillImagePreviewView::applyLoaded(const QImage& image) {
    m_loading = false;
    m_failed = image.isNull();
    m_picture->setImage(image);
    m_picture->setVisible(!m_failed);
    update();
}

QString StillImagePreviewView::statusText() const {
    if (m_loading) {
        return QStringLiteral("Loading…");
    }
    return m_failed ? QStringLiteral("Unable to load image") : QString();
}

const QImage& StillImagePreviewView::image() const {
    return m_picture->image();
}

void StillImagePreviewView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PreviewMessage::paint(painter, rect(), statusText(), m_state.uiFontSize, Palette::dimText());
}
