#include "ui/StillImagePreviewView.h"

#include "core/AppState.h"
#include "core/DiskReadPool.h"
#include "ui/FitImagePreviewView.h"
#include "ui/Palette.h"
#include "ui/PreviewMessage.h"

#include <QFutureWatcher>
#include <QImageReader>
#include <QPainter>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

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
    // One watcher per read: a read that finishes after the file changed is
    // told apart by its path and dropped.
    auto* watcher = new QFutureWatcher<QImage>(this);
    connect(watcher, &QFutureWatcher<QImage>::finished, this, [this, watcher, path] {
        watcher->deleteLater();
        applyLoaded(path, watcher->result());
    });
    watcher->setFuture(
        QtConcurrent::run(&DiskReadPool::instance(), &StillImagePreviewView::readImage, path));
}

void StillImagePreviewView::applyLoaded(const QString& path, const QImage& image) {
    if (path != m_path) {
        return;
    }
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
