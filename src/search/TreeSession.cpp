#include "search/TreeSession.h"

#include "core/EntryDisplay.h"
#include "core/NaturalOrder.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"
#include "text/ShownFileName.h"

#include <algorithm>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

bool isHiddenName(const QString& name) {
    return name.startsWith(QLatin1Char('.'));
}

bool isBelowOrAt(const QString& path, const QString& root) {
    return path == root || path.startsWith(root == QLatin1String("/") ? root : root + u'/');
}

} // namespace

TreeSession::TreeSession(const QString& rootPath, FilerSortMode mode, bool byLocalizedName)
    : root(PathUtils::standardizedPath(rootPath))
    , sortMode(mode)
    , sortByLocalizedName(byLocalizedName) {}

QString TreeSession::selectedPath() const {
    const TreeRow* row = selectedRow();
    return row ? row->path : root;
}

const TreeRow* TreeSession::selectedRow() const {
    if (selectedRowIndex < 0 || selectedRowIndex >= rows.size()) {
        return nullptr;
    }
    return &rows.at(selectedRowIndex);
}

QStringList TreeSession::listSubfolders(const QString& folder, bool showHidden, bool,
                                        const FileSystemService::ListingControl& control) {
    // On Linux the display name is the name, so both sort keys are the same.
    const QByteArray base = toSystemPath(PathUtils::standardizedPath(folder));
    DIR* dir = ::opendir(base.constData());
    if (!dir) {
        return {};
    }
    std::vector<std::pair<QCollatorSortKey, QString>> found;
    while (const struct dirent* item = ::readdir(dir)) {
        if (control.readCount) {
            control.readCount->fetch_add(1, std::memory_order_relaxed);
        }
        if (control.stop.stop_requested()) {
            break;
        }
        const char* raw = item->d_name;
        if (raw[0] == '.' && (!showHidden || raw[1] == 0 || (raw[1] == '.' && raw[2] == 0))) {
            continue;
        }
        const QByteArray full = base == "/" ? QByteArray("/") + raw : base + '/' + raw;
        bool isFolder = item->d_type == DT_DIR;
        if (item->d_type == DT_UNKNOWN) {
            struct stat st;
            isFolder = ::lstat(full.constData(), &st) == 0 && S_ISDIR(st.st_mode);
        }
        if (isFolder) {
            const QString name = fromSystemPath(raw);
            found.emplace_back(NaturalOrder::sortKey(ShownFileName::shownName(name)),
                               fromSystemPath(full));
        }
    }
    ::closedir(dir);
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b) { return a.first.compare(b.first) < 0; });
    QStringList paths;
    for (const auto& entry : found) {
        paths.append(entry.second);
    }
    return paths;
}

bool TreeSession::hasVisibleSubfolder(const QString& folder, bool showHidden) {
    const QByteArray base = toSystemPath(PathUtils::standardizedPath(folder));
    DIR* dir = ::opendir(base.constData());
    if (!dir) {
        return false;
    }
    bool found = false;
    while (const struct dirent* item = !found ? ::readdir(dir) : nullptr) {
        const char* raw = item->d_name;
        if (raw[0] == '.' && (!showHidden || raw[1] == 0 || (raw[1] == '.' && raw[2] == 0))) {
            continue;
        }
        found = item->d_type == DT_DIR;
        if (item->d_type == DT_UNKNOWN) {
            struct stat st;
            found =
                ::fstatat(::dirfd(dir), raw, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
        }
    }
    ::closedir(dir);
    return found;
}

QHash<QString, bool> TreeSession::checkSubfolders(const QStringList& folders, bool showHidden,
                                                  const std::function<bool()>& stillWanted) {
    QHash<QString, bool> answers;
    for (const QString& folder : folders) {
        if (!stillWanted()) {
            break;
        }
        answers.insert(folder, hasVisibleSubfolder(folder, showHidden));
    }
    return answers;
}

QStringList TreeSession::takeSubfolderQuestions(bool showHidden) {
    QStringList questions;
    if (showHidden != m_answersShowHidden) {
        return questions;
    }
    for (const TreeRow& row : std::as_const(rows)) {
        if (!m_subfolderAnswers.contains(row.path) && !m_subfolderQuestions.contains(row.path)) {
            m_subfolderQuestions.insert(row.path);
            questions.append(row.path);
        }
    }
    return questions;
}

bool TreeSession::noteSubfolderAnswers(const QHash<QString, bool>& answers, bool showHidden) {
    if (showHidden != m_answersShowHidden) {
        return false;
    }
    for (auto it = answers.constBegin(); it != answers.constEnd(); ++it) {
        m_subfolderAnswers.insert(it.key(), it.value());
        m_subfolderQuestions.remove(it.key());
    }
    for (TreeRow& row : rows) {
        const auto answer = answers.constFind(row.path);
        if (answer != answers.constEnd()) {
            row.hasChildren = *answer;
        }
    }
    return true;
}

void TreeSession::forgetSubfolderAnswers() {
    m_formerAnswers.insert(m_subfolderAnswers);
    m_subfolderAnswers.clear();
    m_subfolderQuestions.clear();
}

TreeRow TreeSession::makeRow(const QString& path, int depth, const QList<bool>& ancestors) const {
    TreeRow row;
    row.path = path;
    row.name = PathUtils::lastPathComponent(path);
    row.localizedName = ShownFileName::shownName(row.name);
    row.depth = depth;
    row.isExpanded = expanded.contains(path);
    // Not known yet: no ">" until the worker's answer comes.
    row.hasChildren = m_subfolderAnswers.value(path, m_formerAnswers.value(path, false));
    row.ancestorHasMore = ancestors;
    const FileAccessMemory::Record rights = FileSystemService::accessRights(path, true, false);
    row.isReadable = rights.readable;
    row.isWritable = rights.writable;
    return row;
}

void TreeSession::appendChildren(const QString& parent, int depth, const QList<bool>& ancestors,
                                 bool showHidden) {
    const QStringList children = listSubfolders(parent, showHidden, sortByLocalizedName, m_control);
    for (qsizetype i = 0; i < children.size() && !m_control.stop.stop_requested(); ++i) {
        const TreeRow row = makeRow(children[i], depth, ancestors);
        rows.append(row);
        if (row.isExpanded) {
            appendChildren(row.path, depth + 1, ancestors + QList<bool>{i < children.size() - 1},
                           showHidden);
        }
    }
}

void TreeSession::rebuildRows(bool showHidden) {
    if (showHidden != m_answersShowHidden) {
        m_subfolderAnswers.clear();
        m_formerAnswers.clear();
        m_subfolderQuestions.clear();
        m_answersShowHidden = showHidden;
    }
    const QString remembered = selectedRow() ? selectedRow()->path : QString();
    rows.clear();
    rows.append(makeRow(root, 0, {}));
    if (rows.first().isExpanded) {
        appendChildren(root, 1, {}, showHidden);
    }
    FileAccessMemory::persist();
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [&](const TreeRow& row) { return row.path == remembered; });
    selectedRowIndex = found == rows.end() ? 0 : int(found - rows.begin());
}

void TreeSession::reloadFiles(bool showHidden) {
    files.clear();
    // The files are counted once listed: the listing itself counts from 0.
    std::atomic<qsizetype> filesRead = 0;
    auto listed = FileSystemService::listDirectory(
        selectedPath(), showHidden, sortMode, sortByLocalizedName, {m_control.stop, &filesRead});
    if (m_control.readCount) {
        m_control.readCount->fetch_add(filesRead.load(), std::memory_order_relaxed);
    }
    if (listed.ok()) {
        for (const FileEntry& entry : listed.value()) {
            if (!entry.isParent && !entry.isDirectory) {
                files.append(entry);
            }
        }
    }
    fileSelection = std::clamp(fileSelection, 0, std::max(0, int(files.size()) - 1));
}

void TreeSession::select(const QString& path) {
    const QString wanted = PathUtils::standardizedPath(path);
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [&](const TreeRow& row) { return row.path == wanted; });
    if (found != rows.end()) {
        selectedRowIndex = int(found - rows.begin());
    }
}

void TreeSession::expandSelected(bool showHidden) {
    const TreeRow* row = selectedRow();
    if (!row) {
        return;
    }
    if (row->hasChildren && !row->isExpanded) {
        expanded.insert(row->path);
        rebuildRows(showHidden);
        reloadFiles(showHidden);
        return;
    }
    focusOnFiles = true;
    if (!files.isEmpty()) {
        fileSelection = std::min(fileSelection, int(files.size()) - 1);
    }
}

void TreeSession::collapseSelected(bool showHidden) {
    if (focusOnFiles) {
        focusOnFiles = false;
        return;
    }
    const TreeRow* row = selectedRow();
    if (!row) {
        return;
    }
    if (row->isExpanded) {
        const QString path = row->path;
        const QString below = path == QLatin1String("/") ? path : path + u'/';
        expanded.removeIf([&](const QString& p) { return p == path || p.startsWith(below); });
        rebuildRows(showHidden);
        reloadFiles(showHidden);
    } else if (row->depth >= 1) {
        select(PathUtils::parentPath(row->path));
        reloadFiles(showHidden);
    }
}

FileEntry TreeSession::selectedFolderEntry() const {
    if (m_selectedFolder && m_selectedFolder->url() == selectedPath()) {
        return *m_selectedFolder;
    }
    return readFolderEntry(selectedPath());
}

void TreeSession::readSelectedFolder() {
    m_selectedFolder = readFolderEntry(selectedPath());
}

void TreeSession::setListingControl(const FileSystemService::ListingControl& control) {
    m_control = control;
}

void TreeSession::adopt(TreeSession&& changed) {
    expanded = std::move(changed.expanded);
    rows = std::move(changed.rows);
    selectedRowIndex = changed.selectedRowIndex;
    files = std::move(changed.files);
    fileSelection = changed.fileSelection;
    focusOnFiles = changed.focusOnFiles;
    m_selectedFolder = std::move(changed.m_selectedFolder);
    if (changed.m_answersShowHidden != m_answersShowHidden) {
        // The copy was rebuilt for the other choice of hidden folders: the
        // answers known here are for the old one.
        m_subfolderAnswers = std::move(changed.m_subfolderAnswers);
        m_formerAnswers = std::move(changed.m_formerAnswers);
        m_subfolderQuestions = std::move(changed.m_subfolderQuestions);
        m_answersShowHidden = changed.m_answersShowHidden;
    }
    for (TreeRow& row : rows) {
        row.hasChildren =
            m_subfolderAnswers.value(row.path, m_formerAnswers.value(row.path, row.hasChildren));
    }
}

FileEntry TreeSession::readFolderEntry(const QString& path) {
    FileEntry entry;
    entry.setId(QStringLiteral("tree:") + path);
    entry.name = PathUtils::lastPathComponent(path);
    entry.setLocalizedName(ShownFileName::shownName(entry.name));
    entry.setUrl(path);
    entry.isDirectory = true;
    entry.isHidden = isHiddenName(entry.name);
    struct stat st;
    if (::lstat(toSystemPath(path).constData(), &st) == 0) {
        entry.setModificationTime(int64_t(st.st_mtim.tv_sec) * 1000 +
                                  st.st_mtim.tv_nsec / 1'000'000);
    }
    const FileAccessMemory::Record rights = FileSystemService::accessRights(path, true, false);
    entry.isReadable = rights.readable;
    entry.isWritable = rights.writable;
    entry.setRights(rights.mode, rights.owner, rights.group);
    return entry;
}

QSet<QString> TreeSession::expandedChain(const QString& rootPath, const QString& target) {
    const QString top = PathUtils::standardizedPath(rootPath);
    QString current = PathUtils::standardizedPath(target);
    QSet<QString> chain{top};
    if (!isBelowOrAt(current, top)) {
        return chain;
    }
    while (current != top) {
        const QString parent = PathUtils::parentPath(current);
        if (parent == current) {
            break;
        }
        chain.insert(parent);
        current = parent;
    }
    return chain;
}

QString TreeSession::prefix(const TreeRow& row) {
    if (row.depth == 0) {
        return {};
    }
    QString text;
    for (const bool more : row.ancestorHasMore) {
        text += more ? QStringLiteral("|  ") : QStringLiteral("   ");
    }
    return text + QStringLiteral("+--");
}

QString TreeSession::label(const TreeRow& row, bool showLocalizedNames) {
    const QString& name = showLocalizedNames ? row.localizedName : EntryDisplay::shownName(row);
    return !row.isExpanded && row.hasChildren ? name + u'>' : name;
}

QString TreeSession::rowText(const TreeRow& row, bool showLocalizedNames) {
    return u' ' + prefix(row) + label(row, showLocalizedNames);
}
