#include "core/SelectionStatus.h"

#include "core/AppState.h"
#include "core/EntryDisplay.h"
#include "core/Formats.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "filesystem/FileSystemService.h"

#include <cmath>

namespace {

SelectionStatus ofEntry(const AppState& state, const FileEntry& entry) {
    return {
        entry.permissionMode(),
        entry.ownerName(),
        entry.groupName(),
        EntryDisplay::sizeText(entry),
        EntryDisplay::dateText(entry),
        EntryDisplay::displayName(entry, state.showLocalizedNames, state.showAllFileExtensions)};
}

SelectionStatus placeholder(const QString& name = {}) {
    return {QStringLiteral("----------"), QStringLiteral("-"), QStringLiteral("-"), {}, {}, name};
}

// The left pane's cursor row when it is the shown file: EDITOR opened on the
// row under the cursor, and the row stays current as the folder is watched.
std::optional<FileEntry> cursorRowShowing(const AppState& state, const QString& url) {
    const PaneState& left = state.pane(PaneSide::left);
    if (left.treeMode) {
        return std::nullopt;
    }
    const QList<FileEntry> visible = state.visibleEntries(PaneSide::left);
    if (left.selection < 0 || left.selection >= visible.size() ||
        visible.at(left.selection).url() != url) {
        return std::nullopt;
    }
    return visible.at(left.selection);
}

} // namespace

SelectionStatus SelectionStatus::readFromDisk(const QString& url) {
    const SystemPath::Status info = SystemPath::status(url).value_or(SystemPath::Status{});
    const bool isFolder = info.isDirectory;
    const FileAccessMemory::Record rights = FileSystemService::accessRights(url, isFolder, false);
    const QDateTime modified = info.modified;
    return {rights.mode,
            rights.owner,
            rights.group,
            isFolder ? QStringLiteral("<DIR>") : Formats::formatCompactSize(info.size),
            modified.isValid() ? Formats::formatRowDate(modified) : QString(),
            PathUtils::lastPathComponent(url)};
}

std::optional<QString> SelectionStatus::shownFile(const AppState& state) {
    const bool rightShowsFile =
        state.rightMode == RightPaneMode::viewer || state.rightMode == RightPaneMode::editor;
    if (state.focusedSide != PaneSide::right || !rightShowsFile || !state.editorURL ||
        state.editorURL->isEmpty() || state.currentEntry()) {
        return std::nullopt;
    }
    return state.editorURL;
}

SelectionStatus SelectionStatus::of(const AppState& state) {
    if (const std::optional<FileEntry> entry = state.currentEntry()) {
        return ofEntry(state, *entry);
    }
    const std::optional<QString> url = shownFile(state);
    if (!url) {
        return placeholder();
    }
    if (const std::optional<FileEntry> row = cursorRowShowing(state, *url)) {
        return ofEntry(state, *row);
    }
    if (state.shownFileStatus && state.shownFileStatus->url == *url) {
        return state.shownFileStatus->status;
    }
    return placeholder(PathUtils::lastPathComponent(*url));
}

QString freeSpaceLabel(const AppState& state) {
    const std::optional<PaneSide> side = state.activeFilerSide();
    if (!side) {
        return {};
    }
    const FilerLocation& location = state.pane(*side).location;
    const QString path =
        location.asDirectory() ? location.asDirectory()->url : location.asZip()->archive;
    const std::optional<FreeSpaceCache::Figures> volume = state.freeSpace.figuresFor(path);
    if (!volume || volume->available < 0) {
        return {};
    }
    const qint64 available = volume->available;
    QString label = QStringLiteral("空き:") + Formats::formatCompactSize(available);
    const qint64 total = volume->total;
    if (total >= 1) {
        const long percent = std::lround(double(available) / double(total) * 100.0);
        label += QLatin1Char('/') + Formats::formatCompactSize(total) + QLatin1Char('(') +
                 QString::number(percent) + QStringLiteral("%)");
    }
    return label;
}
