#include "ui/StillImagePreviewView.h"

#include "core/AppState.h"
#include "core/Background.h"
#include "ui/FitImagePreviewView.h"
#include "ui/Palette.h"
#include "ui/PreviewMessage.h"

#include <QImageReader>
#include <QPainter>
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

QImage StillImagePreviewView::readImage(const QString& path) {
    QImageReader reader(path);
    reader.setAutoTransform(true);
    return reader.read();
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
    // A read that finishes after the file changed holds a stale ticket and
    // is dropped.
    Background::run(
        m_state.executor(), Background::Pool::diskRead, this, m_reads.take(),
        [path] { return readImage(path); }, [this](const QImage& image) { applyLoaded(image); });
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
