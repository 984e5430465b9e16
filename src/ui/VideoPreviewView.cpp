#include "ui/VideoPreviewView.h"

#include "core/AppState.h"
#include "core/SystemPath.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"

#include <QAudioOutput>
#include <QHBoxLayout>
#include <QLabel>
#include <QMediaPlayer>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>
#include <QVideoWidget>

namespace {

// "1:05" below an hour, "1:02:05" above.
QString clockText(qint64 milliseconds) {
    const qint64 seconds = std::max<qint64>(milliseconds, 0) / 1000;
    const qint64 h = seconds / 3600;
    const qint64 m = seconds / 60 % 60;
    const qint64 s = seconds % 60;
    const QString tail = QStringLiteral("%1").arg(s, 2, 10, QLatin1Char('0'));
    if (h > 0) {
        return QStringLiteral("%1:%2:%3").arg(h).arg(m, 2, 10, QLatin1Char('0')).arg(tail);
    }
    return QStringLiteral("%1:%2").arg(m).arg(tail);
}

} // namespace

VideoPreviewView::VideoPreviewView(const AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_player(new QMediaPlayer(this))
    , m_audio(new QAudioOutput(this))
    , m_video(new QVideoWidget(this)) {
    setAutoFillBackground(true);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, Palette::paneBackground());
    setPalette(colours);
    m_player->setAudioOutput(m_audio);
    m_player->setVideoOutput(m_video);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_video, 1);
    layout->addWidget(makeControls());
    connect(m_player, &QMediaPlayer::playbackStateChanged, this,
            &VideoPreviewView::showPlaybackState);
    connect(m_player, &QMediaPlayer::positionChanged, this, &VideoPreviewView::showPlaybackState);
    connect(m_player, &QMediaPlayer::durationChanged, this, &VideoPreviewView::showPlaybackState);
    connect(m_player, &QMediaPlayer::errorOccurred, this,
            [this](QMediaPlayer::Error, const QString& message) { showError(message); });
    showPlaybackState();
}

VideoPreviewView::~VideoPreviewView() {
    m_player->stop();
}

QWidget* VideoPreviewView::makeControls() {
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(4, 4, 4, 4);
    const QFont face = ScreenFont::font(m_state.uiFontSize);
    m_playButton = new QPushButton(bar);
    m_playButton->setFont(face);
    m_playButton->setFocusPolicy(Qt::NoFocus);
    m_playButton->setStyleSheet(
        QStringLiteral("QPushButton { color: %1; background: %2; border: 1px solid %3;"
                       " padding: 2px 8px; }")
            .arg(Palette::titleText().name(), Palette::paneBackground().name(),
                 Palette::hairlineColor().name()));
    connect(m_playButton, &QPushButton::clicked, this, &VideoPreviewView::togglePlayback);
    m_status = new QLabel(bar);
    m_status->setFont(face);
    m_status->setStyleSheet(QStringLiteral("color: %1;").arg(Palette::baseText().name()));
    row->addWidget(m_playButton);
    row->addWidget(m_status, 1);
    return bar;
}

void VideoPreviewView::setPath(const QString& path) {
    if (path == m_currentPath) {
        return;
    }
    m_currentPath = path;
    m_error.clear();
    m_player->stop();
    m_opens.take();
    if (!SystemPath::hasEscapedBytes(path)) {
        play(MediaSource::open(path));
        return;
    }
    // Only a name that is not UTF-8 is opened here, by its bytes: on a
    // reader thread, as every file the screen reads.
    m_player->setSource(QUrl());
    m_source.reset();
    using Opened = std::shared_ptr<Result<MediaSource, SystemError>>;
    Background::run(
        m_state.executor(), Background::Pool::diskRead, this, m_opens.take(),
        [path] {
            return std::make_shared<Result<MediaSource, SystemError>>(MediaSource::open(path));
        },
        [this](const Opened& opened) { play(std::move(*opened)); });
}

void VideoPreviewView::play(Result<MediaSource, SystemError> source) {
    if (!source) {
        m_player->setSource(QUrl());
        m_source.reset();
        showError(source.error().description());
        return;
    }
    m_player->setSource(source->url());
    m_source = std::move(*source);
    showPlaybackState();
}

void VideoPreviewView::togglePlayback() {
    if (m_player->playbackState() == QMediaPlayer::PlayingState) {
        m_player->pause();
    } else {
        m_player->play();
    }
}

QString VideoPreviewView::statusText() const {
    return m_status->text();
}

void VideoPreviewView::showError(const QString& message) {
    m_error = message.isEmpty() ? QStringLiteral("Unable to play this file") : message;
    showPlaybackState();
}

void VideoPreviewView::showPlaybackState() {
    const bool playing = m_player->playbackState() == QMediaPlayer::PlayingState;
    m_playButton->setText(playing ? QStringLiteral("Pause") : QStringLiteral("Play"));
    m_playButton->setEnabled(m_error.isEmpty());
    const QColor colour = m_error.isEmpty() ? Palette::baseText() : Palette::unreadableFileText();
    m_status->setStyleSheet(QStringLiteral("color: %1;").arg(colour.name()));
    m_status->setText(m_error.isEmpty() ? clockText(m_player->position()) + QStringLiteral(" / ") +
                                              clockText(m_player->duration())
                                        : m_error);
}
