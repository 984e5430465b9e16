#include "ui/FunctionToolbarView.h"

#include "core/AppState.h"
#include "core/Localization.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QPainter>
#include <QTimer>
#include <QWheelEvent>

namespace {

constexpr double kPaddingX = 10;
constexpr double kPaddingY = 5;
constexpr double kGap = 14;
constexpr double kDisabledOpacity = 0.55;

struct LegendRow {
    const char* cap;
    const char* labelKey;
    bool canBeDisabled;
};

constexpr LegendRow kShiftRows[] = {
    {"⇧D", "toolbar.delete_folder", true}, {"⇧.", "toolbar.extensions", false},
    {"⇧←", "toolbar.left_pane", false},    {"⇧→", "toolbar.right_pane", false},
    {"⇧1", "toolbar.viewer", false},       {"⇧2", "toolbar.dual_filer", false},
    {"⇧3", "toolbar.gallery", false},      {"⇧4", "toolbar.search", false},
};

constexpr LegendRow kPlainRows[] = {
    {"C", "toolbar.copy", true},        {"M", "toolbar.move", true},
    {"D", "toolbar.delete", true},      {"N", "toolbar.rename", true},
    {"K", "toolbar.mkdir", true},       {"I", "toolbar.new_file", true},
    {"A", "toolbar.attr", true},        {"X", "toolbar.open", false},
    {"E", "toolbar.edit", true},        {"T", "toolbar.tree", true},
    {"G", "toolbar.gallery", false},    {"P", "toolbar.preview", false},
    {"F", "toolbar.filter", false},     {"S", "toolbar.sort", false},
    {"L", "toolbar.local_name", false}, {"J", "toolbar.jump", false},
    {"H", "toolbar.startup_set", true}, {"O", "toolbar.startup_go", false},
    {"U", "toolbar.home", false},       {"V", "toolbar.volume", false},
    {"W", "toolbar.wild", false},       {"Q", "toolbar.quit", false},
};

QString sortModeText(FilerSortMode mode) {
    switch (mode) {
    case FilerSortMode::name:
        return QStringLiteral("NAME");
    case FilerSortMode::timestamp:
        return QStringLiteral("TIME");
    case FilerSortMode::size:
        return QStringLiteral("SIZE");
    }
    return {};
}

} // namespace

struct FunctionToolbarView::Cell {
    QString cap;
    QString label;
    bool disabled = false;
};

FunctionToolbarView::FunctionToolbarView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(&m_state, &AppState::changed, this, &FunctionToolbarView::followState);
    followState();
}

QSize FunctionToolbarView::sizeHint() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    return QSize(int(legendWidth(text) + rightWidth(text) + kGap + 2 * kPaddingX),
                 int(std::ceil(text.lineHeight() + 2 * kPaddingY)));
}

QSize FunctionToolbarView::minimumSizeHint() const {
    return QSize(0, sizeHint().height());
}

QList<FunctionToolbarView::Cell> FunctionToolbarView::legendCells() const {
    const std::optional<PaneSide> side = m_state.activeFilerSide();
    const bool inArchive = side && !m_state.pane(*side).location.asDirectory();
    QList<Cell> cells;
    const auto add = [&](const auto& rows) {
        for (const LegendRow& row : rows) {
            cells.append({QString::fromUtf8(row.cap),
                          QLatin1Char(':') + Localization::localizedString(
                                                 QLatin1String(row.labelKey), m_state.appLanguage),
                          row.canBeDisabled && inArchive});
        }
    };
    if (m_state.isShiftKeyDown) {
        add(kShiftRows);
    } else {
        add(kPlainRows);
    }
    return cells;
}

QList<QPair<QString, QColor>> FunctionToolbarView::rightItems() const {
    const AppState& s = m_state;
    QList<QPair<QString, QColor>> items;
    const QPair<bool, const char*> badges[] = {
        {s.isFileSearchMode, "status.search"},
        {s.isOpen(Overlay::searchTreeBox), "status.tree"},
        {s.isOpen(Overlay::sortPicker), "status.sort"},
        {s.isOpen(Overlay::jumpDialog), "status.jump"},
        {s.isOpen(Overlay::volumePicker), "status.volume"},
        {s.isOpen(Overlay::openWithPicker), "status.open"},
        {s.layoutMode == LayoutMode::filerGallery, "status.gallery"},
        {s.isOpen(Overlay::renamePrompt), "status.rename"},
        {s.isOpen(Overlay::attributePrompt), "status.attr"},
        {s.isOpen(Overlay::wildcardPrompt), "status.wild"},
    };
    for (const auto& [present, key] : badges) {
        if (present) {
            items.append({Localization::localizedString(QLatin1String(key), s.appLanguage),
                          Palette::titleText()});
        }
    }
    const auto onOff = [](bool on) { return on ? Palette::titleText() : Palette::dirText(); };
    items.append({QStringLiteral("SORT:") + sortModeText(s.sortMode), Palette::dirText()});
    items.append({s.alwaysPreviewMode ? QStringLiteral("PREV:ON") : QStringLiteral("PREV:OFF"),
                  onOff(s.alwaysPreviewMode)});
    items.append({s.showHiddenFiles ? QStringLiteral(".*:ON") : QStringLiteral(".*:OFF"),
                  onOff(s.showHiddenFiles)});
    items.append({s.showAllFileExtensions ? QStringLiteral("EXT:ALL") : QStringLiteral("EXT:SYS"),
                  onOff(s.showAllFileExtensions)});
    if (!s.taggedKeys.isEmpty()) {
        items.append(
            {QStringLiteral("TAG:") + QString::number(s.taggedKeys.size()), Palette::titleText()});
    }
    return items;
}

double FunctionToolbarView::legendWidth(const ScreenText& text) const {
    double width = 0;
    for (const Cell& cell : legendCells()) {
        width += text.width(cell.cap + cell.label) + kGap;
    }
    return std::max(1.0, width - kGap);
}

double FunctionToolbarView::rightWidth(const ScreenText& text) const {
    double width = 0;
    for (const auto& item : rightItems()) {
        width += text.width(item.first) + kGap;
    }
    return width - kGap;
}

double FunctionToolbarView::visibleLegendWidth(const ScreenText& text) const {
    return std::max(0.0, width() - 2 * kPaddingX - rightWidth(text) - kGap);
}

// Shift, and the language, make a new legend.
int FunctionToolbarView::contentEpoch() const {
    const int language = m_state.appLanguage == AppLanguage::english    ? 2
                         : m_state.appLanguage == AppLanguage::japanese ? 1
                                                                        : 0;
    return (m_state.isShiftKeyDown ? 10 : 0) + language;
}

void FunctionToolbarView::followState() {
    const int epoch = contentEpoch();
    if (epoch != m_contentEpoch) {
        // A new legend starts at its left end; its width is measured again
        // once it is laid out.
        m_contentEpoch = epoch;
        m_offset = 0;
        QTimer::singleShot(0, this, &FunctionToolbarView::measure);
    }
    measure();
    updateGeometry();
    update();
}

void FunctionToolbarView::measure() {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double content = legendWidth(text);
    const double visible = visibleLegendWidth(text);
    const bool fits = content <= visible + 0.5;
    if (fits) {
        m_offset = 0;
    }
    m_offset = std::clamp(m_offset, 0.0, std::max(0.0, content - visible));
    bool left = false;
    bool right = false;
    if (visible > 1 && content > 1 && !fits) {
        left = m_offset > 0.5;
        right = m_offset + visible < content - 0.5;
    }
    if (left != m_canScrollLeft || right != m_canScrollRight) {
        m_canScrollLeft = left;
        m_canScrollRight = right;
        update();
    }
}

void FunctionToolbarView::scrollLegend(double delta) {
    m_offset += delta;
    measure();
    update();
}

void FunctionToolbarView::wheelEvent(QWheelEvent* event) {
    // Only a sideways gesture scrolls; the legend never moves up or down.
    const QPoint pixels = event->pixelDelta();
    const double dx = !pixels.isNull() ? pixels.x() : event->angleDelta().x() / 2.0;
    if (dx == 0) {
        event->ignore();
        return;
    }
    scrollLegend(-dx);
    event->accept();
}

void FunctionToolbarView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    measure();
}

void FunctionToolbarView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::paneBackground());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double top = kPaddingY;
    const double lineHeight = height() - 2 * kPaddingY;

    double right = width() - kPaddingX;
    const auto items = rightItems();
    for (auto it = items.crbegin(); it != items.crend(); ++it) {
        const double w = text.width(it->first);
        text.draw(painter, QRectF(right - w, top, w, lineHeight), it->first, it->second);
        right -= w + kGap;
    }

    const QRectF legend(kPaddingX, 0, visibleLegendWidth(text), height());
    painter.save();
    painter.setClipRect(legend);
    double x = legend.left() - m_offset;
    for (const Cell& cell : legendCells()) {
        painter.setOpacity(cell.disabled ? kDisabledOpacity : 1.0);
        const double capWidth = text.width(cell.cap);
        text.draw(painter, QRectF(x, top, capWidth, lineHeight), cell.cap,
                  cell.disabled ? Palette::dimText() : Palette::fileText());
        const double labelWidth = text.width(cell.label);
        text.draw(painter, QRectF(x + capWidth, top, labelWidth, lineHeight), cell.label,
                  cell.disabled ? Palette::dimText() : Palette::dirText());
        x += capWidth + labelWidth + kGap;
    }
    painter.setOpacity(1.0);
    const auto mark = [&](const QString& glyph, bool atLeft) {
        const double w = text.width(glyph) + 6;
        const QRectF box(atLeft ? legend.left() : legend.right() - w, 0, w, height());
        QColor backing = Palette::paneBackground();
        backing.setAlphaF(0.92);
        painter.fillRect(box, backing);
        text.draw(painter, box.adjusted(3, top, -3, -kPaddingY), glyph, QColor(Qt::yellow));
    };
    if (m_canScrollLeft) {
        mark(QStringLiteral("◀"), true);
    }
    if (m_canScrollRight) {
        mark(QStringLiteral("▶"), false);
    }
    painter.restore();
}
