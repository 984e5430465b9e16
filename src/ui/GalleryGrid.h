#pragma once

#include "core/AppState.h"
#include "core/Background.h"
#include "ui/ScreenText.h"

#include <QAbstractScrollArea>
#include <QHash>
#include <QImage>

#include <optional>

// The GALLERY's scrolling grid: five square cells a row, each with its
// thumbnail and the name below. Painted in one widget, so a folder of any
// size costs only the cells in view. Thumbnails are made on worker threads,
// only for cells in view and a few at a time; what scrolls out of view is
// forgotten and made again when it comes back.
class GalleryGrid : public QAbstractScrollArea {
    Q_OBJECT

public:
    enum class Thumbnail { loading, ready, failed };

    explicit GalleryGrid(AppState& state, QWidget* parent = nullptr);

    // Takes the items, the selection and the font from the state.
    void sync();
    // Where a cell stands in the viewport, scrolled as it is.
    QRect cellRect(int index) const;
    // What a cell in view shows in place of its picture; none out of view.
    std::optional<Thumbnail> thumbnail(int index) const;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    struct Cell {
        Thumbnail state = Thumbnail::loading;
        bool started = false;
        // A cell forgotten and made again has a counter of its own, so the
        // load of its former self is stale.
        Background::TicketCounter load;
        QImage image;
    };

    double cellSide() const;
    double rowPitch() const;
    int rowCount() const;
    std::optional<int> indexAt(const QPoint& point) const;
    void updateRange();
    void keepInView(int index);
    QList<int> indicesInView() const;
    void loadCellsInView();
    void startLoads();
    void takeThumbnail(const QString& key, const Background::Ticket& ticket,
                       const std::optional<QImage>& image);
    void paintCell(QPainter& painter, int index, const QRect& rect) const;

    AppState& m_state;
    ScreenText m_text;
    ScreenText m_markText;
    QList<AppState::GalleryItem> m_items;
    std::optional<int> m_selection;
    QString m_identity;
    // The cells in view by item id; a result for an id no longer here, or
    // for an older request of it, is dropped.
    QHash<QString, Cell> m_cells;
    int m_running = 0;
};
