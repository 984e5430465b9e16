// Inside an archive every command that would change a file is refused with
// its own message, reached through the keys a person presses.
#include "../core/KeyTestSupport.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace {

class ArchiveRefusalTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        dir.makeFile(QStringLiteral("src/inner/a.txt"), "alpha");
        QProcess zip;
        zip.setWorkingDirectory(dir.filePath("src"));
        zip.start(QStringLiteral("zip"),
                  {QStringLiteral("-qr"), dir.filePath("box.zip"), QStringLiteral("inner")});
        ASSERT_TRUE(zip.waitForFinished(30000) && zip.exitCode() == 0);
        preferences.setValue("startupDirectory", dir.path());
        state = std::make_unique<AppState>(preferences);
        state->leftLocation = FilerLocation::zip(dir.filePath("box.zip"), QStringLiteral("inner/"));
        state->reloadPane(PaneSide::left, false);
        ASSERT_FALSE(state->errorMessage) << state->errorMessage->toStdString();
        state->setSelection(1, PaneSide::left); // a.txt
    }
    void TearDown() override { FileAccessMemory::attach(nullptr); }

    MemoryPreferences preferences;
    TestDir dir;
    std::unique_ptr<AppState> state;
};

TEST_F(ArchiveRefusalTest, EachChangingKeyNamesWhatCannotBeDone) {
    const struct {
        KeyEvent key;
        const char* message;
    } cases[] = {
        {KeyTest::typed("c"), "Cannot copy inside an archive"},
        {KeyTest::typed("m"), "Cannot move inside an archive"},
        {KeyTest::typed("d"), "Cannot delete inside an archive"},
        {KeyTest::typed("k"), "Cannot create folder inside an archive"},
        {KeyTest::typed("i"), "Cannot create file inside an archive"},
        {KeyTest::typed("n"), "Cannot rename inside an archive"},
        {KeyTest::typed("a"), "Cannot change attributes inside an archive"},
        {KeyTest::typed("t"), "Tree mode is not available inside an archive"},
        {KeyTest::typed("h"), "Cannot set startup inside an archive"},
    };
    for (const auto& c : cases) {
        state->errorMessage.reset();
        state->dosDialogActionIndex = 2;
        EXPECT_TRUE(state->handleKeyDown(c.key)) << c.message;
        EXPECT_EQ(state->errorMessage.value_or(QString()), QString::fromUtf8(c.message));
        EXPECT_EQ(state->dosDialogActionIndex, 0) << c.message;
    }
    EXPECT_TRUE(QFile::exists(dir.filePath("box.zip")));
    EXPECT_FALSE(state->createItemKind || state->isRenamePromptOpen ||
                 state->isAttributePromptOpen || state->copyMovePathKind || state->pendingDelete);
}

} // namespace
