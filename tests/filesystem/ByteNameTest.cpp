// Names that are not UTF-8, made with their raw bytes, through the commands:
// listed apart, shown readably, tagged, copied, moved, renamed and trashed
// with their bytes kept.
#include "filesystem/FileFlowSupport.h"
#include "support/ListingWait.h"

#include "archive/ArchiveService.h"
#include "core/EntryDisplay.h"
#include "core/SystemPath.h"
#include "filesystem/DirectoryWatcher.h"
#include "search/TreeSession.h"
#include "text/ShownFileName.h"

#include <QProcess>
#include <QTest>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace FileFlowTest;
using namespace std::chrono_literals;

namespace {

const QByteArray badName("bad\xff\xfe.txt");
const QByteArray otherBadName("bad\xfe\xff.txt");
// "ソフト.txt" in Shift_JIS.
const QByteArray sjisName("\x83\x5c\x83\x74\x83\x67.txt");

// The names in a folder as the system holds them.
QSet<QByteArray> namesIn(const QString& folder) {
    QSet<QByteArray> names;
    DIR* dir = ::opendir(toSystemPath(folder).constData());
    while (const struct dirent* item = dir ? ::readdir(dir) : nullptr) {
        if (item->d_name[0] != '.') {
            names.insert(item->d_name);
        }
    }
    if (dir) {
        ::closedir(dir);
    }
    return names;
}

QByteArray readBytes(const QByteArray& path) {
    QByteArray bytes(4096, 0);
    const int fd = ::open(path.constData(), O_RDONLY);
    const ssize_t got = fd >= 0 ? ::read(fd, bytes.data(), size_t(bytes.size())) : -1;
    if (fd >= 0) {
        ::close(fd);
    }
    return bytes.first(std::max<qsizetype>(got, 0));
}

class ByteNames : public FlowTest {
protected:
    // Makes a file by the bytes of its name, beside what the test folder holds.
    QString makeRaw(const QString& folder, const QByteArray& name) {
        return TestDir::makeFileAt(toSystemPath(dir.filePath(folder)) + '/' + name, name);
    }
    void listLeft() {
        state->reloadPane(PaneSide::left, false);
        ASSERT_TRUE(settleListings());
    }
    const FileEntry* row(const QByteArray& name) const {
        for (const FileEntry& entry : state->pane(PaneSide::left).entries) {
            if (entry.name == fromSystemPath(name)) {
                return &entry;
            }
        }
        return nullptr;
    }
    void pointAtRaw(const QByteArray& name) { pointAt(fromSystemPath(name)); }
    QByteArray onDisk(const QString& folder, const QByteArray& name) const {
        return readBytes(toSystemPath(dir.filePath(folder)) + '/' + name);
    }
};

TEST_F(ByteNames, NamesApartOnlyInBadBytesAreTwoRowsTwoTagsAndReadable) {
    makeRaw("left", badName);
    makeRaw("left", otherBadName);
    makeRaw("left", sjisName);
    listLeft();
    ASSERT_EQ(state->pane(PaneSide::left).entries.size(), 4); // "..", three files
    const FileEntry* bad = row(badName);
    const FileEntry* other = row(otherBadName);
    const FileEntry* sjis = row(sjisName);
    ASSERT_TRUE(bad && other && sjis);
    EXPECT_NE(bad->id(), other->id());
    EXPECT_EQ(toSystemPath(bad->url()), toSystemPath(dir.filePath("left")) + '/' + badName);
    EXPECT_EQ(EntryDisplay::displayName(*bad, false, false), "bad\\xFF\\xFE.txt");
    EXPECT_EQ(EntryDisplay::displayName(*other, true, true), "bad\\xFE\\xFF.txt");
    EXPECT_EQ(EntryDisplay::displayName(*sjis, false, false),
              QStringLiteral("ソフト.txt") + ShownFileName::legacyMark);
    EXPECT_TRUE(bad->isReadable && bad->isWritable); // its rights were read by its bytes

    for (const QByteArray& name : {badName, otherBadName}) {
        pointAtRaw(name);
        state->handleKeyDown(KeyTest::coded(KeyCode::space, " "));
    }
    EXPECT_EQ(state->taggedKeys.size(), 2);
    EXPECT_EQ(state->taggedFileURLs().size(), 2);

    // Sorted and filtered by the shown form: "bad\xFE…" before "bad\xFF…",
    // and the Shift_JIS name found by its kana.
    const QList<FileEntry> rows = state->pane(PaneSide::left).entries;
    EXPECT_EQ(rows[1].name, other->name);
    EXPECT_EQ(rows[2].name, bad->name);
    state->openFilter();
    state->setFilterQuery(QStringLiteral("ソフ"));
    const QList<FileEntry> kept = state->visibleEntries(PaneSide::left);
    ASSERT_EQ(kept.size(), 2);
    EXPECT_EQ(kept[1].name, fromSystemPath(sjisName));
}

TEST_F(ByteNames, CopyMoveAndRenameKeepTheBytesAnEditedNameIsUtf8) {
    makeRaw("left", badName);
    makeRaw("left", sjisName);
    makeRaw("left", otherBadName);
    listLeft();
    useDualFiler();
    pointAtRaw(badName);
    key("c");
    key("y");
    waitForFileWork();
    pointAtRaw(sjisName);
    key("m");
    key("y");
    waitForFileWork();
    EXPECT_EQ(onDisk("right", badName), badName);
    EXPECT_EQ(onDisk("right", sjisName), sjisName);
    EXPECT_EQ(namesIn(dir.filePath("left")), (QSet<QByteArray>{badName, otherBadName}));

    // The prompt offers the shown form; confirmed as it stands, nothing moves.
    pointAtRaw(otherBadName);
    key("n");
    ASSERT_TRUE(state->isOpen(Overlay::renamePrompt));
    EXPECT_EQ(state->renamePrompt.name, "bad\\xFE\\xFF.txt");
    state->commitRename();
    EXPECT_FALSE(state->errorMessage);
    EXPECT_EQ(namesIn(dir.filePath("left")), (QSet<QByteArray>{badName, otherBadName}));
    pointAtRaw(otherBadName);
    key("n");
    state->setPromptText(QStringLiteral("ソフト2.txt"));
    state->commitRename();
    settleListings();
    EXPECT_EQ(onDisk("left", QStringLiteral("ソフト2.txt").toUtf8()), otherBadName);
    EXPECT_EQ(namesIn(dir.filePath("left")).size(), 2);
}

TEST_F(ByteNames, AttributesAreWrittenAndTheTrashKeepsTheBytesOfTheNameAndItsPath) {
    const QString trash = privateTrash();
    makeRaw("left", badName);
    listLeft();
    pointAtRaw(badName);
    key("a");
    ASSERT_TRUE(state->isOpen(Overlay::attributePrompt));
    EXPECT_EQ(state->attributePrompt.oldMode, "rw-r--r--");
    state->attributePrompt.newMode = "rwx------";
    state->applyAttributePrompt();
    waitForFileWork();
    EXPECT_EQ(error(), "");
    struct stat st {};
    ASSERT_EQ(::stat((toSystemPath(dir.filePath("left")) + '/' + badName).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);

    pointAtRaw(badName);
    key("d");
    key("y");
    waitForFileWork();
    EXPECT_EQ(error(), "");
    EXPECT_TRUE(namesIn(dir.filePath("left")).isEmpty());
    EXPECT_TRUE(namesIn(trash + "/files").contains(badName));
    const QByteArray restore = readBytes(toSystemPath(trash) + "/info/" + badName + ".trashinfo");
    // The restore path is the original's bytes, percent-encoded.
    const QByteArray original = toSystemPath(dir.filePath("left")) + "/bad%FF%FE.txt";
    EXPECT_TRUE(restore.contains("Path=" + original)) << restore.constData();
}

// A folder and a tar archive named in bytes: entered, watched, shown in the
// tree and listed by the archive tool, each reached by its own bytes.
TEST_F(ByteNames, AFolderAndAnArchiveNamedInBytesAreEnteredWatchedAndListed) {
    const QByteArray folderName("old\xff");
    ASSERT_EQ(::mkdir((toSystemPath(dir.filePath("left")) + '/' + folderName).constData(), 0755),
              0);
    state->pane(PaneSide::left).watcher = std::make_shared<DirectoryWatcher>(20ms);
    listLeft();
    pointAtRaw(folderName);
    state->handleKeyDown(KeyTest::named(KeyCode::returnKey));
    ASSERT_TRUE(settleListings());
    const QString inside = dir.filePath("left") + '/' + fromSystemPath(folderName);
    EXPECT_EQ(state->pane(PaneSide::left).watcher->watchedPath(), inside);
    EXPECT_EQ(state->pane(PaneSide::left).entries.size(), 1);
    const int64_t epoch = state->pane(PaneSide::left).listEpoch;
    makeRaw("left/" + fromSystemPath(folderName), sjisName);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return state->pane(PaneSide::left).listEpoch > epoch && settleListings(); }, 5000));
    ASSERT_EQ(state->pane(PaneSide::left).entries.size(), 2);

    // The tree of the folder above shows the folder by its shown form.
    TreeSession tree(dir.filePath("left"), FilerSortMode::name, false);
    tree.expanded.insert(tree.root);
    tree.rebuildRows(false);
    ASSERT_EQ(tree.rows.size(), 2);
    EXPECT_EQ(TreeSession::label(tree.rows[1], false), "old\\xFF");

    // tar is given the archive's exact bytes, not a lossy spelling.
    const QString archive = makeRaw("left", QByteArray("pack\xfe.tar"));
    ASSERT_EQ(::truncate(toSystemPath(archive).constData(), 0), 0);
    QProcess tar;
    tar.setWorkingDirectory(dir.filePath("right"));
    dir.makeFile("right/member.txt", "m");
    tar.start("tar", {"-cf", "../packed.tar", "member.txt"});
    ASSERT_TRUE(tar.waitForFinished());
    ASSERT_EQ(::rename(toSystemPath(dir.filePath("packed.tar")).constData(),
                       toSystemPath(archive).constData()),
              0);
    const auto members = ArchiveService::listMembers(archive);
    ASSERT_TRUE(members) << members.error().description().toStdString();
    ASSERT_EQ(members->size(), 1);
    EXPECT_EQ(members->first().path, "member.txt");
}

} // namespace
