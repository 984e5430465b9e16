#include "ui/GalleryView.h"

#include "core/AppState.h"
#include "core/EntryDisplay.h"
#include "text/ShownFileName.h"
#include "ui/HeaderBar.h"
#include "ui/PaneFrame.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

namespace {

const QString kHint = QStringLiteral("←→↑↓ 選択  Enter VIEWER  Esc ビューア  Tab 切替");
const QString kNoImages = QStringLiteral("(画像なし)");

} // namespace

GalleryView::GalleryView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setFocusPolicy(Qt::NoFocus);
    auto* column = new QVBoxLayout(this);
    column->setSpacing(0);
    m_grid = new GalleryGrid(state, this);
    column->addWidget(m_grid, 1);
    connect(&m_state, &AppState::changed, this, &GalleryView::refreshFromState);
    refreshFromState();
}

double GalleryView::lineHeight() const {
    return ScreenText(ScreenFont::font(m_state.uiFontSize)).lineHeight() + 4;
}

// The grid stands between the header and the hint line.
void GalleryView::applyFontSize() {
    if (m_fontSize == m_state.uiFontSize) {
        return;
    }
    m_fontSize = m_state.uiFontSize;
    const ScreenText text(ScreenFont::font(m_fontSize));
    const int top = PaneFrame::kContentMargin + int(std::ceil(HeaderBar::height(text)));
    const int bottom = PaneFrame::kContentMargin + int(std::ceil(lineHeight()));
    layout()->setContentsMargins(PaneFrame::kContentMargin, top, PaneFrame::kContentMargin, bottom);
}

void GalleryView::refreshFromState() {
    applyFontSize();
    m_grid->setVisible(!m_state.galleryItems.isEmpty());
    m_grid->sync();
    update();
}

void GalleryView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PaneFrame::paint(painter, rect());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double margin = PaneFrame::kContentMargin;
    const QRectF bar(margin, margin, width() - 2 * margin, HeaderBar::height(text));
    HeaderBar::paint(painter, bar, text, m_state.focusedSide == PaneSide::right,
                     {{QStringLiteral("GALLERY"), Palette::titleText()},
                      {ShownFileName::shownName(
                           EntryDisplay::locationPath(m_state.pane(PaneSide::left).location)),
                       Palette::baseText(), true}},
                     {{QString::number(m_state.galleryItems.size()), Palette::dimText()}});
    const QRectF hint(margin, height() - margin - lineHeight(), width() - 2 * margin, lineHeight());
    text.draw(painter, hint, text.elided(kHint, hint.width(), Qt::ElideRight), Palette::dimText());
    if (m_state.galleryItems.isEmpty()) {
        const QRectF body(margin, bar.bottom(), width() - 2 * margin, hint.top() - bar.bottom());
        text.draw(painter, body, kNoImages, Palette::dimText(), Qt::AlignHCenter);
    }
}

void GalleryView::mousePressEvent(QMouseEvent* event) {
    m_state.focusPane(PaneSide::right);
    QWidget::mousePressEvent(event);
}
