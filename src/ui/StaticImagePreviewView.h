#pragma once

#include "core/Background.h"
#include "core/Model.h"

#include <QImage>
#include <QList>
#include <QString>
#include <QWidget>

class AppState;
class FitImagePreviewView;
class QLabel;
class QPushButton;

// A picture of several frames (APNG, GIF), shown one still frame at a time:
// the frame the VIEWER has paged to, and beside it a strip to page with.
// All frames are composed once, on a worker thread, when the file changes.
class StaticImagePreviewView : public QWidget {
    Q_OBJECT

public:
    explicit StaticImagePreviewView(AppState& state, QWidget* parent = nullptr);
    ~StaticImagePreviewView() override;

    // Starts composing the frames unless the file is the one already shown.
    void setSource(const QString& path, const AnimatedImageInfo& info);
    const QString& path() const { return m_path; }

    bool isLoading() const { return m_loading; }
    int loadedFrameCount() const { return int(m_frames.size()); }
    // The line shown in place of the picture; empty while a frame stands.
    QString statusText() const;
    // "1/2": the frame on show, counted from 1, and the number of frames.
    QString positionText() const;
    const QImage& shownFrame() const;

    QPushButton* previousButton() const { return m_previous; }
    QPushButton* nextButton() const { return m_next; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* makeStrip();
    void applyLoaded(const QList<QImage>& frames);
    void showCurrentFrame();
    int frameCount() const;
    int shownIndex() const;
    void page(int step);

    AppState& m_state;
    QString m_path;
    AnimatedImageInfo m_info;
    QList<QImage> m_frames;
    bool m_loading = false;
    Background::TicketCounter m_loads;
    FitImagePreviewView* m_picture;
    QPushButton* m_previous = nullptr;
    QPushButton* m_next = nullptr;
    QLabel* m_position = nullptr;
};
