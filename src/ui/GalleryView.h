#pragma once

#include "ui/GalleryGrid.h"

#include <QWidget>

class AppState;

// The right half in the gallery layout: the GALLERY header, the grid of the
// left pane's images (or "(画像なし)" when there are none) and the line of
// the keys that work here.
class GalleryView : public QWidget {
    Q_OBJECT

public:
    explicit GalleryView(AppState& state, QWidget* parent = nullptr);

    GalleryGrid& grid() const { return *m_grid; }

public slots:
    void refreshFromState();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void applyFontSize();
    double lineHeight() const;

    AppState& m_state;
    GalleryGrid* m_grid = nullptr;
    double m_fontSize = 0;
};
