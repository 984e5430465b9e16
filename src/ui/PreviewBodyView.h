#pragma once

#include "core/Background.h"
#include "core/Model.h"

#include <QString>
#include <QWidget>

#include <optional>

class AppState;

// The VIEWER's body for a file shown as a picture, a film or a document:
// picks the view by the file on show and keeps it while the file stays, so
// a film plays on and frames are not composed again on every redraw.
class PreviewBodyView : public QWidget {
    Q_OBJECT

public:
    enum class Kind { none, pagedImage, stillImage, video, general };

    explicit PreviewBodyView(AppState& state, QWidget* parent = nullptr);

    Kind kind() const { return m_kind; }
    // The view now standing in the body; null when nothing is previewed.
    QWidget* currentView() const { return m_view; }

    // The view a file's name calls for, without touching the file; none when
    // the name says nothing. A multi-frame picture is paged; sound plays in
    // the film player too.
    static std::optional<Kind> kindByName(const QString& path, bool animated);

private:
    void sync();
    void showAs(const QString& path, Kind kind);
    void lookAtContent(const QString& path);
    void replaceView(Kind kind);
    void showFile(const QString& path);

    AppState& m_state;
    Kind m_kind = Kind::none;
    std::optional<QString> m_path;
    std::optional<AnimatedImageInfo> m_info;
    QWidget* m_view = nullptr;
    // The look at a nameless file's first bytes under way.
    Background::TicketCounter m_contentLooks;
};
