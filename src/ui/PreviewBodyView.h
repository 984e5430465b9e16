#pragma once

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

    // The view a file calls for. A multi-frame picture is paged; sound plays
    // in the film player too.
    static Kind kindFor(const QString& path, bool animated);

private:
    void sync();
    void replaceView(Kind kind);
    void showFile(const QString& path);

    AppState& m_state;
    Kind m_kind = Kind::none;
    std::optional<QString> m_path;
    std::optional<AnimatedImageInfo> m_info;
    QWidget* m_view = nullptr;
};
