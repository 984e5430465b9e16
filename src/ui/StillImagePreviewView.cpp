#include "ui/StillImagePreviewView.h"

#include "core/AppState.h"
#include "core/DiskReadPool.h"
#include "preview/StillImageReading.h"
#include "ui/FitImagePreviewView.h"
#include "ui/Palette.h"
#include "ui/PreviewMessage.h"

#include <QFutureWatcher>
#include <QPainter>
#include <QScreen>
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
    // One watcher per read: a read that finishes after the file changed is
    // told apart by its path and dropped.
    auto* watcher = new QFutureWatcher<QImage>(this);
    connect(watcher, &QFutureWatcher<QImage>::finished, this, [this, watcher, path] {
        watcher->deleteLater();
        applyLoaded(path, watcher->result());
    });
    // The pane never grows past its screen: a larger picture is decoded at
    // the screen's size.
    const QScreen* shownOn = screen();
    const QSize bound =
        shownOn ? (QSizeF(shownOn->size()) * shownOn->devicePixelRatio()).toSize() : QSize();
    watcher->setFuture(QtConcurrent::run(&DiskReadPool::instance(),
                                         &StillImagePreviewView::readImage, path, bound));
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
