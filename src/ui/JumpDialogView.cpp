#include "ui/JumpDialogView.h"

#include "core/AppState.h"
#include "core/PathUtils.h"
#include "pickers/JumpDialog.h"
#include "text/ShownFileName.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kWidth = 600;
constexpr double kBorder = 2;
constexpr double kInsetX = 12;
constexpr double kInsetY = 6;
constexpr double kMarkColumn = 16;
constexpr double kNumberColumn = 14;
constexpr double kGap = 8;

const QString kHint = QStringLiteral(
    "1-9 移動  ↑↓ 選択  Enter 移動  Del 削除  S 起動  Home フィルタ  Esc 取消  + 記憶");

double rowHeight(const ScreenText& text) {
    return text.lineHeight() + 6;
}

double innerWidth() {
    return kWidth - 2 * (kBorder + kInsetX);
}

// The row's name: the folder's own name, or the whole path for the root.
QString rowName(const QString& path) {
    const QString name = PathUtils::lastPathComponent(path);
    return name.isEmpty() || name == QLatin1String("/") ? path : ShownFileName::shownName(name);
}

} // namespace

struct JumpDialogView::Layout {
    QRectF title;
    double hairline = 0;
    QRectF filterLabel;
    QRectF field;
    double listTop = 0;
    int visibleRows = 0;
    QRectF hint;
    double height = 0;
};

JumpDialogView::JumpDialogView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    const QFont font = ScreenFont::font(state.uiFontSize);
    m_field = new QLineEdit(this);
    m_field->setFont(font);
    m_field->setPlaceholderText(QStringLiteral("パスで絞り込み"));
    m_field->setStyleSheet(
        QStringLiteral("QLineEdit { background: %1; color: %2; border: 1px solid %3;"
                       " padding: 1px; selection-background-color: %4; }")
            .arg(Palette::paneBackground().name(), Palette::baseText().name(),
                 Palette::hairlineColor().name(), Palette::cursorFill().name()));
    QPalette fieldPalette = m_field->palette();
    fieldPalette.setColor(QPalette::PlaceholderText, Palette::baseText());
    m_field->setPalette(fieldPalette);
    connect(m_field, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_state.setJumpFilterQuery(text); });
    connect(&m_state, &AppState::changed, this, &JumpDialogView::followState);
    followState();
}

JumpDialogView::Layout JumpDialogView::layout(const ScreenText& text) const {
    Layout l;
    const double left = kBorder + kInsetX;
    const double line = text.lineHeight();
    l.title = QRectF(left, kBorder + kInsetY, innerWidth(), line);
    l.hairline = l.title.bottom() + kInsetY;
    const double fieldHeight = std::max(line + 6, double(m_field->sizeHint().height()));
    const double labelWidth = text.width(QStringLiteral("Filter:"));
    l.filterLabel = QRectF(left, l.hairline + 1 + kInsetY, labelWidth, fieldHeight);
    l.field = QRectF(left + labelWidth + kGap, l.filterLabel.top(),
                     innerWidth() - labelWidth - kGap, fieldHeight);
    l.listTop = l.field.bottom() + kInsetY;
    l.visibleRows = std::min(int(m_state.jumpRows().size()), maxVisibleRows);
    const double list = l.visibleRows > 0 ? l.visibleRows * rowHeight(text) : line + 20;
    l.hint = QRectF(left, l.listTop + list + kInsetY, innerWidth(), line);
    l.height = l.hint.bottom() + kInsetY + kBorder;
    return l;
}

QSize JumpDialogView::sizeHint() const {
    const Layout l = layout(ScreenText(ScreenFont::font(m_state.uiFontSize)));
    return QSize(int(kWidth), int(std::ceil(l.height)));
}

QRectF JumpDialogView::rowRect(int index) const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const Layout l = layout(text);
    if (index < m_firstRow || index >= m_firstRow + l.visibleRows) {
        return {};
    }
    return QRectF(kBorder + kInsetX, l.listTop + (index - m_firstRow) * rowHeight(text),
                  innerWidth(), rowHeight(text));
}

void JumpDialogView::followState() {
    if (m_field->text() != m_state.jumpDialog.filterQuery) {
        m_field->setText(m_state.jumpDialog.filterQuery);
    }
    scrollToSelection(m_state.jumpRows());
    followFocus();
    updateGeometry();
    update();
}

// The selected row stays in view: the window moves only as far as it must.
void JumpDialogView::scrollToSelection(const QStringList& rows) {
    const int count = int(rows.size());
    const int visible = std::min(count, maxVisibleRows);
    const int selected = m_state.jumpDialog.selectedPath
                             ? JumpDialog::indexOfRow(rows, *m_state.jumpDialog.selectedPath)
                             : -1;
    if (selected >= 0 && selected < m_firstRow) {
        m_firstRow = selected;
    } else if (selected >= m_firstRow + visible) {
        m_firstRow = selected - visible + 1;
    }
    m_firstRow = std::clamp(m_firstRow, 0, std::max(count - visible, 0));
}

// A selected row has the keys; a raised focus request gives them back to the field.
void JumpDialogView::followFocus() {
    if (m_state.jumpDialog.selectedPath) {
        if (m_field->hasFocus()) {
            m_field->clearFocus();
            window()->setFocus(Qt::OtherFocusReason);
        }
    } else if (m_state.jumpDialog.focusNonce != m_seenFocusNonce && isVisible()) {
        m_field->setFocus(Qt::OtherFocusReason);
    }
    if (isVisible()) {
        m_seenFocusNonce = m_state.jumpDialog.focusNonce;
    }
}

void JumpDialogView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    followFocus();
    // The window may take the keyboard back while the box is being shown.
    QTimer::singleShot(0, this, [this] {
        if (!m_state.jumpDialog.selectedPath) {
            m_field->setFocus(Qt::OtherFocusReason);
        }
    });
}

void JumpDialogView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    m_field->setGeometry(layout(ScreenText(ScreenFont::font(m_state.uiFontSize))).field.toRect());
}

void JumpDialogView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::hairlineColor());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder),
                     Palette::paneBackground());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const Layout l = layout(text);
    text.draw(painter, l.title, QStringLiteral("JUMP"), Palette::titleText());
    painter.fillRect(QRectF(kBorder, l.hairline, width() - 2 * kBorder, 1),
                     Palette::hairlineColor());
    text.draw(painter, l.filterLabel, QStringLiteral("Filter:"), Palette::titleText());
    const QStringList rows = m_state.jumpRows();
    if (rows.isEmpty()) {
        const QString empty = m_state.jumpBookmarks.isEmpty()
                                  ? QStringLiteral("(空 — + で現在フォルダを記憶)")
                                  : QStringLiteral("(一致なし)");
        text.draw(painter, QRectF(l.title.left(), l.listTop + 10, innerWidth(), text.lineHeight()),
                  empty, Palette::dimText());
    }
    for (int i = m_firstRow; i < m_firstRow + l.visibleRows; ++i) {
        paintRow(painter, text, rows, i);
    }
    text.draw(painter, l.hint, text.elided(kHint, l.hint.width(), Qt::ElideRight),
              Palette::dimText());
}

void JumpDialogView::paintRow(QPainter& painter, const ScreenText& text, const QStringList& rows,
                              int index) const {
    const QString& path = rows.at(index);
    const QRectF row = rowRect(index);
    const bool selected =
        m_state.jumpDialog.selectedPath &&
        JumpDialog::rowKey(*m_state.jumpDialog.selectedPath) == JumpDialog::rowKey(path);
    if (selected) {
        painter.fillRect(row, Palette::cursorFill());
        text.draw(painter, QRectF(row.left(), row.top(), kMarkColumn, row.height()),
                  QStringLiteral("▶"), Palette::fileText());
    }
    double x = row.left() + kMarkColumn;
    if (index < 9) {
        text.draw(painter, QRectF(x, row.top(), kNumberColumn, row.height()),
                  QString::number(index + 1), Palette::baseText(), Qt::AlignRight);
    }
    x += kNumberColumn + kGap;
    const QString name = rowName(path);
    const double nameWidth = std::min(text.width(name), row.width() * 0.4);
    text.draw(painter, QRectF(x, row.top(), nameWidth, row.height()),
              text.elided(name, nameWidth, Qt::ElideRight), Palette::titleText());
    x += nameWidth + kGap;
    double right = row.right();
    if (JumpDialog::rowKey(path) == JumpDialog::rowKey(m_state.startupDirectory)) {
        const QString mark = QStringLiteral("起動");
        right -= text.width(mark);
        text.draw(painter, QRectF(right, row.top(), text.width(mark), row.height()), mark,
                  Palette::accentText());
        right -= kGap;
    }
    const double pathWidth = std::max(0.0, right - x);
    text.draw(painter, QRectF(x, row.top(), pathWidth, row.height()),
              text.elided(path, pathWidth, Qt::ElideLeft),
              selected ? Palette::baseText() : Palette::dimText());
}

int JumpDialogView::rowAt(const QPointF& point) const {
    const int count = int(m_state.jumpRows().size());
    for (int i = m_firstRow; i < std::min(count, m_firstRow + maxVisibleRows); ++i) {
        if (rowRect(i).contains(point)) {
            return i;
        }
    }
    return -1;
}

// One click on a row goes there, as Enter on the selected row does.
void JumpDialogView::mousePressEvent(QMouseEvent* event) {
    const int row = rowAt(event->position());
    if (row >= 0) {
        m_state.confirmJumpDialogAt(m_state.jumpRows().at(row));
    }
}
