// Size and date texts, and the label look-up by language.
#include "core/Formats.h"
#include "core/Localization.h"

#include <gtest/gtest.h>

namespace {

TEST(FormatsTest, SizesStepAtPowersOf1024) {
    const struct {
        int64_t bytes;
        const char* compact;
        const char* verbose;
    } cases[] = {
        {0, "0", "0 B"},
        {1023, "1023", "1023 B"},
        {1024, "1.0K", "1.0 KB"},
        {1536, "1.5K", "1.5 KB"},
        {1048575, "1024.0K", "1024.0 KB"},
        {1048576, "1.0M", "1.00 MB"},
        {1073741824, "1.0G", "1024.00 MB"},
        {int64_t(3) << 30, "3.0G", "3072.00 MB"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Formats::formatCompactSize(c.bytes), QString::fromLatin1(c.compact)) << c.bytes;
        EXPECT_EQ(Formats::formatVerboseSize(c.bytes), QString::fromLatin1(c.verbose)) << c.bytes;
    }
}

TEST(FormatsTest, RowDateIsTwoDigitYearInLocalTime) {
    const QDateTime local(QDate(2024, 3, 7), QTime(9, 5, 59), Qt::LocalTime);
    EXPECT_EQ(Formats::formatRowDate(local.toUTC()), QStringLiteral("24-03-07 09:05"));
}

TEST(LocalizationTest, LanguageCodesFollowTheChoiceOrTheSystem) {
    EXPECT_EQ(Localization::languageCode(AppLanguage::japanese), QStringLiteral("ja"));
    EXPECT_EQ(Localization::languageCode(AppLanguage::english), QStringLiteral("en"));
    EXPECT_EQ(Localization::languageCodeFrom({"en-GB"}), QStringLiteral("en"));
    EXPECT_EQ(Localization::languageCodeFrom({"ja-JP", "en"}), QStringLiteral("ja"));
    EXPECT_EQ(Localization::languageCodeFrom({"zh-Hans"}), QStringLiteral("zh"));
    EXPECT_EQ(Localization::languageCodeFrom({"de"}), QStringLiteral("de"));
    EXPECT_EQ(Localization::languageCodeFrom({}), QStringLiteral("ja"));
}

TEST(LocalizationTest, LabelsComeFromTheTableOfTheLanguageAndFallBackToTheKey) {
    const QString key = QStringLiteral("toolbar.copy");
    const QString english = Localization::localizedString(key, AppLanguage::english);
    const QString japanese = Localization::localizedString(key, AppLanguage::japanese);
    EXPECT_FALSE(english.isEmpty());
    EXPECT_NE(english, key);
    EXPECT_NE(japanese, english);
    EXPECT_EQ(
        Localization::localizedString(QStringLiteral("toolbar.nothing"), AppLanguage::english),
        QStringLiteral("toolbar.nothing"));
}

TEST(LocalizationTest, BothTablesHoldTheSameKeys) {
    // Every label the screen asks for must exist in both languages.
    for (const char* key :
         {"menu.language",     "menu.font_size",      "toolbar.delete_folder", "toolbar.extensions",
          "toolbar.left_pane", "toolbar.right_pane",  "toolbar.viewer",        "toolbar.dual_filer",
          "toolbar.gallery",   "toolbar.search",      "toolbar.copy",          "toolbar.move",
          "toolbar.delete",    "toolbar.rename",      "toolbar.mkdir",         "toolbar.new_file",
          "toolbar.attr",      "toolbar.open",        "toolbar.edit",          "toolbar.tree",
          "toolbar.preview",   "toolbar.filter",      "toolbar.sort",          "toolbar.local_name",
          "toolbar.jump",      "toolbar.startup_set", "toolbar.startup_go",    "toolbar.home",
          "toolbar.volume",    "toolbar.wild",        "toolbar.quit",          "status.search",
          "status.tree",       "status.sort",         "status.jump",           "status.volume",
          "status.open",       "status.gallery",      "status.rename",         "status.attr",
          "status.wild"}) {
        const QString k = QString::fromLatin1(key);
        EXPECT_NE(Localization::localizedString(k, AppLanguage::english), k) << key;
        EXPECT_NE(Localization::localizedString(k, AppLanguage::japanese), k) << key;
    }
}

} // namespace
