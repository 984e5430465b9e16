// The volume list from mount records and media folders, and the V picker.
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <gtest/gtest.h>

namespace {

using FileSystemService::collectVolumes;
using FileSystemService::MountRecord;

TEST(CollectVolumes, UserDisksOnlyRootFirstThenByName) {
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
    const QList<MountedVolume> volumes = collectVolumes(mounts, {});
    const QList<MountedVolume> expected = {
        {"Macintosh HD", "/", true},    {"Backup", "/mnt/backup", false}, {"Home", "/home", false},
        {"share", "/mnt/share", false}, {"USB", "/media/me/USB", false},
    };
    EXPECT_EQ(volumes, expected);
}

TEST(CollectVolumes, MediaFolderChildrenJoinWithoutRepeats) {
    TestDir media;
    media.makeFolder("Stick");
    media.makeFolder("com.apple.TimeMachine.localsnapshots");
    media.makeLink("Startup", "/");
    media.makeFile("not-a-folder");
    const QList<MountRecord> mounts = {{"/", "/dev/sda1", "ext4", "System"}};
    const QList<MountedVolume> volumes = collectVolumes(mounts, {media.path(), "/no/such"});
    const QList<MountedVolume> expected = {
        {"System", "/", true},
        {"Stick", media.filePath("Stick"), false},
    };
    EXPECT_EQ(volumes, expected);
}

class VolumePicker : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences);
        state->reloadPane(PaneSide::left, false);
        waitForListings(*state);
    }
    void TearDown() override {
        state.reset();
        FileAccessMemory::attach(nullptr);
    }
    TestDir dir;
    MemoryPreferences preferences;
    std::unique_ptr<AppState> state;
};

TEST_F(VolumePicker, OpensWithTheRootFirstWrapsBothWaysAndStaysShutUnderTheWildcardPrompt) {
    state->showOverlay(Overlay::wildcardPrompt);
    state->openVolumePicker();
    EXPECT_FALSE(state->isOpen(Overlay::volumePicker));
    state->closeOverlay(Overlay::wildcardPrompt);
    state->openVolumePicker();
    ASSERT_TRUE(state->isOpen(Overlay::volumePicker));
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
    EXPECT_EQ(state->errorMessage, "Cannot open:\n" + dir.filePath("a"));
    EXPECT_EQ(state->pane(PaneSide::left).location, FilerLocation::directory(dir.path()));
}

} // namespace
