#pragma once

#include "core/Model.h"

#include <QAbstractScrollArea>

class AppState;

// One filer pane: a header with the location and the rows of the visible
// list. Only the rows in view are painted, so a folder of any size costs the
// same to draw.
class FilerPaneView : public QAbstractScrollArea {
    Q_OBJECT

public:
    FilerPaneView(AppState& state, PaneSide side, QWidget* parent = nullptr);

    PaneSide side() const { return m_side; }

public slots:
    void refreshFromState();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    int rowHeight() const;
    int headerHeight() const;
    void paintHeader(class QPainter& painter, int rowCount) const;
    void paintRow(class QPainter& painter, const FileEntry& entry, int top, bool isCursor) const;
    void updateScrollRange(int rowCount);

    AppState& m_state;
    PaneSide m_side;
};
