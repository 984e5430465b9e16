#pragma once

#include <QWidget>

class AppState;

// The VIEWER's body for a file shown as a picture, a film or a document:
// picks the view by the file on show and keeps it while the file stays.
class PreviewBodyView : public QWidget {
    Q_OBJECT

public:
    explicit PreviewBodyView(AppState& state, QWidget* parent = nullptr);

private:
    AppState& m_state;
};
