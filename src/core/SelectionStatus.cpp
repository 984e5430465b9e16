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

SelectionStatus ofShownFile(const QString& url) {
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

} // namespace

SelectionStatus SelectionStatus::of(const AppState& state) {
    if (const std::optional<FileEntry> entry = state.currentEntry()) {
        return ofEntry(state, *entry);
    }
    const bool rightShowsFile =
        state.rightMode == RightPaneMode::viewer || state.rightMode == RightPaneMode::editor;
    if (state.focusedSide == PaneSide::right && rightShowsFile && state.editorURL &&
        !state.editorURL->isEmpty()) {
        return ofShownFile(*state.editorURL);
    }
    return {QStringLiteral("----------"), QStringLiteral("-"), QStringLiteral("-"), {}, {}, {}};
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
