#include "ui/PreviewBodyView.h"

#include "core/AppState.h"
#include "preview/PreviewSelection.h"
#include "ui/GeneralPreviewView.h"
#include "ui/Palette.h"
#include "ui/StaticImagePreviewView.h"
#include "ui/StillImagePreviewView.h"
#include "ui/VideoPreviewView.h"

#include <QFileInfo>
#include <QMimeDatabase>
#include <QVBoxLayout>

namespace {

bool isPlayedMedia(const QString& path) {
    const QString type = QMimeDatabase().mimeTypeForFile(path).name();
    return type.startsWith(QLatin1String("video/")) || type.startsWith(QLatin1String("audio/"));
}

} // namespace

PreviewBodyView::PreviewBodyView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setAutoFillBackground(true);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, Palette::paneBackground());
    setPalette(colours);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    connect(&m_state, &AppState::changed, this, &PreviewBodyView::sync);
    sync();
}

PreviewBodyView::Kind PreviewBodyView::kindFor(const QString& path, bool animated) {
    const QString name = QFileInfo(path).fileName();
    if (animated) {
        return Kind::pagedImage;
    }
    if (PreviewSelection::isGalleryImage(name, path)) {
        return Kind::stillImage;
    }
    if (PreviewSelection::isVideoFile(name, path) || isPlayedMedia(path)) {
        return Kind::video;
    }
    return Kind::general;
}

// Runs on every change of the state, so it looks at the file only when the
// file or its frames changed.
void PreviewBodyView::sync() {
    std::optional<QString> path;
    if (m_state.viewerKind == ViewerContentKind::preview && m_state.editorURL &&
        !m_state.editorURL->isEmpty()) {
        path = m_state.editorURL;
    }
    const auto info = path ? m_state.animatedPreviewInfo : std::nullopt;
    if (path == m_path && info == m_info) {
        return;
    }
    m_path = path;
    m_info = info;
    const Kind kind = path ? kindFor(*path, info.has_value()) : Kind::none;
    if (kind != m_kind) {
        replaceView(kind);
    }
    if (path) {
        showFile(*path);
    }
}

void PreviewBodyView::replaceView(Kind kind) {
    delete m_view;
    m_view = nullptr;
    m_kind = kind;
    switch (kind) {
    case Kind::none:
        return;
    case Kind::pagedImage:
        m_view = new StaticImagePreviewView(m_state, this);
        break;
    case Kind::stillImage:
        m_view = new StillImagePreviewView(m_state, this);
        break;
    case Kind::video:
        m_view = new VideoPreviewView(m_state, this);
        break;
    case Kind::general:
        m_view = new GeneralPreviewView(m_state, this);
        break;
    }
    layout()->addWidget(m_view);
}

void PreviewBodyView::showFile(const QString& path) {
    if (auto* paged = qobject_cast<StaticImagePreviewView*>(m_view)) {
        paged->setSource(path, *m_info);
    } else if (auto* still = qobject_cast<StillImagePreviewView*>(m_view)) {
        still->setPath(path);
    } else if (auto* video = qobject_cast<VideoPreviewView*>(m_view)) {
        video->setPath(path);
    } else if (auto* general = qobject_cast<GeneralPreviewView*>(m_view)) {
        general->setPath(path);
    }
}
