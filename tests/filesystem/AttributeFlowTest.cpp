// The A prompt: its cursor and digit rules, the mixed marks, parsing, and
// applying to every target even when one fails.
#include "filesystem/FileFlowSupport.h"
#include "filesystem/FileOperationSupport.h"
#include "filesystem/FileSystemService.h"

using namespace FileFlowTest;
using FileOperationTest::modeOf;
using FileOperationTest::setMtime;
namespace fs = FileSystemService;

namespace {

class AttributeFlow : public FlowTest {
protected:
    void openOn(const QStringList& names) {
        for (const QString& name : names) {
            dir.makeFile("left/" + name, "x");
            dir.setMode("left/" + name, 0644);
        }
        state->reloadPane(PaneSide::left, false);
        tag(names);
        key("a");
        ASSERT_TRUE(state->isAttributePromptOpen);
    }
};

TEST_F(AttributeFlow, CursorAndFocusWrapAndDigitsWalkOverSeparators) {
    openOn({"one.txt"});
    EXPECT_EQ(state->attributeTargetSummary, "one.txt");
    EXPECT_EQ(state->attributeNewMode, "rw-r--r--");
    state->moveAttributeFieldCursor(-1);
    EXPECT_EQ(state->attributeFieldCursorIndex, 8);
    state->moveAttributeFocus(-1); // up from the mode lands on the time
    EXPECT_EQ(state->attributeFocusField, 2);
    EXPECT_EQ(state->attributeFieldCursorIndex, 0);
    state->attributeNewTime = "12:34:56";
    state->attributeFieldCursorIndex = 2;
    state->toggleAttributeField(); // a separator stays
    EXPECT_EQ(state->attributeNewTime, "12:34:56");
    state->attributeFieldCursorIndex = 0;
    for (QChar digit : QStringLiteral("235959")) {
        state->typeAttributeDigit(digit);
    }
    EXPECT_EQ(state->attributeNewTime, "23:59:59");
    EXPECT_EQ(state->attributeFieldCursorIndex, 0);

    state->moveAttributeFocus(-1);
    state->attributeNewDate = "24-01-31";
    state->attributeFieldCursorIndex = 7;
    state->typeAttributeDigit('9'); // the last digit wraps to the start
    EXPECT_EQ(state->attributeNewDate, "24-01-39");
    EXPECT_EQ(state->attributeFieldCursorIndex, 0);
    state->moveAttributeFocus(1);
    state->moveAttributeFocus(1); // the mode field
    state->attributeFieldCursorIndex = 1;
    state->toggleAttributeField();
    state->attributeFieldCursorIndex = 5;
    state->toggleAttributeField();
    EXPECT_EQ(state->attributeNewMode, "r--r-xr--");
}

TEST_F(AttributeFlow, TargetsThatDisagreeShowMixedMarks) {
    dir.makeFile("left/a.txt");
    dir.makeFile("left/b.txt");
    setMtime(dir.filePath("left/b.txt"), 1000000000);
    state->reloadPane(PaneSide::left, false);
    tag({"a.txt", "b.txt"});
    key("a");
    EXPECT_EQ(state->attributeTargetSummary, "2 items");
    EXPECT_EQ(state->attributeOldMode, "rw-r--r--");
    EXPECT_EQ(state->attributeOldDate, QString(8, '"'));
    EXPECT_EQ(state->attributeOldTime, QString(8, '"'));
}

TEST_F(AttributeFlow, ApplyWritesEveryTargetAndNamesTheOneThatFails) {
    openOn({"a.txt", "b.txt", "c.txt"});
    state->attributeNewDate = "24-13-01"; // refused text keeps the prompt open
    state->applyAttributePrompt();
    EXPECT_EQ(error(), "Invalid date/time (yy-MM-dd HH:mm:ss)");
    ASSERT_TRUE(state->isAttributePromptOpen);
    state->errorMessage.reset();

    state->attributeNewMode = "rwx------";
    state->attributeNewDate = "20-02-29";
    state->attributeNewTime = "10:20:30";
    QFile::remove(dir.filePath("left/b.txt"));
    state->applyAttributePrompt();

    EXPECT_FALSE(state->isAttributePromptOpen);
    EXPECT_EQ(error(), "b.txt: " + QString::fromLocal8Bit(strerror(ENOENT)));
    for (const QString name : {"a.txt", "c.txt"}) {
        EXPECT_EQ(modeOf(dir.filePath("left/" + name)), 0700u);
        EXPECT_EQ(fs::readItemAttributes(dir.filePath("left/" + name))->dateText, "20-02-29");
    }
    // The records were forgotten, so the listing shows the new mode.
    EXPECT_EQ(state->pane(PaneSide::left).entries.last().permissionMode, "-rwx------");
}

TEST(ParseModeText, LettersAndTheirPlaces) {
    EXPECT_EQ(fs::parseModeText("rwxr-x---").value(), 0750);
    EXPECT_EQ(fs::parseModeText(" drw-r--r-- ").value(), 0644);
    for (const char* refused : {"644", "rwxr-xr-", "xwrr-xr-x", "rwxr-xr-xx", "rwsr-xr-x"}) {
        EXPECT_EQ(fs::parseModeText(refused).error().description(),
                  "Invalid mode (use rwxr-xr-x or octal 644)")
            << refused;
    }
}

TEST(ParseDateTime, TwoDigitYearsAndFieldRanges) {
    const QDateTime parsed = fs::parseDateTime(" 24-02-29", "23:59:58 ").value();
    EXPECT_EQ(parsed, QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58)));
    EXPECT_EQ(fs::parseDateTime("99-01-01", "00:00:00")->date().year(), 1999);
    for (auto [date, time] : {std::pair{"23-02-29", "00:00:00"},
                              {"24-13-01", "00:00:00"},
                              {"24-01-01", "24:00:00"},
                              {"24/01/01", "00:00:00"}}) {
        EXPECT_FALSE(fs::parseDateTime(date, time).ok()) << date << " " << time;
    }
}

} // namespace
