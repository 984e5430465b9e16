#include "archive/ArchiveRows.h"

#include "filesystem/FileSystemService.h"
#include "text/ShownFileName.h"

#include <QMap>

namespace ArchiveRows {

namespace {

const QString kFolderMode = QStringLiteral("drwx------");
const QString kFileMode = QStringLiteral("-r--------");
const QString kUnknownAccount = QStringLiteral("-");

FileEntry parentRow(const QString& archive, const QString& prefix,
                    const std::optional<QDateTime>& archiveDate) {
    FileEntry row;
    row.setId(parentRowId(archive, prefix));
    row.name = QStringLiteral("..");
    row.setLocalizedName(row.name);
    row.setUrl(archive);
    row.isDirectory = row.isParent = true;
    row.setZipArchiveURL(archive);
    if (!prefix.isEmpty()) {
        row.setZipEntryPath(prefix);
    }
    row.setModificationDate(archiveDate);
    row.isReadable = true;
    row.setPermissionMode(kFolderMode);
    row.setGroupName(kUnknownAccount);
    row.setOwnerName(kUnknownAccount);
    return row;
}

FileEntry memberRow(const QString& archive, const QString& name, const ArchiveMember& member) {
    FileEntry row;
    row.setId(memberRowId(archive, member.path));
    row.name = name;
    // A name kept as the archive's bytes reads as a file name on disk does.
    row.setLocalizedName(ShownFileName::shownName(name));
    row.setUrl(archive);
    row.isDirectory = member.isDirectory;
    row.isHidden = name.startsWith(QLatin1Char('.'));
    row.setZipArchiveURL(archive);
    row.setZipEntryPath(member.path);
    if (!member.isDirectory) {
        row.size = member.size;
    }
    row.setModificationDate(member.modificationDate);
    row.isReadable = true;
    row.setPermissionMode(member.isDirectory ? kFolderMode : kFileMode);
    row.setGroupName(kUnknownAccount);
    row.setOwnerName(kUnknownAccount);
    return row;
}

// A member's path as the folders show it: empty, "." and ".." components
// are left out, so "../x" stands in the archive's root as "x" and never as a
// second ".." row. A folder keeps its trailing "/".
QString shownPath(const QString& memberPath) {
    QStringList kept;
    for (const QString& component : memberPath.split(QLatin1Char('/'))) {
        if (!component.isEmpty() && component != QLatin1String(".") &&
            component != QLatin1String("..")) {
            kept.append(component);
        }
    }
    QString shown = kept.join(QLatin1Char('/'));
    if (!shown.isEmpty() && memberPath.endsWith(QLatin1Char('/'))) {
        shown += QLatin1Char('/');
    }
    return shown;
}

// The children of one folder by name. A deeper path stands for a folder of
// that name, made from the first member under it; a folder wins over a file
// of the same name, otherwise the first member stays. A file child keeps the
// member's own path, by which it is read.
QMap<QString, ArchiveMember> childrenOf(const QList<ArchiveMember>& members, const QString& prefix,
                                        bool showHiddenFiles) {
    QMap<QString, ArchiveMember> children;
    for (const ArchiveMember& member : members) {
        const QString shown = shownPath(member.path);
        if (!shown.startsWith(prefix)) {
            continue;
        }
        const QString rest = shown.mid(prefix.size());
        if (rest.isEmpty()) {
            continue;
        }
        ArchiveMember child = member;
        QString name = rest;
        if (const qsizetype slash = rest.indexOf(QLatin1Char('/')); slash >= 0) {
            name = rest.left(slash);
            if (name.isEmpty()) {
                continue;
            }
            child.path = prefix + name + QLatin1Char('/');
            child.isDirectory = true;
            child.size = 0;
        }
        if (!showHiddenFiles && name.startsWith(QLatin1Char('.'))) {
            continue;
        }
        const auto existing = children.find(name);
        if (existing == children.end()) {
            children.insert(name, child);
        } else if (child.isDirectory && !existing->isDirectory) {
            *existing = child;
        }
    }
    return children;
}

} // namespace

QString memberRowId(const QString& archive, const QString& memberPath) {
    return QStringLiteral("arch:") + archive + QLatin1Char('!') + memberPath;
}

QString parentRowId(const QString& archive, const QString& folderPrefix) {
    return QStringLiteral("arch-parent:") + archive + QLatin1Char('!') + folderPrefix;
}

QString folderPrefix(const QString& innerPath) {
    QString prefix = innerPath;
    prefix.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (prefix.startsWith(QLatin1Char('/'))) {
        prefix.remove(0, 1);
    }
    if (!prefix.isEmpty() && !prefix.endsWith(QLatin1Char('/'))) {
        prefix += QLatin1Char('/');
    }
    return prefix;
}

QList<FileEntry> entriesFromMembers(const QString& archive, const QList<ArchiveMember>& members,
                                    const QString& innerPath, bool showHiddenFiles,
                                    FilerSortMode sortMode, bool showLocalizedNames,
                                    const std::optional<QDateTime>& archiveDate) {
    const QString prefix = folderPrefix(innerPath);
    const QMap<QString, ArchiveMember> children = childrenOf(members, prefix, showHiddenFiles);
    QList<FileEntry> rows;
    rows.reserve(children.size() + 1);
    rows.append(parentRow(archive, prefix, archiveDate));
    for (auto it = children.cbegin(); it != children.cend(); ++it) {
        rows.append(memberRow(archive, it.key(), it.value()));
    }
    FileSystemService::sortEntries(rows, sortMode, showLocalizedNames);
    return rows;
}

} // namespace ArchiveRows
