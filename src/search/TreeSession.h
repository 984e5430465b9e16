#pragma once

#include "core/Model.h"
#include "filesystem/FileSystemService.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// One visible folder of a tree.
struct TreeRow {
    QString path;
    QString name;          // "/" for the volume root
    QString localizedName; // "/" for the volume root
    int depth = 0;         // 0 for the session's root
    bool isExpanded = false;
    bool hasChildren = false; // at least one visible subfolder
    // For each level between the root's children and this row: whether that
    // ancestor has a later sibling, which decides where "|" is drawn.
    QList<bool> ancestorHasMore;
    bool isReadable = false;
    bool isWritable = false;
    bool hasHiddenExtension = false;
    bool operator==(const TreeRow&) const = default;
};

// What one pane in tree mode (or the search folder box) holds: the folder
// tree flattened into rows, the cursor on it, and the plain files of the
// folder under that cursor with their own cursor. A pane's tree is changed
// on a copy of its session on a worker thread, which lists the rows and
// files, and the copy is adopted on the main thread; whether a row's folder
// has subfolders (its ">") is asked of a worker thread too, kept until the
// tree is refreshed, and shown when the answer comes.
class TreeSession {
public:
    TreeSession(const QString& root, FilerSortMode sortMode, bool sortByLocalizedName);

    // The row under the cursor's path, or the root when the cursor is off the rows.
    QString selectedPath() const;
    const TreeRow* selectedRow() const;

    // Rebuilds the rows from the expanded set, keeping the cursor on its path
    // (row 0 when that path is gone).
    void rebuildRows(bool showHidden);
    // Refills the files of the selected folder; empty when it can't be listed.
    void reloadFiles(bool showHidden);
    // Moves the cursor to the row of that path; without one it stays.
    void select(const QString& path);
    // Opens the row under the cursor; on a leaf or an open row, the keys go
    // to the file list instead.
    void expandSelected(bool showHidden);
    // Back from the file list first; then closes the row (forgetting what was
    // open below it), or goes to its parent row.
    void collapseSelected(bool showHidden);
    // The folder under the cursor as a pane row ("tree:" identity): as read
    // by readSelectedFolder when that was for the same folder, else read now.
    FileEntry selectedFolderEntry() const;
    // Reads the folder under the cursor for selectedFolderEntry, so that the
    // main thread need not.
    void readSelectedFolder();
    // Lets a copy on a worker thread stop its listings early and count the
    // items it reads; a stopped copy's lists are incomplete.
    void setListingControl(const FileSystemService::ListingControl& control);
    // Takes the rows, files, cursors and open folders of a copy that was
    // changed on a worker thread. The subfolder answers that came meanwhile
    // stay, and the adopted rows show them.
    void adopt(TreeSession&& changed);

    // The root and every folder above the target up to the root, the target
    // itself not included; just the root for a target outside it.
    static QSet<QString> expandedChain(const QString& root, const QString& target);
    // The subfolders of a folder in natural order, links not followed; hidden
    // ones (a name that begins with ".") only when asked.
    static QStringList listSubfolders(const QString& folder, bool showHidden,
                                      bool sortByLocalizedName,
                                      const FileSystemService::ListingControl& control = {});
    // Whether the folder holds a visible subfolder; stops at the first one.
    // Any thread; a folder that can't be read has none.
    static bool hasVisibleSubfolder(const QString& folder, bool showHidden);
    // The answers for many folders, while stillWanted says so. Any thread.
    static QHash<QString, bool> checkSubfolders(const QStringList& folders, bool showHidden,
                                                const std::function<bool()>& stillWanted);
    // The folders of rows whose answer is not known and not yet asked for;
    // they count as asked from now on.
    QStringList takeSubfolderQuestions(bool showHidden);
    // Answers come back: the rows of those folders show them. False when
    // they were asked with another choice of hidden folders than today's.
    bool noteSubfolderAnswers(const QHash<QString, bool>& answers, bool showHidden);
    // The next rebuild asks again; the old answers show until the new come.
    void forgetSubfolderAnswers();

    // "|  " or three blanks per ancestor level, then "+--"; empty at the root.
    static QString prefix(const TreeRow& row);
    // The name, with ">" behind a closed folder that has subfolders.
    static QString label(const TreeRow& row, bool showLocalizedNames);
    // A blank, the prefix and the label: " |  +--Music>".
    static QString rowText(const TreeRow& row, bool showLocalizedNames);

    QString root;
    FilerSortMode sortMode = FilerSortMode::name;
    bool sortByLocalizedName = true;
    QSet<QString> expanded;
    QList<TreeRow> rows;
    int selectedRowIndex = 0;
    QList<FileEntry> files;
    int fileSelection = 0;
    bool focusOnFiles = false;

private:
    // The answers, for the choice of hidden folders they were found with.
    QHash<QString, bool> m_subfolderAnswers;
    QHash<QString, bool> m_formerAnswers;
    QSet<QString> m_subfolderQuestions;
    bool m_answersShowHidden = false;
    std::optional<FileEntry> m_selectedFolder;
    FileSystemService::ListingControl m_control;

    static FileEntry readFolderEntry(const QString& path);
    TreeRow makeRow(const QString& path, int depth, const QList<bool>& ancestors) const;
    void appendChildren(const QString& parent, int depth, const QList<bool>& ancestors,
                        bool showHidden);
};
