// The A prompt: its cursor and digit rules, the mixed marks, parsing, and
// applying to every target even when one fails.
#include "filesystem/FileFlowSupport.h"
#include "filesystem/FileOperationSupport.h"
#include "filesystem/FileSystemService.h"
#include "support/ListingWait.h"

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
        waitForListings(*state);
        tag(names);
        key("a");
        ASSERT_TRUE(state->isOpen(Overlay::attributePrompt));
    }
};

TEST_F(AttributeFlow, CursorAndFocusWrapAndDigitsWalkOverSeparators) {
    openOn({"one.txt"});
    EXPECT_EQ(state->attributePrompt.targetSummary, "one.txt");
    EXPECT_EQ(state->attributePrompt.newMode, "rw-r--r--");
    state->moveAttributeFieldCursor(-1);
    EXPECT_EQ(state->attributePrompt.fieldCursorIndex, 8);
    state->moveAttributeFocus(-1); // up from the mode lands on the time
    EXPECT_EQ(state->attributePrompt.focusField, 2);
    EXPECT_EQ(state->attributePrompt.fieldCursorIndex, 0);
    state->attributePrompt.newTime = "12:34:56";
    state->attributePrompt.fieldCursorIndex = 2;
    state->toggleAttributeField(); // a separator stays
    EXPECT_EQ(state->attributePrompt.newTime, "12:34:56");
    state->attributePrompt.fieldCursorIndex = 0;
    for (QChar digit : QStringLiteral("235959")) {
        state->typeAttributeDigit(digit);
    }
    EXPECT_EQ(state->attributePrompt.newTime, "23:59:59");
    EXPECT_EQ(state->attributePrompt.fieldCursorIndex, 0);

    state->moveAttributeFocus(-1);
    state->attributePrompt.newDate = "24-01-31";
    state->attributePrompt.fieldCursorIndex = 7;
    state->typeAttributeDigit('9'); // the last digit wraps to the start
    EXPECT_EQ(state->attributePrompt.newDate, "24-01-39");
    EXPECT_EQ(state->attributePrompt.fieldCursorIndex, 0);
    state->moveAttributeFocus(1);
    state->moveAttributeFocus(1); // the mode field
    state->attributePrompt.fieldCursorIndex = 1;
    state->toggleAttributeField();
    state->attributePrompt.fieldCursorIndex = 5;
    state->toggleAttributeField();
    EXPECT_EQ(state->attributePrompt.newMode, "r--r-xr--");
}

TEST_F(AttributeFlow, TargetsThatDisagreeShowMixedMarks) {
    dir.makeFile("left/a.txt");
    dir.makeFile("left/b.txt");
    setMtime(dir.filePath("left/b.txt"), 1000000000);
    state->reloadPane(PaneSide::left, false);
    waitForListings(*state);
    tag({"a.txt", "b.txt"});
    key("a");
    EXPECT_EQ(state->attributePrompt.targetSummary, "2 items");
    EXPECT_EQ(state->attributePrompt.oldMode, "rw-r--r--");
    EXPECT_EQ(state->attributePrompt.oldDate, QString(8, '"'));
    EXPECT_EQ(state->attributePrompt.oldTime, QString(8, '"'));
}

TEST_F(AttributeFlow, ApplyWritesEveryTargetAndNamesTheOneThatFails) {
    openOn({"a.txt", "b.txt", "c.txt"});
    state->attributePrompt.newDate = "24-13-01"; // refused text keeps the prompt open
    state->applyAttributePrompt();
    waitForListings(*state);
    EXPECT_EQ(error(), "Invalid date/time (yy-MM-dd HH:mm:ss)");
    ASSERT_TRUE(state->isOpen(Overlay::attributePrompt));
    state->errorMessage.reset();

    state->attributePrompt.newMode = "rwx------";
    state->attributePrompt.newDate = "20-02-29";
    state->attributePrompt.newTime = "10:20:30";
    QFile::remove(dir.filePath("left/b.txt"));
    state->applyAttributePrompt();
    waitForFileWork();

    EXPECT_FALSE(state->isOpen(Overlay::attributePrompt));
    EXPECT_EQ(error(), "b.txt: " + QString::fromLocal8Bit(strerror(ENOENT)));
    for (const QString name : {"a.txt", "c.txt"}) {
        EXPECT_EQ(modeOf(dir.filePath("left/" + name)), 0700u);
        EXPECT_EQ(fs::readItemAttributes(dir.filePath("left/" + name))->dateText, "20-02-29");
    }
    // The records were forgotten, so the listing shows the new mode.
    EXPECT_EQ(state->pane(PaneSide::left).entries.last().permissionMode(), "-rwx------");
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
