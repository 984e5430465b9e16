// The rights memory: first sighting wins, keys are standardized paths, the
// store is JSON text, and damage is silent.
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"
#include "support/TestDir.h"

#include <gtest/gtest.h>

namespace {

const QString kKey = QStringLiteral("fileAccessMemory.v1");

class FileAccessMemoryTest : public ::testing::Test {
protected:
    void SetUp() override { FileAccessMemory::attach(&preferences); }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    MemoryPreferences preferences;
    TestDir dir;
};

const FileAccessMemory::Record kRecord{true, false, QStringLiteral("-r--------"),
                                       QStringLiteral("alice"), QStringLiteral("staff")};

TEST_F(FileAccessMemoryTest, PathsThatStandardizeAlikeShareARecordButNfcAndNfdDoNot) {
    FileAccessMemory::remember(kRecord, QStringLiteral("/tmp/a/b/"), false);
    EXPECT_EQ(FileAccessMemory::rememberedRecord(QStringLiteral("/tmp//a/./c/../b")), kRecord);

    const QString composed = QStringLiteral("/tmp/caf\u00e9");
    FileAccessMemory::remember(kRecord, composed, false);
    EXPECT_TRUE(FileAccessMemory::rememberedRecord(composed));
    EXPECT_FALSE(
        FileAccessMemory::rememberedRecord(composed.normalized(QString::NormalizationForm_D)));
}

// A failed read is remembered as folder-like for archives.
TEST_F(FileAccessMemoryTest, TheFirstSightingIsShownUntilForgottenEvenAFailedOne) {
    const QString file = dir.makeFile(QStringLiteral("f"));
    const auto modeOf = [&] { return FileSystemService::accessRights(file, false, false).mode; };
    dir.setMode(QStringLiteral("f"), 0600);
    EXPECT_EQ(modeOf(), QStringLiteral("-rw-------"));
    dir.setMode(QStringLiteral("f"), 0444);
    EXPECT_EQ(modeOf(), QStringLiteral("-rw-------"));
    FileAccessMemory::forget(file);
    EXPECT_EQ(modeOf(), QStringLiteral("-r--r--r--"));

    const QString missing = dir.filePath("gone.zip");
    const auto record = FileSystemService::accessRights(missing, false, true);
    EXPECT_EQ(record, (FileAccessMemory::Record{false, false, QStringLiteral("d---------"),
                                                QStringLiteral("-"), QStringLiteral("-")}));
    EXPECT_EQ(FileSystemService::accessRights(dir.filePath("gone.txt"), false, false).mode,
              QStringLiteral("----------"));
    EXPECT_EQ(FileAccessMemory::rememberedRecord(missing), record);
}

// Unknown fields in a stored record are ignored.
TEST_F(FileAccessMemoryTest, StoreRoundTripsThroughJsonAcrossRestarts) {
    const QString odd = QStringLiteral("/tmp/quote\"back\\slash\nline/日本語");
    FileAccessMemory::remember(kRecord, odd, true);
    ASSERT_TRUE(preferences.contains(kKey));
    FileAccessMemory::attach(&preferences); // a new run of the program
    EXPECT_EQ(FileAccessMemory::rememberedRecord(odd), kRecord);

    preferences.setValue(kKey,
                         QByteArray(R"({"/a":{"readable":true,"writable":false,)"
                                    R"("mode":"-r--------","owner":"o","group":"g","x":1}})"));
    FileAccessMemory::attach(&preferences);
    const auto record = FileAccessMemory::rememberedRecord(QStringLiteral("/a"));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->owner, QStringLiteral("o"));
}

TEST_F(FileAccessMemoryTest, ForgettingAnUnknownPathWritesNothing) {
    FileAccessMemory::forget(QStringLiteral("/nowhere/at/all"));
    EXPECT_EQ(preferences.writeCount(), 0);
    FileAccessMemory::remember(kRecord, QStringLiteral("/known"), false);
    FileAccessMemory::forget(QStringLiteral("/known"));
    EXPECT_EQ(preferences.writeCount(), 1);
}

TEST_F(FileAccessMemoryTest, ADamagedStoreReadsAsEmptyAndIsReplacedByTheNextWrite) {
    for (const QByteArray& damage :
         {QByteArray("{not json"), QByteArray(R"({"/a":{"readable":true}})"),
          QByteArray(
              R"({"/a":{"readable":1,"writable":true,"mode":"x","owner":"o","group":"g"}})")}) {
        preferences.setValue(kKey, damage);
        FileAccessMemory::attach(&preferences);
        EXPECT_FALSE(FileAccessMemory::rememberedRecord(QStringLiteral("/a"))) << damage.data();
        EXPECT_EQ(preferences.dataValue(kKey), damage);
        FileAccessMemory::persist();
        EXPECT_EQ(FileAccessMemory::decode(preferences.dataValue(kKey)),
                  (QHash<QString, FileAccessMemory::Record>{}));
    }
}

TEST_F(FileAccessMemoryTest, EachListingWritesTheStoreOnceAndRemembersEveryShownItem) {
    for (int i = 0; i < 5; ++i) {
        dir.makeFile(QStringLiteral("item%1").arg(i));
    }
    const int before = preferences.writeCount();
    ASSERT_TRUE(
        FileSystemService::listDirectory(dir.path(), false, FilerSortMode::name, true).ok());
    EXPECT_EQ(preferences.writeCount(), before + 1);
    const auto stored = FileAccessMemory::decode(preferences.dataValue(kKey));
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->size(), 5);
}

} // namespace
