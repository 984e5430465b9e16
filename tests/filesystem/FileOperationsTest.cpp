// The primitives that change the disk: copy, move, the path prompt's folder
// rule and saving text, with the faults that must lose nothing.
#include "core/SystemPath.h"
#include "filesystem/FileOperationSupport.h"
#include "filesystem/FileSystemService.h"
#include "filesystem/HeldSystemCalls.h"
#include "support/TestDir.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/inotify.h>
#include <sys/mount.h>

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
    if (::stat("/dev/shm", &shm) != 0 || ::stat(toSystemPath(QDir::tempPath()), &tmp) != 0 ||
        shm.st_dev == tmp.st_dev || ::access("/dev/shm", W_OK) != 0) {
        return {};
    }
    return QStringLiteral("/dev/shm");
}

// Everything in a folder, hidden items too: what a failed step left behind.
QStringList itemsIn(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot);
}

// Shows the folder from also at onto, in a mount namespace of this process
// alone. Only for a child; false without the right to mount.
bool bindMountInChild(const QString& from, const QString& onto) {
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount(toSystemPath(from).constData(), toSystemPath(onto).constData(), nullptr, MS_BIND,
                   nullptr) == 0;
}

FsResult<Done> copyOrMove(bool move, const QString& source, const QString& folder, bool overwrite) {
    return move ? fs::moveItem(source, folder, overwrite) : fs::copyItem(source, folder, overwrite);
}

void makeUniformFile(const QString& path, char byte, qint64 size) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const QByteArray block(1 << 20, byte);
    for (qint64 written = 0; written < size; written += block.size()) {
        ASSERT_EQ(file.write(block), block.size());
    }
}

// The byte a file consists of when it is exactly size bytes of one byte;
// 0 for anything else, a missing file included.
char uniformByte(const QString& path, qsizetype size) {
    const QByteArray bytes = contents(path);
    return bytes.size() == size && bytes.count(bytes[0]) == size ? bytes[0] : 0;
}

// Runs step in a child and kills it with SIGKILL the moment a file in the
// folder is part written: more than nothing, less than fullSize. True when
// the kill met the child half way.
bool killWhileAFileGrows(const QString& folder, qint64 fullSize,
                         const std::function<void()>& step) {
    const int changes = ::inotify_init1(IN_CLOEXEC);
    ::inotify_add_watch(changes, toSystemPath(folder).constData(), IN_MODIFY);
    const int folderFd = ::open(toSystemPath(folder).constData(), O_PATH | O_DIRECTORY);
    const pid_t child = ::fork();
    if (child == 0) {
        step();
        ::_exit(0);
    }
    const int childEnd = int(::syscall(SYS_pidfd_open, child, 0));
    bool killed = false;
    alignas(struct inotify_event) char events[8192];
    while (!killed) {
        struct pollfd ready[2] = {{changes, POLLIN, 0}, {childEnd, POLLIN, 0}};
        if (::poll(ready, 2, 60000) <= 0 || (ready[1].revents & POLLIN)) {
            break;
        }
        const ssize_t got = ::read(changes, events, sizeof events);
        for (ssize_t at = 0; at < got && !killed;) {
            const auto* event = reinterpret_cast<const struct inotify_event*>(events + at);
            struct stat st;
            if (event->len > 0 && ::fstatat(folderFd, event->name, &st, AT_SYMLINK_NOFOLLOW) == 0 &&
                st.st_size > 0 && st.st_size < fullSize) {
                killed = ::kill(child, SIGKILL) == 0;
            }
            at += ssize_t(sizeof(struct inotify_event) + event->len);
        }
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(childEnd);
    ::close(folderFd);
    ::close(changes);
    return killed && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

using Swap = std::function<void(int dirFd, const char* path)>;

// Copies in a child where another program changes the item named name the
// moment the copy first opens it, by the folder and path of that opening.
ChildOutcome copySwappingOnOpen(const char* name, const Swap& swap, const QString& source,
                                const QString& folder, bool overwrite) {
    return runInChild(
        [&] {
            bool swapped = false;
            const auto swapFirst = [&](const seccomp_data& call) {
                const bool relative = call.nr == SYS_openat;
                const auto* path =
                    reinterpret_cast<const char*>(relative ? call.args[1] : call.args[0]);
                const QByteArray opened(path);
                if (!swapped && (opened == name || opened.endsWith('/' + QByteArray(name)))) {
                    swapped = true;
                    swap(relative ? int(call.args[0]) : AT_FDCWD, path);
                }
            };
            if (!holdSystemCalls(openingCalls(), swapFirst)) {
                return QStringLiteral("cannot hold calls");
            }
            const auto result = fs::copyItem(source, folder, overwrite);
            return result ? QStringLiteral("done") : result.error().description();
        },
        ChildAccount::same, RLIM_INFINITY, std::chrono::seconds(20));
}

// A folder swapped for a link to outside, the folder itself kept aside.
Swap folderToLink(const QByteArray& outside) {
    return [outside](int dirFd, const char* path) {
        ::renameat(dirFd, path, dirFd, (QByteArray(path) + "-aside").constData());
        (void)!::symlinkat(outside.constData(), dirFd, path);
    };
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

// An overwrite replaces another item, never the source itself.
TEST(CopyItem, ExistingTargetIsRefusedOrReplacedButNeverByItself) {
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
    EXPECT_EQ(itself.error().kind, Kind::sameItem);
    EXPECT_EQ(itself.error().description(), "Cannot overwrite an item with itself");
    EXPECT_EQ(contents(source), "new");
    EXPECT_EQ(itemsIn(dir.filePath("a")), QStringList{"note.txt"});
}

// The same item by another way in, a link to its folder or the folder mounted
// a second time, is refused too, and the item stays byte for byte.
TEST(CopyAndMove, AnItemIsNeverOverwrittenByItself) {
    struct Row {
        const char* what;
        bool move;
        const char* folder;
        Kind refusal;
    };
    const Row rows[] = {
        {"copy through a link to its folder", false, "link", Kind::sameItem},
        {"move through a link to its folder", true, "link", Kind::sameDirectory},
        {"copy through a bind mount of its folder", false, "mount", Kind::sameItem},
        {"move through a bind mount of its folder", true, "mount", Kind::sameDirectory},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        TestDir dir;
        const QString source = dir.makeFile("a/note.txt", "precious");
        dir.makeLink("link", dir.filePath("a"));
        dir.makeFolder("mount");
        const ChildOutcome outcome = runInChild(
            [&] {
                if (QLatin1String(row.folder) == QLatin1String("mount") &&
                    !bindMountInChild(dir.filePath("a"), dir.filePath("mount"))) {
                    return QStringLiteral("cannot mount");
                }
                const auto result = copyOrMove(row.move, source, dir.filePath(row.folder), true);
                return result.ok() ? QStringLiteral("done") : result.error().description();
            },
            ChildAccount::same);
        if (outcome.text == "cannot mount") {
            continue; // only root may mount
        }
        EXPECT_EQ(outcome.text, FileSystemError::make(row.refusal).description());
        EXPECT_EQ(contents(source), "precious");
        EXPECT_EQ(itemsIn(dir.filePath("a")), QStringList{"note.txt"});
    }
}

// Replacing the folder that holds the source would take the source with it.
TEST(CopyAndMove, AFolderThatHoldsTheSourceIsNeverOverwrittenByIt) {
    for (const bool move : {false, true}) {
        for (const QString into : {"q", "qlink"}) {
            SCOPED_TRACE((move ? "move to " : "copy to ") + into.toStdString());
            TestDir dir;
            const QString source = dir.makeFile("q/x/x", "inner");
            dir.makeFile("q/x/y", "sibling");
            dir.makeLink("qlink", dir.filePath("q"));
            const auto result = copyOrMove(move, source, dir.filePath(into), true);
            ASSERT_FALSE(result.ok());
            EXPECT_EQ(result.error().kind, Kind::holdsSource);
            EXPECT_EQ(contents(source), "inner");
            EXPECT_EQ(contents(dir.filePath("q/x/y")), "sibling");
            EXPECT_EQ(itemsIn(dir.filePath("q")), QStringList{"x"});
        }
    }
}

TEST(CopyAndMove, AFolderIsNeverPutInsideItself) {
    for (const bool move : {false, true}) {
        for (const QString into : {"a/sub", "sublink"}) {
            SCOPED_TRACE((move ? "move into " : "copy into ") + into.toStdString());
            TestDir dir;
            dir.makeFile("a/file.txt", "x");
            dir.makeFolder("a/sub");
            dir.makeLink("sublink", dir.filePath("a/sub"));
            const auto result = copyOrMove(move, dir.filePath("a"), dir.filePath(into), false);
            ASSERT_FALSE(result.ok());
            EXPECT_EQ(result.error().kind, Kind::intoItself);
            EXPECT_EQ(itemsIn(dir.filePath("a")), QStringList({"file.txt", "sub"}));
            EXPECT_EQ(itemsIn(dir.filePath("a/sub")), QStringList());
        }
    }
}

TEST(CopyItem, ReadOnlyDestinationFailsWithTheSystemTextAndKeepsTheSource) {
    TestDir dir;
    const QString source = dir.makeFile("src/data.bin", QByteArray(5000, 'd'));
    dir.makeFolder("locked");
    dir.setMode("locked", 0555);
    ::chmod(toSystemPath(dir.path()).constData(), 0755);
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

// A copy that fails half way, here at a file size limit, leaves the target as
// it was: no half item where there was none, the old item whole where there
// was one, and nothing else beside it.
TEST(CopyAndMove, ACopyCutShortLeavesTheTargetAsItWas) {
    struct Row {
        const char* what;
        bool move;
        bool overwrite;
        bool acrossFileSystems;
    };
    const Row rows[] = {
        {"new copy", false, false, false},
        {"copy over an item", false, true, false},
        {"move over an item across file systems", true, true, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const QString other = otherFileSystemFolder();
        if (row.acrossFileSystems && other.isEmpty()) {
            continue;
        }
        TestDir dir;
        QTemporaryDir otherDest(other + QStringLiteral("/dorvik-move-XXXXXX"));
        const QString dest = row.acrossFileSystems ? otherDest.path() : dir.makeFolder("dest");
        const QString source = dir.makeFile("src/big.bin", QByteArray(1 << 20, 'x'));
        if (row.overwrite) {
            QFile old(dest + "/big.bin");
            ASSERT_TRUE(old.open(QIODevice::WriteOnly));
            old.write("old");
        }
        const ChildOutcome outcome =
            tryInChild([&] { return copyOrMove(row.move, source, dest, row.overwrite); },
                       ChildAccount::same, 64 * 1024);
        EXPECT_EQ(outcome.text, QString::fromLocal8Bit(strerror(EFBIG)));
        EXPECT_EQ(contents(source), QByteArray(1 << 20, 'x'));
        EXPECT_EQ(itemsIn(dest), row.overwrite ? QStringList{"big.bin"} : QStringList());
        if (row.overwrite) {
            EXPECT_EQ(contents(dest + "/big.bin"), "old");
        }
    }
}

// Killed at any moment, a copy leaves under the target's name either the old
// item or the whole new one: never a part, never a mix.
TEST(CopyAndMove, ACopyKilledHalfWayLeavesTheOldOrTheNewTargetNeverAPart) {
    constexpr qint64 size = 200 << 20;
    for (const bool overwrite : {false, true}) {
        SCOPED_TRACE(overwrite ? "copy over an item" : "new copy");
        TestDir dir;
        const QString source = dir.filePath("new.bin");
        makeUniformFile(source, 'n', size);
        const QString dest = dir.makeFolder("dest");
        const QString target = dest + "/new.bin";
        if (overwrite) {
            makeUniformFile(target, 'o', size);
        }
        const bool killedHalfWay =
            killWhileAFileGrows(dest, size, [&] { (void)fs::copyItem(source, dest, overwrite); });
        ASSERT_TRUE(killedHalfWay);
        const char left = uniformByte(target, size);
        if (overwrite) {
            EXPECT_TRUE(left == 'o' || left == 'n') << "a part or a mix at the target";
        } else {
            EXPECT_TRUE(!exists(target) || left == 'n') << "a part at the target";
        }
    }
}

// The process is killed the moment a chosen step of a save or of a move to
// another file system begins: what stands at the target is the old text or
// the whole new one, and a moved item is whole at its source or its target.
TEST(CopyAndMove, AKillAtAnyStepOfASaveOrAMoveAcrossFileSystemsLosesNothing) {
    const auto killHere = [](const seccomp_data&) { ::kill(::getpid(), SIGKILL); };
    const std::vector<long> writing = {SYS_write, SYS_pwrite64};
    const std::vector<long> syncing = {SYS_fsync, SYS_fdatasync, SYS_syncfs};
    const std::vector<long> removing = {
#ifdef SYS_unlink
        SYS_unlink, SYS_rmdir,
#endif
        SYS_unlinkat};
    for (const auto& [name, calls] : {std::pair{"write", writing}, std::pair{"sync", syncing},
                                      std::pair{"rename", placingCalls()}}) {
        SCOPED_TRACE(std::string("save killed at its ") + name);
        TestDir dir;
        const QString target = dir.makeFile("note.txt", "stored");
        const ChildOutcome outcome = runInChild(
            [&] {
                if (!holdSystemCalls(calls, killHere)) {
                    return QStringLiteral("cannot hold calls");
                }
                const auto saved =
                    fs::writeText(QStringLiteral("typed"), target, TextFileEncoding::utf8);
                return saved ? QStringLiteral("done") : saved.error().description();
            },
            ChildAccount::same);
        if (outcome.text == "cannot hold calls") {
            GTEST_SKIP() << "the kernel refuses seccomp user notification";
        }
        EXPECT_NE(outcome.text, "done") << "the step was never reached";
        EXPECT_EQ(contents(target), "stored");
    }
    const QString other = otherFileSystemFolder();
    if (other.isEmpty()) {
        GTEST_SKIP() << "no second file system";
    }
    for (const auto& [name, calls] :
         {std::pair{"rename", placingCalls()}, std::pair{"removal of the source", removing}}) {
        SCOPED_TRACE(std::string("move across file systems killed at its ") + name);
        TestDir dir;
        QTemporaryDir elsewhere(other + "/dorvik-test-XXXXXX");
        const QString source = dir.makeFile("moving.txt", "whole");
        const QString target = elsewhere.path() + "/moving.txt";
        const ChildOutcome outcome = runInChild(
            [&] {
                if (!holdSystemCalls(calls, killHere)) {
                    return QStringLiteral("cannot hold calls");
                }
                const auto moved = fs::moveItem(source, elsewhere.path(), false);
                return moved ? QStringLiteral("done") : moved.error().description();
            },
            ChildAccount::same);
        EXPECT_NE(outcome.text, "done") << "the step was never reached";
        EXPECT_TRUE(contents(source) == "whole" || contents(target) == "whole");
        EXPECT_TRUE(!exists(target) || contents(target) == "whole") << "a part at the target";
    }
}

// Between the last look at the target and the act, another program puts an
// item there (the placing system call is held until it stands). That item is
// kept, also where the file system lacks renameat2's flags.
TEST(PlacingAnItem, AnItemThatAppearsAtTheLastMomentIsNeverReplaced) {
    enum class Step { rename, move, copy };
    for (const Step step : {Step::rename, Step::move, Step::copy}) {
        for (const RenameFlags flags : {RenameFlags::supported, RenameFlags::missing}) {
            SCOPED_TRACE(int(step) * 10 + int(flags));
            TestDir dir;
            const QString source = dir.makeFile("a/note.txt", "moving");
            const QString target =
                step == Step::rename ? dir.filePath("a/taken.txt") : dir.filePath("b/note.txt");
            dir.makeFolder("b");
            const ChildOutcome outcome = runInChild(
                [&] {
                    bool placed = false;
                    const auto placeFirst = [&](const seccomp_data&) {
                        if (!std::exchange(placed, true)) {
                            const int fd = ::open(toSystemPath(target).constData(),
                                                  O_WRONLY | O_CREAT | O_EXCL, 0644);
                            (void)!::write(fd, "precious", 8);
                            ::close(fd);
                        }
                    };
                    if (!holdSystemCalls(placingCalls(), placeFirst, flags)) {
                        return QStringLiteral("cannot hold calls");
                    }
                    if (step == Step::rename) {
                        const auto renamed = fs::renameItem(source, "taken.txt");
                        return renamed ? QStringLiteral("done") : renamed.error().description();
                    }
                    const auto result =
                        copyOrMove(step == Step::move, source, dir.filePath("b"), false);
                    return result ? QStringLiteral("done") : result.error().description();
                },
                ChildAccount::same);
            if (outcome.text == "cannot hold calls") {
                GTEST_SKIP() << "the kernel refuses seccomp user notification";
            }
            EXPECT_EQ(outcome.text, "Already exists: " + QFileInfo(target).fileName());
            EXPECT_EQ(contents(target), "precious");
            EXPECT_EQ(contents(source), "moving");
            EXPECT_EQ(itemsIn(dir.filePath("b")),
                      step == Step::rename ? QStringList() : QStringList{"note.txt"});
        }
    }
}

// What the copy opens is what it looked at: an item that another program
// turns into a pipe (which would stall the copy) or into a link (which would
// lead it outside) the moment before it is opened is refused, and the copy
// leaves nothing behind.
TEST(CopyItem, AnItemSwappedAsItIsOpenedIsRefused) {
    enum class Turn { fileToPipe, fileToLink, folderToLink };
    for (const Turn turn : {Turn::fileToPipe, Turn::fileToLink, Turn::folderToLink}) {
        SCOPED_TRACE(int(turn));
        TestDir dir;
        dir.makeFile("src/tree/data.bin", "data");
        dir.makeFile("src/tree/sub/inner.txt", "inner");
        dir.makeFile("outside/secret.txt", "secret");
        const QString dest = dir.makeFolder("dest");
        const QByteArray secret = toSystemPath(dir.filePath("outside/secret.txt"));
        const char* name = turn == Turn::folderToLink ? "sub" : "data.bin";
        Swap swap = folderToLink(toSystemPath(dir.filePath("outside")));
        if (turn != Turn::folderToLink) {
            swap = [turn, secret](int dirFd, const char* path) {
                ::unlinkat(dirFd, path, 0);
                if (turn == Turn::fileToPipe) {
                    ::mknodat(dirFd, path, S_IFIFO | 0644, 0);
                } else {
                    (void)!::symlinkat(secret.constData(), dirFd, path);
                }
            };
        }
        const ChildOutcome outcome =
            copySwappingOnOpen(name, swap, dir.filePath("src/tree"), dest, false);
        if (outcome.text == "cannot hold calls") {
            GTEST_SKIP() << "the kernel refuses seccomp user notification";
        }
        EXPECT_EQ(outcome.text, QStringLiteral("Changed while being copied: ") + name);
        EXPECT_EQ(itemsIn(dest), QStringList());
        EXPECT_EQ(itemsIn(dir.filePath("outside")), QStringList{"secret.txt"});
    }
}

// The folder an overwrite replaces is removed by walking it from the inside:
// a subfolder swapped for a link on the way is not followed out of it.
TEST(CopyItem, RemovingAReplacedFolderNeverLeavesIt) {
    TestDir dir;
    dir.makeFile("src/tree/new.txt", "new");
    dir.makeFile("dest/tree/inner/old.txt", "old");
    dir.makeFile("outside/secret.txt", "secret");
    const ChildOutcome outcome =
        copySwappingOnOpen("inner", folderToLink(toSystemPath(dir.filePath("outside"))),
                           dir.filePath("src/tree"), dir.filePath("dest"), true);
    if (outcome.text == "cannot hold calls") {
        GTEST_SKIP() << "the kernel refuses seccomp user notification";
    }
    EXPECT_EQ(itemsIn(dir.filePath("outside")), QStringList{"secret.txt"});
    EXPECT_EQ(contents(dir.filePath("dest/tree/new.txt")), "new");
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
