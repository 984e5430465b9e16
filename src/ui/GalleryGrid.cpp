#include "ui/GalleryGrid.h"

#include "core/Background.h"
#include "preview/Gallery.h"
#include "preview/GalleryThumbnail.h"
#include "search/TreeSession.h"
#include "ui/Palette.h"
#include "ui/RowListArea.h"
#include "ui/ScreenFont.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace {

// The gap between cells and around the grid.
constexpr int kSpacing = 10;
// Thumbnails made at once; the rest of the cells in view wait their turn.
constexpr int kMaxRunningLoads = 2;
constexpr int kImageInset = 4;
// The loading and failed marks stand in for a picture, so they are drawn large.
constexpr double kMarkScale = 2.5;

// The folder the items come from: the pane's location, and in tree mode the
// folder under the tree's cursor.
QString sourceIdentity(const AppState& state) {
    QString identity = AppState::locationKey(state.pane(PaneSide::left).location);
    if (const auto session = state.pane(PaneSide::left).treeMode
                                 ? state.pane(PaneSide::left).treeSession
                                 : nullptr) {
        identity += QLatin1Char('\n') + session->selectedPath();
    }
    return identity;
}

} // namespace

GalleryGrid::GalleryGrid(AppState& state, QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_state(state)
    , m_text(ScreenFont::font(state.uiFontSize))
    , m_markText(ScreenFont::font(state.uiFontSize * kMarkScale)) {
    RowListArea::styleAsPaneList(*this);
}

void GalleryGrid::sync() {
    m_text = ScreenText(ScreenFont::font(m_state.uiFontSize));
    m_markText = ScreenText(ScreenFont::font(m_state.uiFontSize * kMarkScale));
    m_items = m_state.galleryItems;
    updateRange();
    const QString identity = sourceIdentity(m_state);
    if (identity != m_identity) {
        m_identity = identity;
        verticalScrollBar()->setValue(0);
        m_selection.reset();
    }
    if (m_state.gallerySelection != m_selection) {
        m_selection = m_state.gallerySelection;
        if (m_selection) {
            keepInView(*m_selection);
        }
    }
    loadCellsInView();
    viewport()->update();
}

double GalleryGrid::cellSide() const {
    const int columns = Gallery::kColumns;
    const double free = viewport()->width() - 2.0 * kSpacing - (columns - 1) * kSpacing;
    return std::max(16.0, std::floor(free / columns));
}

// A cell is its square and the line of the name below it.
double GalleryGrid::rowPitch() const {
    return cellSide() + m_text.lineHeight() + 4 + kSpacing;
}

int GalleryGrid::rowCount() const {
    return int((m_items.size() + Gallery::kColumns - 1) / Gallery::kColumns);
}

QRect GalleryGrid::cellRect(int index) const {
    const int row = index / Gallery::kColumns;
    const int column = index % Gallery::kColumns;
    const double side = cellSide();
    const double left = kSpacing + column * (side + kSpacing);
    const double top = kSpacing + row * rowPitch() - verticalScrollBar()->value();
    return QRect(int(left), int(top), int(side), int(rowPitch() - kSpacing));
}

std::optional<GalleryGrid::Thumbnail> GalleryGrid::thumbnail(int index) const {
    if (index < 0 || index >= m_items.size()) {
        return std::nullopt;
    }
    const auto cell = m_cells.constFind(m_items.at(index).entry.id());
    return cell == m_cells.constEnd() ? std::nullopt : std::optional(cell->state);
}

std::optional<int> GalleryGrid::indexAt(const QPoint& point) const {
    const int row = int((point.y() + verticalScrollBar()->value() - kSpacing) / rowPitch());
    const int column = int((point.x() - kSpacing) / (cellSide() + kSpacing));
    if (point.y() + verticalScrollBar()->value() < kSpacing || column >= Gallery::kColumns) {
        return std::nullopt;
    }
    const int index = row * Gallery::kColumns + column;
    if (index < 0 || index >= m_items.size() || !cellRect(index).contains(point)) {
        return std::nullopt;
    }
    return index;
}

void GalleryGrid::updateRange() {
    const double content = kSpacing + rowCount() * rowPitch();
    verticalScrollBar()->setRange(0, std::max(0, int(std::ceil(content)) - viewport()->height()));
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(int(rowPitch() / 3));
}

// Scrolls no more than needed to show the whole cell.
void GalleryGrid::keepInView(int index) {
    const QRect cell = cellRect(index);
    QScrollBar* bar = verticalScrollBar();
    if (cell.top() < kSpacing) {
        bar->setValue(bar->value() + cell.top() - kSpacing);
    } else if (cell.bottom() + kSpacing > viewport()->height()) {
        bar->setValue(bar->value() + cell.bottom() + kSpacing - viewport()->height());
    }
}

QList<int> GalleryGrid::indicesInView() const {
    QList<int> indices;
    const int firstRow = std::max(0, int((verticalScrollBar()->value() - kSpacing) / rowPitch()));
    for (int index = firstRow * Gallery::kColumns; index < m_items.size(); ++index) {
        const QRect cell = cellRect(index);
        if (cell.top() > viewport()->height()) {
            break;
        }
        if (cell.bottom() >= 0) {
            indices.append(index);
        }
    }
    return indices;
}

// The cells that came into view wait for a thumbnail; those that left are
// forgotten, with any load of theirs still running.
void GalleryGrid::loadCellsInView() {
    QHash<QString, Cell> cells;
    for (const int index : indicesInView()) {
        const QString id = m_items.at(index).entry.id();
        cells.insert(id, m_cells.value(id));
    }
    m_cells = std::move(cells);
    startLoads();
}

void GalleryGrid::startLoads() {
    for (const int index : indicesInView()) {
        if (m_running >= kMaxRunningLoads) {
            return;
        }
        const FileEntry& entry = m_items.at(index).entry;
        Cell& cell = m_cells[entry.id()];
        if (cell.started) {
            continue;
        }
        cell.started = true;
        ++m_running;
        // Every result comes back, a stale one too, so that the count of
        // running loads stays true; takeThumbnail drops what is stale.
        Background::run(
            m_state.executor(), Background::Pool::diskRead, this,
            [entry] { return GalleryThumbnail::make(entry); },
            [this, id = entry.id(), ticket = cell.load.take()](const std::optional<QImage>& image) {
                takeThumbnail(id, ticket, image);
            });
    }
}

void GalleryGrid::takeThumbnail(const QString& key, const Background::Ticket& ticket,
                                const std::optional<QImage>& image) {
    --m_running;
    const auto cell = m_cells.find(key);
    if (cell != m_cells.end() && ticket.isCurrent()) {
        cell->state = image ? Thumbnail::ready : Thumbnail::failed;
        cell->image = image.value_or(QImage());
        viewport()->update();
    }
    startLoads();
}

void GalleryGrid::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    updateRange();
    if (m_selection) {
        keepInView(*m_selection);
    }
    loadCellsInView();
}

void GalleryGrid::scrollContentsBy(int, int) {
    loadCellsInView();
    viewport()->update();
}

void GalleryGrid::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), Palette::paneBackground());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (const int index : indicesInView()) {
        paintCell(painter, index, cellRect(index));
    }
}

void GalleryGrid::paintCell(QPainter& painter, int index, const QRect& rect) const {
    const bool selected = m_selection == index;
    const int border = selected ? 2 : 1;
    painter.fillRect(rect, selected ? Palette::accentText() : Palette::hairlineColor());
    painter.fillRect(rect.adjusted(border, border, -border, -border), Palette::paneBackground());

    const int side = rect.width();
    const QRect square = QRect(rect.left(), rect.top(), side, side)
                             .adjusted(kImageInset, kImageInset, -kImageInset, -kImageInset);
    const auto cell = m_cells.constFind(m_items.at(index).entry.id());
    const Thumbnail state = cell == m_cells.constEnd() ? Thumbnail::loading : cell->state;
    if (state == Thumbnail::ready) {
        const QSize fitted = cell->image.size().scaled(square.size(), Qt::KeepAspectRatio);
        QRect target(QPoint(0, 0), fitted);
        target.moveCenter(square.center());
        painter.drawImage(target, cell->image);
    } else if (state == Thumbnail::failed) {
        m_markText.draw(painter, square, QStringLiteral("×"), Palette::unreadableFileText(),
                        Qt::AlignHCenter);
    } else {
        m_markText.draw(painter, square, QStringLiteral("…"), Palette::dimText(), Qt::AlignHCenter);
    }

    const QRectF nameRect(rect.left() + 4, rect.top() + side, rect.width() - 8,
                          rect.height() - side - border);
    const QString name = m_text.elided(m_items.at(index).name, nameRect.width(), Qt::ElideMiddle);
    m_text.draw(painter, nameRect, name, selected ? Palette::fileText() : Palette::baseText(),
                Qt::AlignHCenter);
}

void GalleryGrid::mousePressEvent(QMouseEvent* event) {
    m_state.focusPane(PaneSide::right);
    if (const std::optional<int> index = indexAt(event->position().toPoint())) {
        m_state.selectGalleryItem(*index);
    }
}

void GalleryGrid::mouseDoubleClickEvent(QMouseEvent* event) {
    if (const std::optional<int> index = indexAt(event->position().toPoint())) {
        m_state.openGallerySelection(*index);
    }
}
