#include "ui/FilerPaneView.h"

#include "core/AppState.h"
#include "core/EntryDisplay.h"
#include "text/ShownFileName.h"
#include "ui/FilterBar.h"
#include "ui/HeaderBar.h"
#include "ui/PaneFrame.h"
#include "ui/EntryColors.h"
#include "ui/Palette.h"
#include "ui/RowListArea.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QAbstractScrollArea>
#include <QMouseEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScrollBar>
#include <QVBoxLayout>

namespace {

constexpr double kRowPadding = 8;
constexpr double kColumnGap = 8;
constexpr double kListPadding = 2;
constexpr int kScrollMilliseconds = 80;

QColor colorFor(EntryDisplay::ColorRole role) {
    return EntryColors::of(role);
}

} // namespace

// The rows of a pane. Scrolls by points; paints only the rows in view.
class FilerRowList : public QAbstractScrollArea {
public:
    FilerRowList(AppState& state, PaneSide side, QWidget* parent)
        : QAbstractScrollArea(parent)
        , m_state(state)
        , m_side(side) {
        RowListArea::styleAsPaneList(*this);
        m_animation = new QPropertyAnimation(verticalScrollBar(), "value", this);
        m_animation->setDuration(kScrollMilliseconds);
        m_animation->setEasingCurve(QEasingCurve::InOutQuad);
    }

    QRect rowRect(int index) const {
        const double top = kListPadding + index * rowHeight() - scrollOffset();
        return QRect(0, int(top), viewport()->width(), int(rowHeight()));
    }

    void sync() {
        const double oldHeight = rowHeight();
        m_text = ScreenText(ScreenFont::font(m_state.uiFontSize));
        m_rows = m_state.visibleEntries(m_side);
        updateRange();
        const QString identity = EntryDisplay::locationPath(m_state.pane(m_side).location) +
                                 QLatin1Char('-') + QString::number(listEpoch());
        const int selection = m_state.pane(m_side).selection;
        if (identity != m_identity || rowHeight() != oldHeight) {
            // A new list, or rows of another height, put the cursor row in
            // the middle at once.
            m_identity = identity;
            m_animation->stop();
            verticalScrollBar()->setValue(centredOffset(selection));
        } else if (selection != m_selection) {
            m_animation->stop();
            m_animation->setStartValue(verticalScrollBar()->value());
            m_animation->setEndValue(centredOffset(selection));
            m_animation->start();
        }
        m_selection = selection;
        viewport()->update();
    }

protected:
    // The view's real height is known only now: the cursor row goes to the
    // middle again, so that a list built before the pane had its size is not
    // left scrolled for a smaller one.
    void resizeEvent(QResizeEvent* event) override {
        QAbstractScrollArea::resizeEvent(event);
        updateRange();
        m_animation->stop();
        verticalScrollBar()->setValue(centredOffset(m_selection));
    }

    void paintEvent(QPaintEvent*) override {
        QPainter painter(viewport());
        painter.fillRect(viewport()->rect(), Palette::paneBackground());
        const double height = rowHeight();
        const double offset = scrollOffset();
        const int first = std::max(0, int((offset - kListPadding) / height));
        for (int index = first; index < m_rows.size(); ++index) {
            const double top = kListPadding + index * height - offset;
            if (top > viewport()->height()) {
                break;
            }
            paintRow(painter, m_rows.at(index), QRectF(0, top, viewport()->width(), height),
                     index == m_selection);
        }
        paintLoadingLine(painter);
    }

    void mousePressEvent(QMouseEvent* event) override {
        m_state.focusPane(m_side);
        if (const std::optional<int> row = rowAt(event->position().y())) {
            m_state.setSelection(*row, m_side);
        }
    }

    void mouseDoubleClickEvent(QMouseEvent* event) override {
        if (const std::optional<int> row = rowAt(event->position().y())) {
            m_state.setSelection(*row, m_side);
            m_state.activateSelection(m_side);
        }
    }

private:
    int64_t listEpoch() const { return m_state.pane(m_side).listEpoch; }

    // A slow listing says so at the foot of the rows it has not yet replaced.
    void paintLoadingLine(QPainter& painter) {
        const std::optional<qsizetype> count = m_state.loadingLineCount(m_side);
        if (!count) {
            return;
        }
        const double height = rowHeight();
        const QRectF band(0, viewport()->height() - height, viewport()->width(), height);
        painter.fillRect(band, EntryColors::overNavy(Palette::cursorFill(), 0.45));
        m_text.draw(painter, band.adjusted(kRowPadding, 0, -kRowPadding, 0),
                    EntryDisplay::loadingLine(*count), Palette::titleText(), Qt::AlignLeft);
    }
    double rowHeight() const { return m_text.lineHeight() + 4; }
    double scrollOffset() const {
        return RowListArea::snappedOffset(verticalScrollBar()->value(), rowHeight(), kListPadding);
    }

    std::optional<int> rowAt(double y) const {
        const double inList = y + scrollOffset() - kListPadding;
        const int row = inList < 0 ? -1 : int(inList / rowHeight());
        return row >= 0 && row < m_rows.size() ? std::optional<int>(row) : std::nullopt;
    }

    int centredOffset(int row) const {
        const double centre = kListPadding + (row + 0.5) * rowHeight();
        const int offset = int(centre - viewport()->height() / 2.0);
        return std::clamp(offset, 0, verticalScrollBar()->maximum());
    }

    void updateRange() {
        const double content = 2 * kListPadding + m_rows.size() * rowHeight();
        verticalScrollBar()->setRange(0,
                                      std::max(0, int(std::ceil(content)) - viewport()->height()));
        verticalScrollBar()->setPageStep(viewport()->height());
        verticalScrollBar()->setSingleStep(int(rowHeight()));
    }

    void paintRow(QPainter& painter, const FileEntry& entry, const QRectF& row,
                  bool isCursor) const {
        if (isCursor) {
            QColor fill = Palette::cursorFill();
            fill.setAlphaF(m_state.focusedSide == m_side ? 1.0 : 0.35);
            painter.fillRect(row, fill);
        }
        const double fontSize = m_state.uiFontSize;
        const double dateWidth = fontSize * 8.6;
        const double sizeWidth = fontSize * 5.6;
        const QRectF inner = row.adjusted(kRowPadding, 0, -kRowPadding, 0);
        const QRectF dateRect(inner.right() - dateWidth, row.top(), dateWidth, row.height());
        const QRectF sizeRect(dateRect.left() - kColumnGap - sizeWidth, row.top(), sizeWidth,
                              row.height());
        const QRectF nameRect(inner.left(), row.top(),
                              std::max(0.0, sizeRect.left() - kColumnGap - inner.left()),
                              row.height());
        const QColor color = colorFor(EntryDisplay::colorRole(entry, m_state.showLocalizedNames));
        const QString name = EntryDisplay::tagMark(entry, m_state.isTagged(entry)) +
                             EntryDisplay::displayName(entry, m_state.showLocalizedNames,
                                                       m_state.showAllFileExtensions);
        m_text.draw(painter, nameRect, m_text.elided(name, nameRect.width(), Qt::ElideRight),
                    color);
        m_text.draw(painter, sizeRect, EntryDisplay::sizeText(entry), color, Qt::AlignRight);
        m_text.draw(painter, dateRect, EntryDisplay::dateText(entry), color, Qt::AlignRight);
    }

    AppState& m_state;
    PaneSide m_side;
    ScreenText m_text{ScreenFont::font(13)};
    QList<FileEntry> m_rows;
    QString m_identity;
    int m_selection = -1;
    QPropertyAnimation* m_animation = nullptr;
};

FilerPaneView::FilerPaneView(AppState& state, PaneSide side, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_side(side) {
    setFocusPolicy(Qt::NoFocus);
    auto* column = new QVBoxLayout(this);
    column->setSpacing(0);
    m_list = new FilerRowList(state, side, this);
    column->addWidget(m_list, 1);
    m_filterBar = new FilterBar(state, side, this);
    column->addWidget(m_filterBar);
    connect(&m_state, &AppState::changed, this, &FilerPaneView::refreshFromState);
    refreshFromState();
}

FilerPaneView::~FilerPaneView() = default;

bool FilerPaneView::filterFocused() const {
    return m_filterBar->fieldHasFocus();
}

QRect FilerPaneView::rowRect(int index) const {
    const QRect inList = m_list->rowRect(index);
    return inList.translated(m_list->viewport()->mapTo(this, QPoint(0, 0)));
}

void FilerPaneView::applyFontSize() {
    if (m_fontSize == m_state.uiFontSize) {
        return;
    }
    m_fontSize = m_state.uiFontSize;
    const QFont font = ScreenFont::font(m_fontSize);
    m_filterBar->setScreenFont(font);
    const ScreenText text(font);
    const int top = PaneFrame::kContentMargin + int(std::ceil(HeaderBar::height(text)));
    layout()->setContentsMargins(PaneFrame::kContentMargin, top, PaneFrame::kContentMargin,
                                 PaneFrame::kContentMargin);
}

void FilerPaneView::refreshFromState() {
    applyFontSize();
    m_list->sync();
    m_filterBar->sync();
    update();
}

void FilerPaneView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PaneFrame::paint(painter, rect());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const QRectF bar(PaneFrame::kContentMargin, PaneFrame::kContentMargin,
                     width() - 2 * PaneFrame::kContentMargin, HeaderBar::height(text));
    const bool focused = m_state.focusedSide == m_side;
    QList<HeaderBar::Item> trailing;
    if (m_state.showHiddenFiles) {
        trailing.append({QStringLiteral(".*"), Palette::accentText()});
    }
    trailing.append({QString::number(m_state.visibleEntries(m_side).size()), Palette::dimText()});
    if (m_state.isFilterOpen && focused) {
        trailing.append({QStringLiteral("FILTER"), Palette::titleText()});
    }
    HeaderBar::paint(
        painter, bar, text, focused,
        {{QStringLiteral("FILER"), Palette::titleText()},
         {ShownFileName::shownName(EntryDisplay::locationPath(m_state.pane(m_side).location)),
          Palette::baseText(), true}},
        trailing);
}

void FilerPaneView::mousePressEvent(QMouseEvent* event) {
    m_state.focusPane(m_side);
    QWidget::mousePressEvent(event);
}
