// Archives of a megabyte that unpack to a gibibyte: the memory a read takes
// is bounded by what the read is for, whatever the member holds. Measured in
// a child process, whose address space is capped besides.
#include "archive/ArchiveService.h"
#include "support/BoundedChild.h"
#include "text/TextPreviewLoading.h"

#include "BombFixtures.h"

#include <gtest/gtest.h>

namespace {

using BombFixtures::mebibyte;
using TextPreviewLoading::headLimit;
using TextPreviewLoading::TextPreviewLoadResult;

constexpr int bombMebibytes = 1024;
// What a preview of the head may take beside the head itself.
constexpr int64_t headBudget = int64_t(32) << 20;

bool textHeadIsBounded(const QString& archive, std::optional<int64_t> declared) {
    const TextPreviewLoadResult result = TextPreviewLoading::loadMemberText(archive, "big.txt");
    const QByteArray expected = BombFixtures::textMebibyte().left(headLimit);
    std::fprintf(stderr, "outcome %d, %lld of %lld bytes\n", int(result.outcome),
                 static_cast<long long>(result.bytesRead), static_cast<long long>(result.fileSize));
    return result.isLoaded() && result.text.toUtf8() == expected && result.bytesRead == headLimit &&
           result.fileSize == declared.value_or(headLimit + 1);
}

class ArchiveBomb : public ::testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    TestDir dir;
};

TEST_F(ArchiveBomb, AZipMembersTextHeadInflatesOnlyTheHead) {
    const QString archive =
        dir.makeFile("bomb.zip", BombFixtures::zipBomb("big.txt", bombMebibytes));
    ASSERT_LT(QFileInfo(archive).size(), 4 * mebibyte);
    EXPECT_EXIT(BoundedChild::run(
                    headBudget,
                    [&] { return textHeadIsBounded(archive, int64_t(bombMebibytes) * mebibyte); }),
                ::testing::ExitedWithCode(0), "");
}

TEST_F(ArchiveBomb, ATarGzMembersTextHeadStopsTarPastTheHead) {
    const QString archive = dir.makeFile(
        "bomb.tgz", BombFixtures::tarGzBomb(dir.makeFolder("src"), "big.txt", bombMebibytes));
    ASSERT_LT(QFileInfo(archive).size(), 4 * mebibyte);
    EXPECT_EXIT(BoundedChild::run(headBudget,
                                  [&] {
                                      const auto head = ArchiveService::extractMemberHead(
                                          archive, "big.txt", 1000);
                                      return head && head->isCut && head->bytes.size() == 1000 &&
                                             textHeadIsBounded(archive, std::nullopt);
                                  }),
                ::testing::ExitedWithCode(0), "");
}

// Reading a member whole is for members that fit in memory: the bomb's
// declared size alone refuses it, before anything is inflated.
TEST_F(ArchiveBomb, AZipMemberTooLargeToHoldIsRefusedWithoutInflating) {
    const QString archive =
        dir.makeFile("bomb.zip", BombFixtures::zipBomb("big.txt", bombMebibytes));
    EXPECT_EXIT(BoundedChild::run(headBudget,
                                  [&] {
                                      const auto bytes =
                                          ArchiveService::extractMemberData(archive, "big.txt");
                                      return !bytes &&
                                             bytes.error().description() ==
                                                 "Cannot read big.txt from ZIP: Too large to read";
                                  }),
                ::testing::ExitedWithCode(0), "");
    const QString small = dir.makeFile("small.zip", BombFixtures::zipBomb("big.txt", 3));
    const auto bytes = ArchiveService::extractMemberData(small, "big.txt");
    ASSERT_TRUE(bytes) << bytes.error().description().toStdString();
    EXPECT_EQ(*bytes, BombFixtures::textMebibyte().repeated(3));
}

} // namespace
