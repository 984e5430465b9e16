#include "ui/EditorPaneView.h"

#include "core/AppState.h"
#include "core/Formats.h"
#include "text/TextPreviewLoading.h"
#include "ui/EditorColumnRuler.h"
#include "ui/EditorTextView.h"
#include "ui/HeaderBar.h"
#include "ui/PaneFrame.h"
#include "ui/Palette.h"
#include "ui/PreviewBodyView.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"
#include "ui/ViewerPlainTextView.h"

#include <QPainter>

namespace {

// The kind of archive the VIEWER's file came out of, by its extension.
QString archiveKindLabel(const QString& archive) {
    const QString name = archive.toLower();
    if (name.endsWith(QLatin1String(".zip"))) {
        return QStringLiteral("ZIP");
    }
    if (name.endsWith(QLatin1String(".tar"))) {
        return QStringLiteral("TAR");
    }
    if (name.endsWith(QLatin1String(".tgz")) || name.endsWith(QLatin1String(".tar.gz"))) {
        return QStringLiteral("TGZ");
    }
    if (name.endsWith(QLatin1String(".lzh")) || name.endsWith(QLatin1String(".lha"))) {
        return QStringLiteral("LZH");
    }
    return QStringLiteral("ARCH");
}

} // namespace

EditorPaneView::EditorPaneView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_ruler(new EditorColumnRuler(state, this))
    , m_editor(new EditorTextView(state, this))
    , m_viewerText(new ViewerPlainTextView(state.uiFontSize, this))
    , m_preview(new PreviewBodyView(state, this)) {
    connect(&m_state, &AppState::changed, this, &EditorPaneView::refreshBody);
    refreshBody();
}

EditorPaneView::Body EditorPaneView::currentBody() const {
    if (m_state.rightMode == RightPaneMode::editor) {
        return Body::editor;
    }
    if (!m_state.editorURL || m_state.isViewerLoading) {
        return Body::placeholder;
    }
    switch (m_state.viewerKind) {
    case ViewerContentKind::text:
        return Body::viewerText;
    case ViewerContentKind::preview:
        return Body::preview;
    case ViewerContentKind::none:
    case ViewerContentKind::unsupported:
        break;
    }
    return Body::placeholder;
}

// Each child is shown before it is told of the state, so that the editor can
// take the keyboard when asked.
void EditorPaneView::refreshBody() {
    const Body body = currentBody();
    m_ruler->setVisible(body == Body::editor);
    m_editor->setVisible(body == Body::editor);
    m_viewerText->setVisible(body == Body::viewerText);
    m_preview->setVisible(body == Body::preview);
    placeBody();
    if (body == Body::editor) {
        m_editor->refresh();
    } else if (body == Body::viewerText) {
        m_viewerText->showText(m_state.editorText, m_state.uiFontSize);
    }
    update();
}

QRect EditorPaneView::bodyRect() const {
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const int top = PaneFrame::kContentMargin + int(std::ceil(HeaderBar::height(text)));
    return QRect(PaneFrame::kContentMargin, top, width() - 2 * PaneFrame::kContentMargin,
                 height() - top - PaneFrame::kContentMargin);
}

void EditorPaneView::placeBody() {
    const QRect body = bodyRect();
    const int rulerHeight = m_ruler->sizeHint().height();
    m_ruler->setGeometry(body.x(), body.y(), body.width(), rulerHeight);
    m_editor->setGeometry(body.adjusted(0, rulerHeight, 0, 0));
    m_viewerText->setGeometry(body);
    m_preview->setGeometry(body);
}

void EditorPaneView::resizeEvent(QResizeEvent*) {
    placeBody();
}

QString EditorPaneView::placeholderText() const {
    if (currentBody() != Body::placeholder) {
        return {};
    }
    if (m_state.isViewerLoading) {
        return QStringLiteral("Loading preview…");
    }
    if (!m_state.editorURL) {
        const std::optional<FileEntry> entry = m_state.currentEntry();
        const bool editable =
            entry && !entry->isDirectory && !entry->isParent && !entry->isZipArchive;
        return editable ? QStringLiteral("Enter: view  /  E: edit") : QStringLiteral("Enter: view");
    }
    return m_state.viewerSkipReason.value_or(QStringLiteral("No preview available"));
}

QList<HeaderBar::Item> EditorPaneView::leadingItems() const {
    const bool editing = m_state.rightMode == RightPaneMode::editor;
    QList<HeaderBar::Item> items{
        {editing ? QStringLiteral("EDITOR") : QStringLiteral("VIEWER"), Palette::titleText()}};
    if (!m_state.editorURL || m_state.editorURL->isEmpty()) {
        items.append({QStringLiteral("(no file)"), Palette::dimText()});
        return items;
    }
    items.append({*m_state.editorURL, Palette::baseText(), true});
    if (editing && m_state.isDirty) {
        items.append({QStringLiteral("*"), Palette::titleText()});
    }
    if (editing && m_state.isEditorSaving) {
        items.append({QStringLiteral("Saving…"), Palette::dimText()});
    }
    return items;
}

QList<HeaderBar::Item> EditorPaneView::trailingItems() const {
    QList<HeaderBar::Item> items;
    if (m_state.rightMode == RightPaneMode::editor || !m_state.editorURL) {
        return items;
    }
    if (m_state.viewerFromZip) {
        items.append({archiveKindLabel(m_state.viewerZipArchive), Palette::dimText()});
    }
    if (m_state.viewerKind == ViewerContentKind::preview) {
        if (const auto& info = m_state.animatedPreviewInfo) {
            items.append({QStringLiteral("%1 %2/%3")
                              .arg(info->formatLabel)
                              .arg(m_state.animatedFrameIndex + 1)
                              .arg(info->frameCount),
                          Palette::titleText(), false, true});
        } else {
            items.append({QStringLiteral("preview"), Palette::dimText()});
        }
    }
    if (m_state.viewerKind == ViewerContentKind::text && m_state.isTextPreviewTruncated) {
        items.append(
            {QStringLiteral("— preview ") +
                 QString::asprintf("%.1f KB", double(TextPreviewLoading::headLimit) / 1024.0) +
                 QStringLiteral(" / ") + Formats::formatVerboseSize(m_state.textFileByteSize),
             Palette::dimText()});
    }
    return items;
}

void EditorPaneView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PaneFrame::paint(painter, rect());
    const ScreenText text(ScreenFont::font(m_state.uiFontSize));
    const QRectF bar(PaneFrame::kContentMargin, PaneFrame::kContentMargin,
                     width() - 2 * PaneFrame::kContentMargin, HeaderBar::height(text));
    const bool focused = m_state.focusedSide == PaneSide::right;
    HeaderBar::paint(painter, bar, text, focused, leadingItems(), trailingItems());
    const QString placeholder = placeholderText();
    if (!placeholder.isEmpty()) {
        text.draw(painter, bodyRect(), placeholder, Palette::dimText(), Qt::AlignHCenter);
    }
}
