#include "ui/TreeFilerPaneView.h"

#include "core/AppState.h"
#include "core/EntryDisplay.h"
#include "search/TreeSession.h"
#include "ui/EntryColors.h"
#include "ui/FilterBar.h"
#include "ui/HeaderBar.h"
#include "ui/Palette.h"
#include "ui/PaneFrame.h"
#include "ui/RowListArea.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace {

constexpr double kRowPadH = 6;
constexpr double kRowPadV = 1;

QColor folderColor(const TreeRow& row, bool showLocalizedNames) {
    const bool localized = showLocalizedNames && row.localizedName != row.name;
    if (localized) {
        return row.isReadable ? Palette::localizedDirText() : Palette::unreadableLocalizedDirText();
    }
    return row.isReadable ? Palette::dirText() : Palette::unreadableDirText();
}

struct Line {
    QString text;
    QColor color;
};

} // namespace

// One of the two lists of a tree pane, painted row by row, with the cursor
// row kept in the middle of the view.
class TreeColumnList : public RowListArea {
public:
    enum class Kind { tree, files };

    TreeColumnList(AppState& state, PaneSide side, Kind kind, QWidget* parent)
        : RowListArea(parent)
        , m_state(state)
        , m_side(side)
        , m_kind(kind) {}

    void sync() {
        const double oldHeight = rowHeight();
        m_text = ScreenText(ScreenFont::font(m_state.uiFontSize));
        const auto session = m_state.pane(m_side).treeSession;
        m_lines.clear();
        m_cursor = -1;
        if (session) {
            m_kind == Kind::tree ? readRows(*session) : readFiles(*session);
        }
        updateRange();
        // A new cursor, or rows of another height, bring the cursor row to the middle.
        if (m_cursor >= 0 && (m_cursor != m_centredCursor || rowHeight() != oldHeight)) {
            m_centredCursor = m_cursor;
            centreCursor();
        }
        viewport()->update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(viewport());
        painter.fillRect(viewport()->rect(), Palette::paneBackground());
        const auto session = m_state.pane(m_side).treeSession;
        const bool hasKeys = session && session->focusOnFiles == (m_kind == Kind::files);
        QColor fill = Palette::cursorFill();
        fill.setAlphaF(hasKeys && m_state.focusedSide == m_side ? 1.0 : 0.35);
        for (int i = 0; i < m_lines.size(); ++i) {
            const QRect row = rowRect(i);
            if (row.bottom() < 0 || row.top() > viewport()->height()) {
                continue;
            }
            if (i == m_cursor) {
                painter.fillRect(row, fill);
            }
            const QRectF inner = QRectF(row).adjusted(kRowPadH, 0, -kRowPadH, 0);
            m_text.draw(painter, inner,
                        m_text.elided(m_lines.at(i).text, inner.width(), Qt::ElideRight),
                        m_lines.at(i).color);
        }
    }

    // The view's real height is known only now: the cursor row goes to the
    // middle again, so that a list built before it had a size is not left
    // scrolled for a smaller one.
    void resizeEvent(QResizeEvent* event) override {
        RowListArea::resizeEvent(event);
        updateRange();
        if (m_cursor >= 0) {
            centreCursor();
        }
    }

    void mousePressEvent(QMouseEvent* event) override {
        m_state.focusPane(m_side);
        if (const auto index = indexAt(event->position().y())) {
            select(*index);
        }
    }

    void mouseDoubleClickEvent(QMouseEvent* event) override {
        if (const auto index = indexAt(event->position().y())) {
            select(*index);
            m_state.activateTreeSelection();
        }
    }

private:
    double rowHeight() const override { return m_text.lineHeight() + 2 * kRowPadV; }

    void updateRange() {
        const int content = int(std::ceil(m_lines.size() * rowHeight()));
        verticalScrollBar()->setRange(0, std::max(0, content - viewport()->height()));
        verticalScrollBar()->setPageStep(viewport()->height());
        verticalScrollBar()->setSingleStep(int(rowHeight()));
    }

    void centreCursor() {
        const double centre = (m_cursor + 0.5) * rowHeight() - viewport()->height() / 2.0;
        verticalScrollBar()->setValue(int(centre));
    }

    std::optional<int> indexAt(double y) const {
        const int index = int((y + scrollOffset()) / rowHeight());
        return index >= 0 && index < m_lines.size() ? std::optional<int>(index) : std::nullopt;
    }

    // Clicks address the visible lists; the tree cursor indexes all rows.
    void select(int visibleIndex) {
        if (m_kind == Kind::files) {
            m_state.selectTreeFile(m_side, visibleIndex);
            return;
        }
        const auto session = m_state.pane(m_side).treeSession;
        const QString path = m_visiblePaths.value(visibleIndex);
        for (int i = 0; session && i < session->rows.size(); ++i) {
            if (session->rows.at(i).path == path) {
                m_state.selectTreeRow(m_side, i);
                return;
            }
        }
    }

    void readRows(const TreeSession& session) {
        const QString selected = session.selectedPath();
        m_visiblePaths.clear();
        for (const TreeRow& row : m_state.visibleTreeRows(session.rows)) {
            if (row.path == selected) {
                m_cursor = int(m_lines.size());
            }
            m_visiblePaths.append(row.path);
            m_lines.append({TreeSession::rowText(row, m_state.showLocalizedNames),
                            folderColor(row, m_state.showLocalizedNames)});
        }
    }

    void readFiles(const TreeSession& session) {
        for (const FileEntry& entry : m_state.visibleTreeFiles(session.files)) {
            m_lines.append(
                {EntryDisplay::tagMark(entry, m_state.isTagged(entry)) +
                     EntryDisplay::displayName(entry, m_state.showLocalizedNames,
                                               m_state.showAllFileExtensions),
                 EntryColors::of(EntryDisplay::colorRole(entry, m_state.showLocalizedNames))});
        }
        if (!m_lines.isEmpty()) {
            m_cursor = std::clamp(session.fileSelection, 0, int(m_lines.size()) - 1);
        }
    }

    AppState& m_state;
    PaneSide m_side;
    Kind m_kind;
    ScreenText m_text{ScreenFont::font(13)};
    QList<Line> m_lines;
    QStringList m_visiblePaths;
    int m_cursor = -1;
    int m_centredCursor = -1;
};

// The line a slow load of the tree shows across the foot of both lists,
// which stay as they were until it completes.
class TreeLoadingBand : public QWidget {
public:
    TreeLoadingBand(AppState& state, PaneSide side, QWidget* parent)
        : QWidget(parent)
        , m_state(state)
        , m_side(side) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

    // Shown while there is a count to show.
    void sync() {
        m_text = ScreenText(ScreenFont::font(m_state.uiFontSize));
        m_count = m_state.loadingLineCount(m_side);
        place();
        setVisible(m_count.has_value());
        raise();
        update();
    }

    // Over the foot of the lists, across both.
    void place() {
        const QRect body = parentWidget()->rect();
        const int height = int(std::ceil(m_text.lineHeight() + 2 * kRowPadV));
        setGeometry(0, body.bottom() + 1 - height, body.width(), height);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (!m_count) {
            return;
        }
        QPainter painter(this);
        painter.fillRect(rect(), EntryColors::overNavy(Palette::cursorFill(), 0.45));
        const QRectF inner = QRectF(rect()).adjusted(kRowPadH, 0, -kRowPadH, 0);
        m_text.draw(painter, inner, EntryDisplay::loadingLine(*m_count), Palette::titleText(),
                    Qt::AlignLeft);
    }

private:
    AppState& m_state;
    PaneSide m_side;
    ScreenText m_text{ScreenFont::font(13)};
    std::optional<qsizetype> m_count;
};

// The two lists side by side, with the loading band over their foot.
class TreeBody : public QWidget {
public:
    using QWidget::QWidget;
    TreeLoadingBand* band = nullptr;

protected:
    void resizeEvent(QResizeEvent* event) override {
        QWidget::resizeEvent(event);
        if (band) {
            band->place();
        }
    }
};

TreeFilerPaneView::TreeFilerPaneView(AppState& state, PaneSide side, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_side(side) {
    setFocusPolicy(Qt::NoFocus);
    auto* column = new QVBoxLayout(this);
    column->setSpacing(0);
    auto* body = new TreeBody(this);
    auto* row = new QHBoxLayout(body);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    m_tree = new TreeColumnList(state, side, TreeColumnList::Kind::tree, body);
    m_files = new TreeColumnList(state, side, TreeColumnList::Kind::files, body);
    row->addWidget(m_tree, 1);
    row->addWidget(m_files, 1);
    column->addWidget(body, 1);
    m_filterBar = new FilterBar(state, side, this);
    column->addWidget(m_filterBar);
    m_loadingBand = new TreeLoadingBand(state, side, body);
    body->band = m_loadingBand;
    connect(&m_state, &AppState::changed, this, &TreeFilerPaneView::refreshFromState);
    refreshFromState();
}

TreeFilerPaneView::~TreeFilerPaneView() = default;

QRect TreeFilerPaneView::treeRowRect(int index) const {
    return m_tree->rowRect(index).translated(m_tree->viewport()->mapTo(this, QPoint(0, 0)));
}

QRect TreeFilerPaneView::fileRowRect(int index) const {
    return m_files->rowRect(index).translated(m_files->viewport()->mapTo(this, QPoint(0, 0)));
}

bool TreeFilerPaneView::filterFocused() const {
    return m_filterBar->fieldHasFocus();
}

void TreeFilerPaneView::applyFontSize() {
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

void TreeFilerPaneView::refreshFromState() {
    applyFontSize();
    const bool hasSession = m_state.pane(m_side).treeSession != nullptr;
    m_tree->setVisible(hasSession);
    m_files->setVisible(hasSession);
    m_tree->sync();
    m_files->sync();
    m_filterBar->sync();
    m_loadingBand->sync();
    update();
}

void TreeFilerPaneView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PaneFrame::paint(painter, rect());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const QRectF bar(PaneFrame::kContentMargin, PaneFrame::kContentMargin,
                     width() - 2 * PaneFrame::kContentMargin, HeaderBar::height(text));
    const bool focused = m_state.focusedSide == m_side;
    const auto session = m_state.pane(m_side).treeSession;
    QList<HeaderBar::Item> leading{{QStringLiteral("TREE"), Palette::titleText()}};
    if (session) {
        leading.append(
            {QStringLiteral("Tree=") + session->selectedPath(), Palette::baseText(), true});
    }
    QList<HeaderBar::Item> trailing;
    if (m_state.showHiddenFiles) {
        trailing.append({QStringLiteral(".*"), Palette::accentText()});
    }
    trailing.append({QStringLiteral("[T]"), Palette::dimText()});
    if (m_state.isFilterOpen && focused) {
        trailing.append({QStringLiteral("FILTER"), Palette::titleText()});
    }
    HeaderBar::paint(painter, bar, text, focused, leading, trailing);
    if (!session) {
        const QRectF body = rect().adjusted(0, int(bar.bottom()), 0, 0);
        text.draw(painter, body, QStringLiteral("No tree"), Palette::dimText(), Qt::AlignHCenter);
    }
}

void TreeFilerPaneView::mousePressEvent(QMouseEvent* event) {
    m_state.focusPane(m_side);
    QWidget::mousePressEvent(event);
}
