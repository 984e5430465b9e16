#include "ui/FilerPaneView.h"

#include "core/AppState.h"
#include "core/Formats.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"

#include <QPainter>
#include <QScrollBar>

namespace {

constexpr int kPadding = 8;
constexpr int kColumnGap = 8;

QColor entryColor(const FileEntry& entry) {
    if (entry.isDirectory) {
        return entry.isReadable ? Palette::dirText() : Palette::unreadableDirText();
    }
    if (entry.isZipArchive) {
        return entry.isReadable ? Palette::archiveText() : Palette::unreadableArchiveText();
    }
    if (!entry.isReadable) {
        return Palette::unreadableFileText();
    }
    return entry.isWritable ? Palette::fileText() : Palette::readOnlyFileText();
}

QString sizeText(const FileEntry& entry) {
    if (entry.isDirectory) {
        return QStringLiteral("<DIR>");
    }
    return entry.size ? Formats::formatCompactSize(*entry.size) : QString();
}

QString locationText(const FilerLocation& location) {
    if (const auto* directory = location.asDirectory()) {
        return directory->url;
    }
    const auto* zip = location.asZip();
    return zip->archive + QLatin1Char('/') + zip->innerPath;
}

} // namespace

FilerPaneView::FilerPaneView(AppState& state, PaneSide side, QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_state(state)
    , m_side(side) {
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    connect(&m_state, &AppState::changed, this, &FilerPaneView::refreshFromState);
}

int FilerPaneView::rowHeight() const {
    return QFontMetrics(ScreenFont::font(m_state.uiFontSize)).height() + 4;
}

int FilerPaneView::headerHeight() const {
    return rowHeight() + 4;
}

void FilerPaneView::refreshFromState() {
    const int count = int(m_state.visibleEntries(m_side).size());
    updateScrollRange(count);
    // Keep the cursor row in view.
    const int row = m_state.selectionFor(m_side);
    const int visibleRows = std::max(1, (viewport()->height() - headerHeight()) / rowHeight());
    QScrollBar* bar = verticalScrollBar();
    if (row < bar->value()) {
        bar->setValue(row);
    } else if (row >= bar->value() + visibleRows) {
        bar->setValue(row - visibleRows + 1);
    }
    viewport()->update();
}

void FilerPaneView::updateScrollRange(int rowCount) {
    const int visibleRows = std::max(1, (viewport()->height() - headerHeight()) / rowHeight());
    verticalScrollBar()->setRange(0, std::max(0, rowCount - visibleRows));
    verticalScrollBar()->setPageStep(visibleRows);
}

void FilerPaneView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    refreshFromState();
}

void FilerPaneView::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), Palette::hairlineColor());
    painter.fillRect(viewport()->rect().adjusted(1, 1, -1, -1), Palette::paneBackground());
    painter.setFont(ScreenFont::font(m_state.uiFontSize));

    const QList<FileEntry> entries = m_state.visibleEntries(m_side);
    paintHeader(painter, int(entries.size()));
    const int first = verticalScrollBar()->value();
    const int height = rowHeight();
    const int cursor = m_state.selectionFor(m_side);
    for (int index = first, top = headerHeight(); index < entries.size(); ++index, top += height) {
        if (top > viewport()->height()) {
            break;
        }
        paintRow(painter, entries.at(index), top, index == cursor);
    }
}

void FilerPaneView::paintHeader(QPainter& painter, int rowCount) const {
    const bool focused = m_state.focusedSide == m_side;
    const QRect bar(1, 1, viewport()->width() - 2, headerHeight() - 2);
    if (focused) {
        painter.fillRect(bar, Palette::focusBar());
    }
    const QRect text = bar.adjusted(kPadding, 0, -kPadding, 0);
    painter.setPen(focused ? Palette::paneBackground() : Palette::titleText());
    painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("FILER"));
    const int labelWidth = painter.fontMetrics().horizontalAdvance(QStringLiteral("FILER "));
    const QString count = QString::number(rowCount);
    const int countWidth = painter.fontMetrics().horizontalAdvance(count);
    painter.setPen(focused ? Palette::paneBackground() : Palette::dimText());
    painter.drawText(text, Qt::AlignRight | Qt::AlignVCenter, count);
    painter.setPen(focused ? Palette::paneBackground() : Palette::baseText());
    const QRect pathRect = text.adjusted(labelWidth, 0, -(countWidth + kColumnGap), 0);
    const QString path = painter.fontMetrics().elidedText(locationText(m_state.locationFor(m_side)),
                                                          Qt::ElideLeft, pathRect.width());
    painter.drawText(pathRect, Qt::AlignLeft | Qt::AlignVCenter, path);
}

void FilerPaneView::paintRow(QPainter& painter, const FileEntry& entry, int top,
                             bool isCursor) const {
    const QRect row(1, top, viewport()->width() - 2, rowHeight());
    if (isCursor) {
        QColor fill = Palette::cursorFill();
        if (m_state.focusedSide != m_side) {
            fill.setAlphaF(0.35);
        }
        painter.fillRect(row, fill);
    }
    const double fontSize = m_state.uiFontSize;
    const int dateWidth = int(fontSize * 8.6);
    const int sizeWidth = int(fontSize * 5.6);
    const QRect inner = row.adjusted(kPadding, 0, -kPadding, 0);
    const QRect dateRect(inner.right() - dateWidth, top, dateWidth, rowHeight());
    const QRect sizeRect(dateRect.left() - kColumnGap - sizeWidth, top, sizeWidth, rowHeight());
    const QRect nameRect(inner.left(), top, sizeRect.left() - kColumnGap - inner.left(),
                         rowHeight());
    painter.setPen(entryColor(entry));
    const QString name = QLatin1Char(' ') + entry.name;
    painter.drawText(nameRect, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(name, Qt::ElideRight, nameRect.width()));
    painter.drawText(sizeRect, Qt::AlignRight | Qt::AlignVCenter, sizeText(entry));
    if (entry.modificationDate) {
        painter.drawText(dateRect, Qt::AlignRight | Qt::AlignVCenter,
                         Formats::formatRowDate(*entry.modificationDate));
    }
}
