#pragma once

#include "core/Background.h"
#include "core/SystemPath.h"

#include <QIcon>
#include <QImage>
#include <QMimeType>
#include <QString>
#include <QStringList>
#include <QWidget>

class AppState;
class FitImagePreviewView;

// The preview of a file that is neither a picture nor a film. A PDF shows
// its first page; anything else, or a PDF that cannot be read, a card with
// the icon of its type, the type's description, its size and its date.
class GeneralPreviewView : public QWidget {
    Q_OBJECT

public:
    explicit GeneralPreviewView(const AppState& state, QWidget* parent = nullptr);

    // Shows the file unless it is the one already shown, once its type, size
    // and date have been read on a reader thread.
    void setPath(const QString& path);
    const QString& path() const { return m_path; }

    bool isRenderingPage() const { return m_renderingPage; }
    // True until the card, and for a PDF its page, are ready.
    bool isLoading() const { return m_looking || m_renderingPage; }
    // True once the look at the file has taken long enough to say so.
    bool isLookingSlowly() const { return m_lookingSlowly; }
    bool showsPage() const;
    // The card's lines, top to bottom: name, type, size, date.
    const QStringList& cardLines() const { return m_cardLines; }

    // The first page of a PDF fitted into maxSize; null when it cannot be read.
    static QImage renderFirstPage(const QString& path, const QSize& maxSize);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct FileLook {
        QMimeType type;
        SystemPath::Status info;
    };
    static FileLook lookAt(const QString& path);
    void applyLook(const QString& path, const FileLook& look);
    void showCard(const QString& path, const FileLook& look);
    void renderPage(const QString& path);
    void applyPage(const QImage& page);
    void paintCard(QPainter& painter);

    const AppState& m_state;
    QString m_path;
    bool m_renderingPage = false;
    bool m_looking = false;
    bool m_lookingSlowly = false;
    Background::TicketCounter m_renders;
    QIcon m_icon;
    QStringList m_cardLines;
    FitImagePreviewView* m_page;
};
