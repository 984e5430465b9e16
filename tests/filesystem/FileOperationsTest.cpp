// The primitives that change the disk: copy, move, the path prompt's folder
// rule and saving text, with the faults that must lose nothing.
#include "filesystem/FileOperationSupport.h"
#include "filesystem/FileSystemService.h"
#include "support/TestDir.h"

#include <QDir>

#include <gtest/gtest.h>

#include <fcntl.h>

using namespace FileOperationTest;
namespace fs = FileSystemService;

namespace {

using Kind = FileSystemError::Kind;

// Runs a copy or move in a child under a file size limit or as "nobody"; the
// child reports the error's text.
ChildOutcome tryInChild(const std::function<FsResult<Done>()>& step, ChildAccount account,
                        rlim_t fileSizeLimit = RLIM_INFINITY) {
    return runInChild(
        [&] {
            const auto result = step();
            return result.ok() ? QStringLiteral("done") : result.error().description();
        },
        account, fileSizeLimit);
}

// A folder on another file system than the temporary folder, so that a move
// between the two can't be a rename.
QString otherFileSystemFolder() {
    struct stat shm {
    }, tmp{};
    if (::stat("/dev/shm", &shm) != 0 || ::stat(QFile::encodeName(QDir::tempPath()), &tmp) != 0 ||
        shm.st_dev == tmp.st_dev || ::access("/dev/shm", W_OK) != 0) {
        return {};
    }
    return QStringLiteral("/dev/shm");
}

TEST(CopyItem, CopiesFoldersWithModesTimesAndLinks) {
    TestDir dir;
    dir.makeFile("src/tree/a.txt", "alpha");
    dir.makeFile("src/tree/sub/b.bin", QByteArray(300000, 'b'));
    dir.makeLink("src/tree/link", "a.txt");
    dir.setMode("src/tree/a.txt", 0640);
    dir.setMode("src/tree/sub", 0750);
    setMtime(dir.filePath("src/tree/sub/b.bin"), 1000000000);
    setMtime(dir.filePath("src/tree/sub"), 1100000000);
    dir.makeFolder("dest");

    fs::CopyProgress progress;
    ASSERT_TRUE(
        fs::copyItem(dir.filePath("src/tree"), dir.filePath("dest"), false, &progress).ok());

    EXPECT_EQ(contents(dir.filePath("dest/tree/a.txt")), "alpha");
    EXPECT_EQ(contents(dir.filePath("dest/tree/sub/b.bin")), QByteArray(300000, 'b'));
    EXPECT_EQ(modeOf(dir.filePath("dest/tree/a.txt")), 0640u);
    EXPECT_EQ(modeOf(dir.filePath("dest/tree/sub")), 0750u);
    EXPECT_EQ(mtimeOf(dir.filePath("dest/tree/sub/b.bin")), 1000000000);
    EXPECT_EQ(mtimeOf(dir.filePath("dest/tree/sub")), 1100000000);
    EXPECT_EQ(QFile::symLinkTarget(dir.filePath("dest/tree/link")),
              dir.filePath("dest/tree/a.txt"));
    EXPECT_EQ(progress.bytesDone.load(), 300005);
    EXPECT_EQ(fs::copyByteCount(dir.filePath("src/tree")), 300005);
}

// The overwrite removes the target before copying; when the target is the
// source itself the item is gone and the system's error is reported.
TEST(CopyItem, ExistingTargetIsRefusedOrReplacedEvenByItself) {
    TestDir dir;
    const QString source = dir.makeFile("a/note.txt", "new");
    dir.makeFile("b/note.txt", "old");

    const auto refused = fs::copyItem(source, dir.filePath("b"), false);
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.error().description(), "Already exists: note.txt");
    EXPECT_EQ(contents(dir.filePath("b/note.txt")), "old");

    ASSERT_TRUE(fs::copyItem(source, dir.filePath("b"), true).ok());
    EXPECT_EQ(contents(dir.filePath("b/note.txt")), "new");
    EXPECT_EQ(contents(source), "new");

    const auto itself = fs::copyItem(source, dir.filePath("a"), true);
    ASSERT_FALSE(itself.ok());
    EXPECT_EQ(itself.error().kind, Kind::system);
    EXPECT_EQ(itself.error().description(), QString::fromLocal8Bit(strerror(ENOENT)));
    EXPECT_FALSE(exists(source));
}

TEST(CopyItem, ReadOnlyDestinationFailsWithTheSystemTextAndKeepsTheSource) {
    TestDir dir;
    const QString source = dir.makeFile("src/data.bin", QByteArray(5000, 'd'));
    dir.makeFolder("locked");
    dir.setMode("locked", 0555);
    ::chmod(QFile::encodeName(dir.path()).constData(), 0755);
    dir.setMode("src", 0755);
    dir.setMode("src/data.bin", 0644);

    const ChildOutcome outcome =
        tryInChild([&] { return fs::copyItem(source, dir.filePath("locked"), false); },
                   ChildAccount::unprivileged);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.text, QString::fromLocal8Bit(strerror(EACCES)));
    EXPECT_EQ(contents(source), QByteArray(5000, 'd'));
    EXPECT_TRUE(QDir(dir.filePath("locked")).isEmpty());
}

TEST(CopyItem, CopyCutShortLeavesNoHalfItem) {
    TestDir dir;
    const QString source = dir.makeFile("src/big.bin", QByteArray(1 << 20, 'x'));
    dir.makeFolder("dest");
    const ChildOutcome outcome =
        tryInChild([&] { return fs::copyItem(source, dir.filePath("dest"), false); },
                   ChildAccount::same, 64 * 1024);
    EXPECT_EQ(outcome.text, QString::fromLocal8Bit(strerror(EFBIG)));
    EXPECT_FALSE(exists(dir.filePath("dest/big.bin")));
    EXPECT_EQ(contents(source).size(), 1 << 20);
}

TEST(MoveItem, RenamesAndRefusesItsOwnFolder) {
    TestDir dir;
    const QString source = dir.makeFile("a/note.txt", "text");
    dir.makeFolder("b");

    const auto same = fs::moveItem(source, dir.filePath("a/."), false);
    ASSERT_FALSE(same.ok());
    EXPECT_EQ(same.error().description(), "Source and destination are the same directory");

    ASSERT_TRUE(fs::moveItem(source, dir.filePath("b"), false).ok());
    EXPECT_FALSE(exists(source));
    EXPECT_EQ(contents(dir.filePath("b/note.txt")), "text");
}

// A move between file systems copies, then removes the source; when the copy
// fails half way the source stays whole and no partial item is left.
TEST(MoveItem, AcrossFileSystemsCopiesThenRemovesTheSourceOrKeepsItOnFailure) {
    const QString other = otherFileSystemFolder();
    if (other.isEmpty()) {
        GTEST_SKIP() << "no second file system";
    }
    TestDir dir;
    QTemporaryDir target(other + QStringLiteral("/dorvik-move-XXXXXX"));
    dir.makeFile("src/tree/small.txt", "small");
    const QString big = dir.makeFile("src/tree/z-big.bin", QByteArray(1 << 20, 'z'));
    dir.setMode("src/tree", 0711);
    const ChildOutcome outcome =
        tryInChild([&] { return fs::moveItem(dir.filePath("src/tree"), target.path(), false); },
                   ChildAccount::same, 64 * 1024);
    EXPECT_EQ(outcome.text, QString::fromLocal8Bit(strerror(EFBIG)));
    EXPECT_EQ(contents(big).size(), 1 << 20);
    EXPECT_EQ(contents(dir.filePath("src/tree/small.txt")), "small");
    EXPECT_FALSE(exists(target.path() + "/tree"));

    ASSERT_TRUE(fs::moveItem(dir.filePath("src/tree"), target.path(), false).ok());
    EXPECT_FALSE(exists(dir.filePath("src/tree")));
    EXPECT_EQ(contents(target.path() + "/tree/small.txt"), "small");
    EXPECT_EQ(modeOf(target.path() + "/tree"), 0711u);
}

TEST(ResolveDestinationFolder, FollowsThePromptRules) {
    TestDir dir;
    dir.makeFolder("one/two/three");
    dir.makeFolder("Dest");
    dir.makeFile("one/file.txt");
    const QString base = dir.filePath("one/two/three");
    const auto resolve = [&](const QString& text) {
        return fs::resolveDestinationFolder(text, base);
    };

    EXPECT_EQ(resolve("~").value(), QDir::homePath());
    EXPECT_EQ(resolve(" ../../ ").value(), dir.filePath("one"));
    EXPECT_EQ(resolve("../../../Dest").value(), dir.filePath("Dest"));
    EXPECT_EQ(resolve(dir.filePath("Dest") + "/").value(), dir.filePath("Dest"));
    EXPECT_EQ(resolve("../../file.txt").error().description(),
              "Not a directory: " + dir.filePath("one/file.txt"));
    EXPECT_EQ(resolve("missing").error().description(), "Destination is not an existing folder");
    EXPECT_EQ(resolve(" \n").error().kind, Kind::invalidDestination);

    const QString cwd = QDir::currentPath();
    QDir::setCurrent(dir.path());
    EXPECT_EQ(fs::resolveDestinationFolder("Dest", std::nullopt).value(), dir.filePath("Dest"));
    QDir::setCurrent(cwd);
}

TEST(ExpandTilde, ExpandsAsTheShellDoes) {
    const QString home = QString::fromLocal8Bit(qgetenv("HOME"));
    EXPECT_EQ(fs::expandTilde("~"), home);
    EXPECT_EQ(fs::expandTilde("~/x/y"), home + "/x/y");
    EXPECT_EQ(fs::expandTilde("~root/x"), "/root/x");
    EXPECT_EQ(fs::expandTilde("~no-such-user-here/x"), "~no-such-user-here/x");
    EXPECT_EQ(fs::expandTilde("a/~"), "a/~");
}

TEST(WriteText, ReplacesTheFileKeepingItsMode) {
    TestDir dir;
    const QString path = dir.makeFile("note.txt", "old");
    dir.setMode("note.txt", 0604);
    ASSERT_TRUE(fs::writeText(QStringLiteral("①と\\"), path, TextFileEncoding::cp932).ok());
    EXPECT_EQ(contents(path), QByteArray("\x87\x40\x82\xc6\\"));
    EXPECT_EQ(modeOf(path), 0604u);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"note.txt"});
}

TEST(WriteText, FailuresLeaveTheFileUntouched) {
    TestDir dir;
    const QString path = dir.makeFile("note.txt", "old");
    const auto unencodable = fs::writeText(QStringLiteral("①"), path, TextFileEncoding::shiftJIS);
    ASSERT_FALSE(unencodable.ok());
    EXPECT_EQ(unencodable.error().description(),
              QStringLiteral("この内容を Shift_JIS で保存できません（未対応の文字があります）"));
    EXPECT_EQ(contents(path), "old");

    const auto missing = fs::writeText("x", dir.filePath("none/new.txt"), TextFileEncoding::utf8);
    ASSERT_FALSE(missing.ok());
    EXPECT_EQ(missing.error().description(), QString::fromLocal8Bit(strerror(ENOENT)));
}

} // namespace
