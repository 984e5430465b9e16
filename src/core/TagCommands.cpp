// Tags: a set of row keys that copy, move, delete and attributes act on
// instead of the cursor's file. A tag is not stored with its row, so a reload
// leaves it alone; only a change of location clears them all.
#include "core/AppState.h"

#include "core/PathUtils.h"
#include "core/SystemPath.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

const QString kArchiveKeyPrefix = QStringLiteral("zip:");

bool isTaggable(const FileEntry& entry) {
    return !entry.isParent && !entry.isDirectory && !entry.isInsideArchive();
}

} // namespace

QString AppState::tagKey(const FileEntry& entry) {
    if (entry.zipArchiveURL() && entry.zipEntryPath()) {
        return kArchiveKeyPrefix + *entry.zipArchiveURL() + QLatin1Char('!') +
               *entry.zipEntryPath();
    }
    return PathUtils::standardizedPath(entry.url());
}

QString AppState::locationKey(const FilerLocation& location) {
    if (const auto* directory = location.asDirectory()) {
        return QStringLiteral("dir:") + directory->url;
    }
    const auto* zip = location.asZip();
    return kArchiveKeyPrefix + zip->archive + QLatin1Char('!') + zip->innerPath;
}

bool AppState::isTagged(const FileEntry& entry) const {
    return taggedKeys.contains(tagKey(entry));
}

void AppState::toggleTag(const QString& key) {
    if (!taggedKeys.remove(key)) {
        taggedKeys.insert(key);
    }
    notifyChanged();
}

// Space: tags the file and moves on, so that a run of Spaces tags a run of files.
void AppState::toggleTagAtCursor() {
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    if (pane(*side).treeMode && pane(*side).treeSession) {
        treeToggleTagAtCursor(*side);
        return;
    }
    const QList<FileEntry> visible = visibleEntries(*side);
    const int index = pane(*side).selection;
    if (index < 0 || index >= visible.size()) {
        return;
    }
    if (isTaggable(visible.at(index))) {
        toggleTag(tagKey(visible.at(index)));
    }
    setSelection(index + 1, *side);
}

void AppState::openWildcardPrompt() {
    if (!activeFilerSide()) {
        return;
    }
    if (anyPromptOrPickerOpen()) {
        return;
    }
    if (isFileSearchMode) {
        exitFileSearchMode();
    }
    if (isFilterOpen) {
        closeFilter(true);
    }
    wildcardPrompt.pattern = lastWildcardPattern;
    showOverlay(Overlay::wildcardPrompt);
    notifyChanged();
}

void AppState::cancelWildcardPrompt() {
    closeOverlay(Overlay::wildcardPrompt);
    releaseTextFocus();
    notifyChanged();
}

// "*" is any run, "?" one character; every other sign of a regular
// expression stands for itself.
QString AppState::wildcardRegexPattern(const QString& pattern) {
    static const QString escaped = QStringLiteral(".+()[]{}\\^$|");
    QString regex = QStringLiteral("^");
    for (const QChar c : pattern) {
        if (c == QLatin1Char('*')) {
            regex += QStringLiteral(".*");
        } else if (c == QLatin1Char('?')) {
            regex += QLatin1Char('.');
        } else if (escaped.contains(c)) {
            regex += QLatin1Char('\\');
            regex += c;
        } else {
            regex += c;
        }
    }
    return regex + QLatin1Char('$');
}

// Adds the files of the pane whose whole name matches, ignoring case; tags
// already set stay.
void AppState::applyWildcardTag() {
    const auto side = activeFilerSide();
    if (!isOpen(Overlay::wildcardPrompt) || !side) {
        return;
    }
    const QString pattern = wildcardPrompt.pattern.trimmed();
    closeOverlay(Overlay::wildcardPrompt);
    releaseTextFocus();
    notifyChanged();
    if (pattern.isEmpty()) {
        reportError(QStringLiteral("パターンを入力してください"));
        return;
    }
    const QRegularExpression expression(wildcardRegexPattern(pattern),
                                        QRegularExpression::CaseInsensitiveOption);
    QSet<QString> matched;
    for (const FileEntry& entry : wildcardCandidates(*side)) {
        if (expression.isValid() && expression.match(entry.name).hasMatch()) {
            matched.insert(tagKey(entry));
        }
    }
    if (matched.isEmpty()) {
        reportError(QStringLiteral("一致なし: ") + pattern);
        return;
    }
    taggedKeys.unite(matched);
    lastWildcardPattern = pattern;
}

// The unfiltered files of the pane. Members of an archive are candidates,
// unlike with Space: taggedFileURLs leaves their keys out again.
QList<FileEntry> AppState::wildcardCandidates(PaneSide side) const {
    const bool tree = pane(side).treeMode && pane(side).treeSession;
    const QList<FileEntry> rows = tree ? treeFiles(side) : pane(side).entries;
    QList<FileEntry> candidates;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(candidates),
                 [](const FileEntry& e) { return !e.isParent && !e.isDirectory; });
    return candidates;
}

QStringList AppState::taggedFileURLs() const {
    return taggedFileURLs(taggedFileCandidates());
}

AppState::TaggedFileCandidates AppState::taggedFileCandidates() const {
    TaggedFileCandidates candidates;
    for (const QString& key : taggedKeys) {
        if (!key.startsWith(kArchiveKeyPrefix)) {
            candidates.taggedPaths.append(PathUtils::standardizedPath(key));
        }
    }
    const std::optional<FileEntry> entry = currentEntry();
    if (entry && isTaggable(*entry)) {
        candidates.cursorFile = PathUtils::standardizedPath(entry->url());
    }
    return candidates;
}

QStringList AppState::taggedFileURLs(const TaggedFileCandidates& candidates) {
    QStringList files;
    for (const QString& path : candidates.taggedPaths) {
        const auto info = SystemPath::status(path);
        if (info && !info->isDirectory) {
            files.append(path);
        }
    }
    if (!files.isEmpty()) {
        std::sort(files.begin(), files.end());
        return files;
    }
    // Nothing tagged that can be carried: the plain file under the cursor.
    if (candidates.cursorFile) {
        return {*candidates.cursorFile};
    }
    return {};
}
