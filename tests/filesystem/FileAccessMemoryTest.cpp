// The rights memory: first sighting wins, keys are standardized paths, the
// records survive restarts in their own file, and damage loses no more than
// the damaged record.
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "filesystem/FileSystemService.h"
#include "filesystem/RightsStore.h"
#include "support/TestDir.h"

#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

#include <thread>

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

class StoreFileTest : public FileAccessMemoryTest {
protected:
    void SetUp() override { restart(); }
    // A new run of the program over the same settings and store file.
    void restart() { FileAccessMemory::attach(&preferences, storePath()); }
    QString storePath() const { return dir.filePath(QStringLiteral("state/Dorvik/rights")); }
    QByteArray fileBytes() const {
        FileAccessMemory::waitForWrites();
        QFile file(storePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void writeFile(const QByteArray& bytes) {
        FileAccessMemory::attach(nullptr);
        QFile file(storePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    static QString path(int i) { return QStringLiteral("/data/f%1/item%2").arg(i % 7).arg(i); }
};

const FileAccessMemory::Record kOther{false, true, QStringLiteral("drwxr-x---"),
                                      QStringLiteral("bob"), QStringLiteral("wheel")};

TEST_F(StoreFileTest, RecordsAndForgettingSurviveARestartWithoutTouchingTheSettings) {
    const QString odd = QStringLiteral("/tmp/quote\"back\\slash\nline/日本語 😀") + QChar(0xDC80);
    FileAccessMemory::remember(kRecord, odd, false);
    FileAccessMemory::remember(kOther, QStringLiteral("/"), false);
    FileAccessMemory::remember(kOther, QStringLiteral("/gone"), false);
    FileAccessMemory::persist();
    FileAccessMemory::forget(QStringLiteral("/gone"));
    restart();
    EXPECT_EQ(FileAccessMemory::rememberedRecord(odd), kRecord);
    EXPECT_EQ(FileAccessMemory::rememberedRecord(QStringLiteral("/")), kOther);
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(QStringLiteral("/gone")));
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(odd.chopped(1)));
    EXPECT_EQ(preferences.writeCount(), 0);

    // A forgetting made as a run starts holds in the next run.
    FileAccessMemory::forget(odd);
    restart();
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(odd));
}

TEST_F(StoreFileTest, ForgettingAnUnknownPathWritesNothing) {
    FileAccessMemory::remember(kRecord, QStringLiteral("/known"), true);
    const QByteArray before = fileBytes();
    FileAccessMemory::forget(QStringLiteral("/nowhere/at/all"));
    EXPECT_EQ(fileBytes(), before);
    FileAccessMemory::forget(QStringLiteral("/known"));
    EXPECT_GT(fileBytes().size(), before.size());
}

TEST_F(StoreFileTest, ARecordTornOrDamagedIsLostAloneAndTheFileGoesOn) {
    for (int i = 0; i < 20; ++i) {
        FileAccessMemory::remember(i % 2 ? kRecord : kOther, path(i), false);
    }
    const QByteArray whole = fileBytes();
    writeFile(whole.chopped(3));
    restart();
    for (int i = 0; i < 19; ++i) {
        EXPECT_EQ(FileAccessMemory::rememberedRecord(path(i)), i % 2 ? kRecord : kOther) << i;
    }
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(path(19)));
    // Appending goes on after the last whole record.
    FileAccessMemory::remember(kRecord, path(19), true);
    restart();
    EXPECT_EQ(FileAccessMemory::rememberedRecord(path(19)), kRecord);

    // A flipped byte inside the name of the last-but-one record.
    QByteArray damaged = fileBytes();
    const qsizetype at = damaged.lastIndexOf("item18");
    ASSERT_GT(at, 0);
    damaged[at + 4] = 'X';
    writeFile(damaged);
    restart();
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(path(18)));
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(QStringLiteral("/data/f4/iteX18")));
    EXPECT_EQ(FileAccessMemory::rememberedRecord(path(17)), kRecord);
    EXPECT_EQ(FileAccessMemory::rememberedRecord(path(19)), kRecord);

    writeFile("not a store at all");
    restart();
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(path(17)));
    FileAccessMemory::remember(kOther, path(1), true);
    restart();
    EXPECT_EQ(FileAccessMemory::rememberedRecord(path(1)), kOther);
}

TEST_F(StoreFileTest, CompactionKeepsExactlyTheLiveRecords) {
    for (int i = 0; i < 30; ++i) {
        FileAccessMemory::remember(kRecord, path(i), false);
    }
    FileAccessMemory::remember(kOther, path(0), false);
    for (int i = 1; i < 25; ++i) {
        FileAccessMemory::forget(path(i));
    }
    const QByteArray before = fileBytes();
    EXPECT_EQ(RightsStore::fromFile(before).deadRecords(), 49);
    restart();
    const RightsStore compacted = RightsStore::fromFile(fileBytes());
    EXPECT_LT(fileBytes().size(), before.size() / 2);
    EXPECT_EQ(compacted.deadRecords(), 0);
    QHash<QString, FileAccessMemory::Record> live{{path(0), kOther}};
    for (int i = 25; i < 30; ++i) {
        live.insert(path(i), kRecord);
    }
    EXPECT_EQ(compacted.records(), live);
    // The compacted file is appended to like any other.
    FileAccessMemory::forget(path(0));
    restart();
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(path(0)));
    EXPECT_EQ(FileAccessMemory::rememberedRecord(path(29)), kRecord);
}

TEST_F(StoreFileTest, AMemoryLeftInTheSettingsMovesIntoTheFile) {
    FileAccessMemory::remember(kOther, QStringLiteral("/a"), true);
    FileAccessMemory::waitForWrites();
    preferences.setValue(
        kKey, QByteArray(R"({"/a":{"readable":true,"writable":false,"mode":"-r--------",)"
                         R"("owner":"o","group":"g","x":1},"/b":{"readable":true,)"
                         R"("writable":false,"mode":"-r--------","owner":"alice",)"
                         R"("group":"staff"}})"));
    restart();
    // The file's own record stands over the one the settings held.
    EXPECT_EQ(FileAccessMemory::rememberedRecord(QStringLiteral("/a")), kOther);
    EXPECT_EQ(FileAccessMemory::rememberedRecord(QStringLiteral("/b")), kRecord);
    QTRY_VERIFY(!preferences.contains(kKey));
    restart();
    EXPECT_EQ(FileAccessMemory::rememberedRecord(QStringLiteral("/b")), kRecord);

    // A damaged memory in the settings moves nothing and is dropped.
    preferences.setValue(kKey, QByteArray(R"({"/c":{"readable":true}})"));
    restart();
    QTRY_VERIFY(!preferences.contains(kKey));
    EXPECT_FALSE(FileAccessMemory::rememberedRecord(QStringLiteral("/c")));
    EXPECT_EQ(FileAccessMemory::rememberedRecord(QStringLiteral("/b")), kRecord);
}

TEST_F(StoreFileTest, AWorkerRemembersWhileTheMainThreadReadsAndForgets) {
    constexpr int count = 3000;
    std::thread worker([] {
        for (int i = 0; i < count; ++i) {
            FileAccessMemory::remember(kRecord, path(i), false);
            if (i % 100 == 0) {
                FileAccessMemory::persist();
            }
        }
        FileAccessMemory::persist();
    });
    int seen = 0;
    for (int i = 0; i < count; ++i) {
        seen += FileAccessMemory::rememberedRecord(path(i)).has_value();
        FileAccessMemory::forgetWithoutWriting(QStringLiteral("/elsewhere/%1").arg(i));
    }
    worker.join();
    EXPECT_LE(seen, count);
    restart();
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(FileAccessMemory::rememberedRecord(path(i)), kRecord) << i;
    }
}

TEST_F(StoreFileTest, EachListingRemembersEveryShownItem) {
    const QString listed = dir.makeFolder(QStringLiteral("listed"));
    for (int i = 0; i < 5; ++i) {
        dir.makeFile(QStringLiteral("listed/item%1").arg(i));
    }
    ASSERT_TRUE(FileSystemService::listDirectory(listed, false, FilerSortMode::name, true).ok());
    restart();
    EXPECT_EQ(RightsStore::fromFile(fileBytes()).size(), 5);
}

} // namespace
