#include "ui/PreviewBodyView.h"

#include "core/AppState.h"
#include "core/FileDescriptor.h"
#include "core/PathUtils.h"
#include "preview/PreviewSelection.h"
#include "ui/GeneralPreviewView.h"
#include "ui/Palette.h"
#include "ui/StaticImagePreviewView.h"
#include "ui/StillImagePreviewView.h"
#include "ui/VideoPreviewView.h"

#include <QFile>
#include <QMimeDatabase>
#include <QVBoxLayout>

namespace {

bool isPlayedType(const QMimeType& type) {
    const QString name = type.name();
    return name.startsWith(QLatin1String("video/")) || name.startsWith(QLatin1String("audio/"));
}

// The type a name alone gives, or none when the name says nothing.
std::optional<QMimeType> typeByName(const QString& name) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension);
    if (!type.isValid() || type.isDefault()) {
        return std::nullopt;
    }
    return type;
}

// Reads the file's first bytes: for a reader thread. The file is opened as
// every reader of the program opens one, so a FIFO never holds the thread.
bool isPlayedByContent(const QString& path) {
    const auto file = openRegularQFile(path);
    return file && isPlayedType(QMimeDatabase().mimeTypeForData(file->get()));
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

std::optional<PreviewBodyView::Kind> PreviewBodyView::kindByName(const QString& path,
                                                                 bool animated) {
    const QString name = PathUtils::lastPathComponent(path);
    if (animated) {
        return Kind::pagedImage;
    }
    if (PreviewSelection::isGalleryImage(name, std::nullopt)) {
        return Kind::stillImage;
    }
    const auto type = typeByName(name);
    if (PreviewSelection::isVideoFile(name, std::nullopt) || (type && isPlayedType(*type))) {
        return Kind::video;
    }
    return type ? std::optional(Kind::general) : std::nullopt;
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
    m_contentLooks.take();
    if (!path) {
        replaceView(Kind::none);
        return;
    }
    const auto kind = kindByName(*path, info.has_value());
    showAs(*path, kind.value_or(Kind::general));
    if (!kind) {
        lookAtContent(*path);
    }
}

void PreviewBodyView::showAs(const QString& path, Kind kind) {
    replaceView(kind);
    showFile(path);
}

// A name that says nothing leaves the choice between the card and the film
// player to the first bytes, read on a reader thread: the card stands until
// they tell it is sound or a film.
void PreviewBodyView::lookAtContent(const QString& path) {
    Background::run(
        m_state.executor(), Background::Pool::diskRead, this, m_contentLooks.take(),
        [path] { return isPlayedByContent(path); },
        [this, path](bool played) {
            if (played && m_path == path) {
                showAs(path, Kind::video);
            }
        });
}

void PreviewBodyView::replaceView(Kind kind) {
    if (kind == m_kind) {
        return;
    }
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
