#include "ui/SearchTreeBoxView.h"

#include "core/AppState.h"
#include "search/TreeSession.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kWidth = 420;
constexpr int kMinimumHeight = 360;
constexpr double kBorder = 2;
constexpr double kTitlePadH = 12;
constexpr double kTitlePadV = 6;
constexpr double kRowPadH = 10;
constexpr double kRowPadV = 2;
constexpr double kHintPad = 6;

const QString kHint = QStringLiteral("↑↓ 移動  ←→ 折畳/展開  Enter このフォルダへ  Esc 取消");

QColor folderColor(const TreeRow& row, bool showLocalizedNames) {
    if (showLocalizedNames && row.localizedName != row.name) {
        return row.isReadable ? Palette::localizedDirText() : Palette::unreadableLocalizedDirText();
    }
    return row.isReadable ? Palette::dirText() : Palette::unreadableDirText();
}

ScreenText screenText(const AppState& state) {
    return ScreenText(ScreenFont::font(state.uiFontSize));
}

} // namespace

SearchTreeBoxView::SearchTreeBoxView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setFocusPolicy(Qt::NoFocus);
    connect(&m_state, &AppState::changed, this, &SearchTreeBoxView::followState);
}

QSize SearchTreeBoxView::sizeHint() const {
    const ScreenText text = screenText(m_state);
    const int rows =
        m_state.searchTreeBox.session ? int(m_state.searchTreeBox.session->rows.size()) : 1;
    const double chrome =
        2 * kBorder + text.lineHeight() + 2 * kTitlePadV + 1 + text.lineHeight() + 2 * kHintPad;
    const double height = chrome + std::max(1, rows) * (text.lineHeight() + 2 * kRowPadV);
    return QSize(kWidth, std::max(kMinimumHeight, int(std::ceil(height))));
}

double SearchTreeBoxView::rowHeight() const {
    return screenText(m_state).lineHeight() + 2 * kRowPadV;
}

QRectF SearchTreeBoxView::listRect() const {
    const ScreenText text = screenText(m_state);
    const double top = kBorder + text.lineHeight() + 2 * kTitlePadV + 1;
    const double bottom = height() - kBorder - text.lineHeight() - 2 * kHintPad;
    return QRectF(kBorder, top, width() - 2 * kBorder, std::max(0.0, bottom - top));
}

QRect SearchTreeBoxView::rowRect(int index) const {
    const QRectF list = listRect();
    return QRectF(list.left(), list.top() + (index - m_firstRow) * rowHeight(), list.width(),
                  rowHeight())
        .toRect();
}

// The first row shown moves only as far as the cursor row needs to be seen.
void SearchTreeBoxView::followState() {
    if (const auto& session = m_state.searchTreeBox.session) {
        const int visible = std::max(1, int(listRect().height() / rowHeight()));
        const int cursor = session->selectedRowIndex;
        m_firstRow = std::clamp(m_firstRow, cursor - visible + 1, cursor);
        m_firstRow = std::max(0, m_firstRow);
    }
    updateGeometry();
    update();
}

void SearchTreeBoxView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const ScreenText text = screenText(m_state);
    painter.fillRect(rect(), Palette::paneBackground());
    QPen border(Palette::titleText(), kBorder);
    border.setMiterLimit(10);
    border.setJoinStyle(Qt::MiterJoin);
    painter.setPen(border);
    painter.drawRect(QRectF(rect()).adjusted(kBorder / 2, kBorder / 2, -kBorder / 2, -kBorder / 2));

    const QRectF title(kBorder + kTitlePadH, kBorder + kTitlePadV,
                       width() - 2 * (kBorder + kTitlePadH), text.lineHeight());
    text.draw(painter, title, QStringLiteral("TREE"), Palette::titleText());
    text.draw(painter, title.adjusted(text.width(QStringLiteral("TREE ")), 0, 0, 0),
              QStringLiteral("簡易"), Palette::dimText());
    const QRectF list = listRect();
    painter.fillRect(QRectF(kBorder, list.top() - 1, width() - 2 * kBorder, 1),
                     Palette::hairlineColor());

    painter.save();
    painter.setClipRect(list);
    const auto& session = m_state.searchTreeBox.session;
    if (!session || session->rows.isEmpty()) {
        text.draw(painter, QRectF(list.left() + kRowPadH, list.top(), list.width(), rowHeight()),
                  QStringLiteral("(なし)"), Palette::dimText());
    }
    for (int i = m_firstRow; session && i < session->rows.size(); ++i) {
        const QRect row = rowRect(i);
        if (row.top() > list.bottom()) {
            break;
        }
        if (i == session->selectedRowIndex) {
            painter.fillRect(row, Palette::cursorFill());
        }
        const TreeRow& tree = session->rows.at(i);
        const QRectF inner = QRectF(row).adjusted(kRowPadH, 0, -kRowPadH, 0);
        const QString line = TreeSession::rowText(tree, m_state.showLocalizedNames);
        text.draw(painter, inner, text.elided(line, inner.width(), Qt::ElideRight),
                  folderColor(tree, m_state.showLocalizedNames));
    }
    painter.restore();
    const QRectF hint(kBorder + kRowPadH, list.bottom() + kHintPad,
                      width() - 2 * (kBorder + kRowPadH), text.lineHeight());
    text.draw(painter, hint, text.elided(kHint, hint.width(), Qt::ElideRight), Palette::dimText());
}

std::optional<int> SearchTreeBoxView::rowAt(const QPointF& point) const {
    const QRectF list = listRect();
    if (!list.contains(point)) {
        return std::nullopt;
    }
    const int index = m_firstRow + int((point.y() - list.top()) / rowHeight());
    return index < m_state.searchTreeBoxRowCount() ? std::optional<int>(index) : std::nullopt;
}

void SearchTreeBoxView::mousePressEvent(QMouseEvent* event) {
    if (const auto index = rowAt(event->position())) {
        m_state.selectSearchTreeBoxRow(*index);
    }
}

void SearchTreeBoxView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (const auto index = rowAt(event->position())) {
        m_state.selectSearchTreeBoxRow(*index);
        m_state.confirmSearchTreeBox();
    }
}
