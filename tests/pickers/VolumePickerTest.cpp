// The volume list from mount records and media folders, and the V picker.
#include "filesystem/FileSystemService.h"
#include "support/StateFixture.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using FileSystemService::collectVolumes;
using FileSystemService::MountRecord;

TEST(CollectVolumes, UserDisksAndMediaFoldersOnlyRootFirstThenByName) {
    const QList<MountRecord> mounts = {
        {"/proc", "proc", "proc", ""},
        {"/sys/fs/cgroup", "cgroup2", "cgroup2", ""},
        {"/run/user/1000", "tmpfs", "tmpfs", ""},
        {"/", "overlay", "overlay", ""},
        {"/snap/core/1", "/dev/loop0", "squashfs", ""},
        {"/System/Volumes/Data", "/dev/disk1", "apfs", "Data"},
        {"/media/me/USB", "/dev/sdb1", "vfat", "  "},
        {"/mnt/backup", "/dev/sdc1", "ext4", "Backup"},
        {"/mnt/backup-again", "/dev/sdc1", "ext4", "Backup bind"},
        {"/mnt/share", "server:/export", "nfs4", "share"},
        {"/var/lib/docker", "/dev/sda1", "ext4", "docker"},
        {"/home", "/dev/sda2", "ext4", "Home"},
    };
    const QList<MountedVolume> expected = {
        {"Macintosh HD", "/", true},    {"Backup", "/mnt/backup", false}, {"Home", "/home", false},
        {"share", "/mnt/share", false}, {"USB", "/media/me/USB", false},
    };
    EXPECT_EQ(collectVolumes(mounts, {}), expected);

    // The folders of a media folder join, without repeats.
    TestDir media;
    media.makeFolder("Stick");
    media.makeFolder("com.apple.TimeMachine.localsnapshots");
    media.makeLink("Startup", "/");
    media.makeFile("not-a-folder");
    const QList<MountedVolume> withMedia = {
        {"System", "/", true},
        {"Stick", media.filePath("Stick"), false},
    };
    EXPECT_EQ(collectVolumes({{"/", "/dev/sda1", "ext4", "System"}}, {media.path(), "/no/such"}),
              withMedia);
}

// Made from the mount table of a desktop machine, with the remote mounts a
// user makes added by hand; \040 is the table's escape of a blank.
const QByteArray kDesktopMountInfo = R"(22 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw
30 22 8:3 / /home rw,relatime shared:2 - ext4 /dev/sda3 rw
23 22 0:21 / /proc rw,nosuid shared:12 - proc proc rw
24 22 0:22 / /sys rw,nosuid shared:7 - sysfs sysfs rw
25 24 0:26 / /sys/fs/cgroup rw,nosuid shared:9 - cgroup2 cgroup2 rw
26 22 0:24 / /run rw,nosuid shared:5 - tmpfs tmpfs rw,mode=755
27 22 0:50 / /var/lib/docker/overlay2/abc/merged rw - overlay overlay rw,lowerdir=/x
28 22 7:0 / /snap/core22/1 ro,nodev shared:30 - squashfs /dev/loop0 ro
40 22 0:40 / /mnt/x rw,relatime shared:40 - nfs4 server:/export rw,vers=4.2
41 22 0:41 / /media/u/share rw,relatime shared:41 - cifs //nas/share rw
42 30 0:42 / /home/u/remote rw,nosuid,nodev shared:42 - fuse.sshfs me@host: rw,user_id=1000
43 30 0:43 / /home/u/My\040Drive rw,nosuid shared:43 - fuse.rclone gdrive: rw,user_id=1000
44 26 0:44 / /run/user/1000/gvfs rw,nosuid shared:44 - fuse.gvfsd-fuse gvfsd-fuse rw,user_id=1000
45 26 0:45 / /run/user/1000/doc rw,nosuid shared:45 - fuse.portal portal rw,user_id=1000
46 24 0:46 / /sys/fs/fuse/connections rw shared:46 - fusectl fusectl rw
)";

TEST(CollectVolumes, RemoteAndUserMountsJoinTheDisksAndInternalsStayOut) {
    const QList<MountRecord> mounts = FileSystemService::parseMountTable(kDesktopMountInfo);
    ASSERT_EQ(mounts.size(), 15);
    EXPECT_EQ(mounts[11], (MountRecord{"/home/u/My Drive", "gdrive:", "fuse.rclone", ""}));
    const QList<MountedVolume> expected = {
        {"Macintosh HD", "/", true},
        {"gvfs", "/run/user/1000/gvfs", false},
        {"home", "/home", false},
        {"My Drive", "/home/u/My Drive", false},
        {"remote", "/home/u/remote", false},
        {"share", "/media/u/share", false},
        {"x", "/mnt/x", false},
    };
    EXPECT_EQ(collectVolumes(mounts, {}), expected);

    // A GVFS share is named by the share and its host.
    using FileSystemService::gvfsShareName;
    EXPECT_EQ(gvfsShareName("smb-share:server=nas,share=music"), "music on nas");
    EXPECT_EQ(gvfsShareName("sftp:host=example.org,user=me"), "example.org");
    EXPECT_EQ(gvfsShareName("dav:host=h,ssl=true,prefix=%2Fremote.php"), "h");
    EXPECT_EQ(gvfsShareName("plain folder"), "plain folder");
}

class VolumePicker : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        makeState();
    }
};

TEST_F(VolumePicker, OpensWithTheRootFirstWrapsBothWaysAndStaysShutUnderTheWildcardPrompt) {
    state->showOverlay(Overlay::wildcardPrompt);
    state->openVolumePicker();
    EXPECT_FALSE(state->isOpen(Overlay::volumePicker));
    state->closeOverlay(Overlay::wildcardPrompt);
    state->openVolumePicker();
    ASSERT_TRUE(state->isOpen(Overlay::volumePicker));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !state->volumePicker.isLoading; }, 5000));
    ASSERT_TRUE(state->volumePicker.items.first().isRoot);
    state->volumePicker.items = {{"A", dir.filePath("a"), false}, {"B", dir.path(), false}};
    state->moveVolumePickerSelection(-1);
    EXPECT_EQ(state->volumePicker.selection, 1);
    state->moveVolumePickerSelection(1);
    EXPECT_EQ(state->volumePicker.selection, 0);

    state->confirmVolumePicker(5); // outside the list: nothing
    EXPECT_TRUE(state->isOpen(Overlay::volumePicker));
    state->confirmVolumePicker(std::nullopt); // "a" was ejected meanwhile
    EXPECT_FALSE(state->isOpen(Overlay::volumePicker));
    ASSERT_TRUE(waitForListings(*state));
    EXPECT_EQ(state->errorMessage, "Cannot open:\n" + dir.filePath("a"));
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()));
}

// The list is read on a worker: the box stands empty at once, and a list
// that comes after the box was closed is dropped.
TEST(VolumePickerList, IsReadOnAWorkerAndDroppedOnceTheBoxIsClosed) {
    TestDir dir;
    MemoryPreferences preferences;
    FileAccessMemory::attach(&preferences);
    preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
    Background::ManualExecutor executor;
    {
        AppState state(preferences, executor);
        state.reloadPane(PaneSide::left, false);
        executor.runAll();
        state.openVolumePicker();
        EXPECT_TRUE(state.isOpen(Overlay::volumePicker));
        EXPECT_TRUE(state.volumePicker.isLoading);
        EXPECT_TRUE(state.volumePicker.items.isEmpty());
        EXPECT_EQ(executor.nextPool(), Background::Pool::diskRead);
        executor.runAll();
        EXPECT_FALSE(state.volumePicker.isLoading);
        EXPECT_TRUE(state.volumePicker.items.first().isRoot);

        state.closeVolumePicker();
        state.openVolumePicker();
        state.closeVolumePicker();
        executor.runAll();
        EXPECT_TRUE(state.volumePicker.items.isEmpty());
    }
    FileAccessMemory::attach(nullptr);
}

// A folder mounted through FUSE by bindfs, as a user would mount sshfs or
// rclone, stands in the list with its name.
TEST(VolumePickerList, AUserFuseMountIsListed) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0) {
        GTEST_SKIP() << "no usable /dev/fuse on this machine";
    }
    if (QStandardPaths::findExecutable(QStringLiteral("bindfs")).isEmpty()) {
        GTEST_SKIP() << "bindfs is not installed (scripts/bootstrap installs it)";
    }
    TestDir dir;
    dir.makeFile("source/inside.txt");
    dir.makeFolder("Fuse Mount");
    const QString mountPoint = dir.filePath("Fuse Mount");
    QProcess mount;
    mount.start(QStringLiteral("bindfs"), {dir.filePath("source"), mountPoint});
    if (!mount.waitForFinished(20000) || mount.exitCode() != 0) {
        GTEST_SKIP() << "mounting is refused here: " << mount.readAllStandardError().toStdString();
    }
    const QList<MountedVolume> volumes = FileSystemService::mountedVolumes();
    if (QProcess::execute(QStringLiteral("fusermount3"), {QStringLiteral("-u"), mountPoint}) != 0) {
        QProcess::execute(QStringLiteral("umount"), {mountPoint});
    }
    EXPECT_TRUE(volumes.contains(MountedVolume{"Fuse Mount", mountPoint, false}));
}

} // namespace
