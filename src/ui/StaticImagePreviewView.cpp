#include "ui/StaticImagePreviewView.h"

#include "core/AppState.h"
#include "core/Background.h"
#include "preview/AnimatedImageSupport.h"
#include "ui/FitImagePreviewView.h"
#include "ui/PageFlipGlyph.h"
#include "ui/Palette.h"
#include "ui/PreviewMessage.h"
#include "ui/ScreenFont.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int kStripGap = 6;

QString buttonStyle() {
    return QStringLiteral("QPushButton { color: %1; background: %2; border: 1px solid %3;"
                          " padding: 2px 6px; }"
                          " QPushButton:pressed { background: %4; }")
        .arg(Palette::titleText().name(), Palette::paneBackground().name(),
             Palette::hairlineColor().name(), Palette::cursorFill().name());
}

} // namespace

StaticImagePreviewView::StaticImagePreviewView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_picture(new FitImagePreviewView(this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kStripGap);
    layout->addWidget(m_picture, 1);
    layout->addWidget(makeStrip());
    // While there is no frame the picture's place stays empty for the message.
    QSizePolicy policy = m_picture->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    m_picture->setSizePolicy(policy);
    m_picture->hide();
    connect(&m_state, &AppState::changed, this, &StaticImagePreviewView::showCurrentFrame);
}

// A composition under way stops between frames once its ticket is stale.
StaticImagePreviewView::~StaticImagePreviewView() {
    m_loads.dropAll();
}

QWidget* StaticImagePreviewView::makeStrip() {
    auto* strip = new QWidget(this);
    auto* column = new QVBoxLayout(strip);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(kStripGap);
    const QFont face = ScreenFont::font(m_state.uiFontSize);
    const auto makeButton = [&](const QString& label, int step) {
        auto* button = new QPushButton(label, strip);
        button->setToolTip(label);
        button->setFont(face);
        button->setStyleSheet(buttonStyle());
        // The keys stay with the screen's own handler; a click only pages.
        button->setFocusPolicy(Qt::NoFocus);
        connect(button, &QPushButton::clicked, this, [this, step] { page(step); });
        return button;
    };
    m_previous = makeButton(QStringLiteral("Previous frame (↑)"), -1);
    m_next = makeButton(QStringLiteral("Next frame (↓)"), +1);
    m_position = new QLabel(strip);
    m_position->setFont(face);
    m_position->setAlignment(Qt::AlignCenter);
    m_position->setStyleSheet(QStringLiteral("color: %1;").arg(Palette::titleText().name()));
    auto* glyph = new PageFlipGlyph(int(m_state.uiFontSize * 1.5), strip);
    column->addStretch(1);
    column->addWidget(m_previous);
    column->addWidget(m_position);
    column->addWidget(glyph, 0, Qt::AlignHCenter);
    column->addWidget(m_next);
    column->addStretch(1);
    return strip;
}

void StaticImagePreviewView::setSource(const QString& path, const AnimatedImageInfo& info) {
    if (path == m_path && info == m_info) {
        return;
    }
    m_path = path;
    m_info = info;
    m_frames.clear();
    m_loading = true;
    showCurrentFrame();
    // A new ticket stops the composition for the file before, which then
    // never arrives.
    AnimatedImageSupport::loadAllFramesInBackground(
        m_state.executor(), path, this, m_loads.take(),
        [this](const QList<QImage>& frames) { applyLoaded(frames); });
}

void StaticImagePreviewView::applyLoaded(const QList<QImage>& frames) {
    m_loading = false;
    m_frames = frames;
    showCurrentFrame();
    m_state.noteAnimatedFramesComposed(m_path, int(frames.size()));
}

// The frames actually composed; while they are being made, the count the
// file announces.
int StaticImagePreviewView::frameCount() const {
    return m_frames.isEmpty() ? m_info.frameCount : int(m_frames.size());
}

int StaticImagePreviewView::shownIndex() const {
    const int count = std::max(frameCount(), 1);
    return ((m_state.animatedFrameIndex % count) + count) % count;
}

QString StaticImagePreviewView::positionText() const {
    return QStringLiteral("%1/%2").arg(shownIndex() + 1).arg(frameCount());
}

QString StaticImagePreviewView::statusText() const {
    if (!m_frames.isEmpty()) {
        return {};
    }
    return m_loading ? QStringLiteral("Loading frames…") : QStringLiteral("Unable to load image");
}

const QImage& StaticImagePreviewView::shownFrame() const {
    return m_picture->image();
}

void StaticImagePreviewView::showCurrentFrame() {
    const QString position = positionText();
    m_position->setText(position);
    setAccessibleDescription(QStringLiteral("%1, frame %2 of %3")
                                 .arg(m_info.formatLabel)
                                 .arg(shownIndex() + 1)
                                 .arg(frameCount()));
    if (m_frames.isEmpty()) {
        m_picture->setImage({});
        m_picture->hide();
    } else {
        m_picture->setImage(m_frames.at(shownIndex()));
        m_picture->show();
    }
    update();
}

// A click on the strip is a click into the VIEWER: it takes the focus there,
// as a click into a filer pane does, and pages as the arrow keys would.
void StaticImagePreviewView::page(int step) {
    m_state.focusPane(PaneSide::right);
    m_state.pageAnimatedFrame(step);
}

void StaticImagePreviewView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::paneBackground());
    // The message stands where the picture would, left of the strip.
    PreviewMessage::paint(painter, m_picture->geometry(), statusText(), m_state.uiFontSize,
                          Palette::dimText());
}
