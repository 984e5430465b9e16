#pragma once

#include "core/Background.h"
#include "preview/MediaSource.h"

#include <QString>
#include <QWidget>

#include <optional>

class AppState;
class QAudioOutput;
class QLabel;
class QMediaPlayer;
class QPushButton;
class QVideoWidget;

// A film or a sound played in the VIEWER. The player outlives redraws: only
// a different file replaces what it plays, so playback goes on while the
// screen around it changes. A file the installed codecs cannot play shows
// the player's own reason below the picture.
class VideoPreviewView : public QWidget {
    Q_OBJECT

public:
    explicit VideoPreviewView(const AppState& state, QWidget* parent = nullptr);
    ~VideoPreviewView() override;

    // Loads the file into the player unless it is the one already loaded.
    void setPath(const QString& path);
    const QString& currentPath() const { return m_currentPath; }

    QMediaPlayer* player() const { return m_player; }
    // The line below the picture: the time, or why the file does not play.
    QString statusText() const;

private:
    QWidget* makeControls();
    void togglePlayback();
    void showPlaybackState();
    void showError(const QString& message);
    void play(Result<MediaSource, SystemError> source);

    const AppState& m_state;
    QString m_currentPath;
    QString m_error;
    // The file being played, held open for the player.
    std::optional<MediaSource> m_source;
    // The opening of a file named in bytes that are not UTF-8, under way.
    Background::TicketCounter m_opens;
    QMediaPlayer* m_player;
    QAudioOutput* m_audio;
    QVideoWidget* m_video;
    QPushButton* m_playButton = nullptr;
    QLabel* m_status = nullptr;
};
