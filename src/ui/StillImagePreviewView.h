#pragma once

#include "core/Background.h"

#include <QImage>
#include <QString>
#include <QWidget>

class AppState;
class FitImagePreviewView;

// A picture of one frame (JPEG, a still PNG, a one-frame GIF, …), decoded on
// a worker thread and turned upright by its orientation tag. "Loading…"
// stands while it is read, "Unable to load image" when it cannot be decoded.
class StillImagePreviewView : public QWidget {
    Q_OBJECT

public:
    explicit StillImagePreviewView(const AppState& state, QWidget* parent = nullptr);

    // Starts reading the file unless it is the one already shown.
    void setPath(const QString& path);
    const QString& path() const { return m_path; }

    bool isLoading() const { return m_loading; }
    // The line shown in place of the picture; empty while the picture stands.
    QString statusText() const;
    const QImage& image() const;

    // Reads the picture upright, no larger than bound; a null image when it
    // cannot be decoded.
    static QImage readImage(const QString& path, const QSize& bound);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void applyLoaded(const QImage& image);

    const AppState& m_state;
    QString m_path;
    bool m_loading = false;
    bool m_failed = false;
    Background::TicketCounter m_reads;
    FitImagePreviewView* m_picture;
};
