#include "ui/EditorPaneView.h"

#include "core/AppState.h"
#include "ui/HeaderBar.h"
#include "ui/PaneFrame.h"
#include "ui/Palette.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QFileInfo>
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
    , m_state(state) {
    connect(&m_state, &AppState::changed, this, qOverload<>(&QWidget::update));
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
                          Palette::titleText()});
        } else {
            items.append({QStringLiteral("preview"), Palette::dimText()});
        }
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
}
