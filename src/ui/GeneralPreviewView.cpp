#include "ui/GeneralPreviewView.h"

#include "core/AppState.h"
#include "core/Background.h"
#include "core/FileDescriptor.h"
#include "core/Formats.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "text/ShownFileName.h"
#include "ui/FitImagePreviewView.h"
#include "ui/Palette.h"
#include "ui/PreviewMessage.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QApplication>
#include <QFile>
#include <QMimeDatabase>
#include <QPainter>
#include <QPdfDocument>
#include <QStyle>
#include <QVBoxLayout>

namespace {

// Pages are drawn once at this size at most and scaled down to the pane, so
// a huge page size in a file cannot make a huge image.
const QSize kPageRenderBound(1600, 1600);
// A look at the file that takes longer than this says it is loading.
constexpr std::chrono::milliseconds kSlowLook(200);
constexpr int kIconSize = 64;
constexpr double kLineGap = 4;

QIcon iconForType(const QMimeType& type) {
    const QIcon fallback = QApplication::style()->standardIcon(QStyle::SP_FileIcon);
    return QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName(), fallback));
}

// The type by the name and the head of the content, read through a
// descriptor opened with the file's exact bytes.
QMimeType contentType(const QString& path) {
    const QMimeDatabase types;
    const QString name = PathUtils::lastPathComponent(path);
    if (auto file = openRegularQFile(path)) {
        return types.mimeTypeForFileNameAndData(name, file->get());
    }
    return types.mimeTypeForFile(path, QMimeDatabase::MatchExtension);
}

} // namespace

GeneralPreviewView::GeneralPreviewView(const AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_page(new FitImagePreviewView(this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_page);
    m_page->hide();
}

// pdfium is not reentrant, but Qt PDF takes one lock around every call into
// it, so a document of its own on a worker thread is safe.
QImage GeneralPreviewView::renderFirstPage(const QString& path, const QSize& maxSize) {
    // Qt PDF opens by a name it encodes lossily: it is given the descriptor
    // opened with the file's exact bytes instead.
    const auto file = FileDescriptor::openRegularFile(path);
    if (!file) {
        return {};
    }
    QPdfDocument document;
    const QString opened = QStringLiteral("/proc/self/fd/%1").arg(file->get());
    if (document.load(opened) != QPdfDocument::Error::None || document.pageCount() < 1) {
        return {};
    }
    const QSizeF points = document.pagePointSize(0);
    if (points.isEmpty()) {
        return {};
    }
    const QSize size = points.scaled(QSizeF(maxSize), Qt::KeepAspectRatio).toSize();
    QImage page(size.expandedTo(QSize(1, 1)), QImage::Format_ARGB32_Premultiplied);
    // Pages are drawn on white paper, as a PDF reader shows them.
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.drawImage(0, 0, document.render(0, page.size()));
    return page;
}

// What the card needs from the disk, read on a reader thread: the type by
// the name and the head of the content, and the size and date.
GeneralPreviewView::FileLook GeneralPreviewView::lookAt(const QString& path) {
    return {contentType(path), SystemPath::status(path).value_or(SystemPath::Status{})};
}

// The file shown before stays until the look at the new one is back, so a
// quick look shows no step between them; a slow one says it is loading.
void GeneralPreviewView::setPath(const QString& path) {
    if (path == m_path) {
        return;
    }
    m_path = path;
    m_looking = true;
    m_lookingSlowly = false;
    const Background::Ticket ticket = m_renders.take();
    Background::run(
        m_state.executor(), Background::Pool::diskRead, this, ticket,
        [path] { return lookAt(path); },
        [this, path](const FileLook& look) { applyLook(path, look); });
    m_state.executor().callLater(kSlowLook, this, [this, ticket] {
        if (ticket.isCurrent() && m_looking) {
            m_lookingSlowly = true;
            update();
        }
    });
}

// A look that comes after the cursor moved on holds a stale ticket and never
// gets here.
void GeneralPreviewView::applyLook(const QString& path, const FileLook& look) {
    m_looking = false;
    m_lookingSlowly = false;
    m_renderingPage = false;
    showCard(path, look);
    m_page->setImage({});
    m_page->hide();
    if (look.type.inherits(QStringLiteral("application/pdf"))) {
        renderPage(path);
    }
    update();
}

void GeneralPreviewView::showCard(const QString& path, const FileLook& look) {
    m_icon = iconForType(look.type);
    m_cardLines = {ShownFileName::shownName(PathUtils::lastPathComponent(path)),
                   look.type.comment(), Formats::formatVerboseSize(look.info.size),
                   Formats::formatRowDate(look.info.modified)};
}

void GeneralPreviewView::renderPage(const QString& path) {
    m_renderingPage = true;
    Background::run(
        m_state.executor(), Background::Pool::diskRead, this, m_renders.take(),
        [path] { return renderFirstPage(path, kPageRenderBound); },
        [this](const QImage& page) { applyPage(page); });
}

// A page that comes after the file changed holds a stale ticket and is
// dropped; one that cannot be drawn leaves the card standing.
void GeneralPreviewView::applyPage(const QImage& page) {
    m_renderingPage = false;
    m_page->setImage(page);
    m_page->setVisible(!page.isNull());
    update();
}

bool GeneralPreviewView::showsPage() const {
    return !m_page->image().isNull();
}

void GeneralPreviewView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Palette::paneBackground());
    if (m_renderingPage || m_lookingSlowly) {
        PreviewMessage::paint(painter, rect(), QStringLiteral("Loading…"), m_state.uiFontSize,
                              Palette::dimText());
    } else if (!showsPage()) {
        paintCard(painter);
    }
}

// The icon, then the lines centred below it: the name bright, the rest dim.
void GeneralPreviewView::paintCard(QPainter& painter) {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const double lineHeight = text.lineHeight() + kLineGap;
    const double blockHeight = kIconSize + kLineGap * 2 + lineHeight * m_cardLines.size();
    double y = std::max(0.0, (height() - blockHeight) / 2);
    const QRect iconRect((width() - kIconSize) / 2, int(y), kIconSize, kIconSize);
    m_icon.paint(&painter, iconRect);
    y += kIconSize + kLineGap * 2;
    for (int i = 0; i < m_cardLines.size(); ++i) {
        const QString line = text.elided(m_cardLines.at(i), width() - 8, Qt::ElideMiddle);
        const QColor colour = i == 0 ? Palette::fileText() : Palette::baseText();
        text.draw(painter, QRectF(0, y, width(), lineHeight), line, colour, Qt::AlignHCenter);
        y += lineHeight;
    }
}
