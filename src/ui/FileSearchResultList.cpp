#include "ui/FileSearchResultList.h"

#include "core/AppState.h"
#include "core/EntryDisplay.h"
#include "search/FolderSearchService.h"
#include "text/ShownFileName.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kHitPadH = 8;
constexpr double kHitPadV = 2;
constexpr double kSizeWidth = 56;
constexpr double kColumnGap = 8;
constexpr double kMessagePadding = 10;

ScreenText screenText(const AppState& state) {
    return ScreenText(ScreenFont::font(state.uiFontSize));
}

FileEntry rowOf(const FolderSearchHit& hit) {
    FileEntry entry;
    entry.isDirectory = hit.isDirectory;
    entry.size = hit.size;
    entry.setModificationDate(hit.modificationDate);
    return entry;
}

} // namespace

FileSearchResultList::FileSearchResultList(AppState& state, QWidget* parent)
    : RowListArea(parent)
    , m_state(state) {}

void FileSearchResultList::sync() {
    const int count = int(m_state.folderSearch->results().size());
    verticalScrollBar()->setRange(
        0, std::max(0, int(std::ceil(count * rowHeight())) - viewport()->height()));
    verticalScrollBar()->setSingleStep(int(rowHeight()));
    // The list moves by whole rows, just far enough to show the cursor row.
    const int selection = m_state.fileSearchSelection;
    const QRect row = rowRect(selection);
    if (row.top() < 0) {
        verticalScrollBar()->setValue(int(std::ceil(selection * rowHeight())));
    } else if (row.bottom() > viewport()->height()) {
        const double rowsAbove =
            std::ceil(((selection + 1) * rowHeight() - viewport()->height()) / rowHeight());
        verticalScrollBar()->setValue(int(std::ceil(rowsAbove * rowHeight())));
    }
    viewport()->update();
}

void FileSearchResultList::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), Palette::paneBackground());
    const QList<FolderSearchHit>& hits = m_state.folderSearch->results();
    const ScreenText text = screenText(m_state);
    if (hits.isEmpty()) {
        const QRectF line(kMessagePadding, kMessagePadding,
                          viewport()->width() - 2 * kMessagePadding, text.lineHeight());
        text.draw(painter, line, emptyMessage(), Palette::dimText());
        return;
    }
    for (int i = 0; i < hits.size(); ++i) {
        const QRect row = rowRect(i);
        if (row.bottom() >= 0 && row.top() <= viewport()->height()) {
            paintHit(painter, text, hits.at(i), row, i == m_state.fileSearchSelection);
        }
    }
}

void FileSearchResultList::mousePressEvent(QMouseEvent* event) {
    selectAt(event->position().y());
}

void FileSearchResultList::mouseDoubleClickEvent(QMouseEvent* event) {
    if (selectAt(event->position().y())) {
        m_state.openFileSearchResult();
    }
}

void FileSearchResultList::resizeEvent(QResizeEvent* event) {
    RowListArea::resizeEvent(event);
    sync();
}

double FileSearchResultList::rowHeight() const {
    return screenText(m_state).lineHeight() + 2 * kHitPadV;
}

bool FileSearchResultList::selectAt(double y) {
    const int index = int((y + scrollOffset()) / rowHeight());
    if (index < 0 || index >= m_state.folderSearch->results().size()) {
        return false;
    }
    m_state.moveFileSearchSelection(index - m_state.fileSearchSelection);
    return true;
}

QString FileSearchResultList::emptyMessage() const {
    const FolderSearchService& search = *m_state.folderSearch;
    if (search.lastError()) {
        return *search.lastError();
    }
    if (search.isSearching()) {
        return QStringLiteral("検索中… (%1)").arg(search.scannedCount());
    }
    if (m_state.fileSearchQuery.isEmpty() && m_state.fileSearchFromYM.isEmpty() &&
        m_state.fileSearchToYM.isEmpty()) {
        return QStringLiteral("ファイル名の一部、または期間を指定");
    }
    return QStringLiteral("該当なし");
}

// The size right aligned in its column, the date, then the path.
void FileSearchResultList::paintHit(QPainter& painter, const ScreenText& text,
                                    const FolderSearchHit& hit, const QRect& row,
                                    bool isCursor) const {
    if (isCursor) {
        painter.fillRect(row, Palette::cursorFill());
    }
    const FileEntry entry = rowOf(hit);
    const QString date = EntryDisplay::dateText(entry);
    const double dateWidth = text.width(QStringLiteral("00-00-00 00:00"));
    const QRectF sizeRect(row.left() + kHitPadH, row.top(), kSizeWidth, row.height());
    const QRectF dateRect(sizeRect.right() + kColumnGap, row.top(), dateWidth, row.height());
    const double pathLeft = dateRect.right() + kColumnGap;
    const QRectF pathRect(pathLeft, row.top(), row.right() - kHitPadH - pathLeft, row.height());
    text.draw(painter, sizeRect, EntryDisplay::sizeText(entry), Palette::dimText(), Qt::AlignRight);
    text.draw(painter, dateRect, date, Palette::baseText());
    text.draw(
        painter, pathRect,
        text.elided(ShownFileName::shownName(hit.relativePath), pathRect.width(), Qt::ElideLeft),
        Palette::baseText());
}
