#pragma once

#include <QPointer>
#include <QWidget>

class AppState;

// What stands over the screen: at most one box, the first that applies in a
// fixed order, centred over a black backdrop. A click on the backdrop closes
// the box as its Esc does; under the DOS dialog it does nothing.
class OverlayView : public QWidget {
    Q_OBJECT

public:
    enum class Kind {
        none,
        dosDialog,
        searchTreeBox,
        sortPicker,
        jumpDialog,
        volumePicker,
        openWithPicker,
        wildcardPrompt,
        createItemPrompt,
        renamePrompt,
        attributePrompt,
        copyMovePathPrompt,
    };

    explicit OverlayView(AppState& state, QWidget* parent = nullptr);

    // The overlay that stands for the state, whether or not it has a box yet.
    static Kind kindFor(const AppState& state);
    Kind kind() const { return m_kind; }
    QWidget* box() const { return m_box; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void followState();
    QWidget* makeBox(Kind kind);
    void placeBox();
    void closeAsEsc();

    AppState& m_state;
    Kind m_kind = Kind::none;
    QPointer<QWidget> m_box;
};
