// Size and date texts, and the label look-up by language.
#include "core/Formats.h"
#include "core/Localization.h"

#include <QFile>
#include <QSet>
#include <QRegularExpression>
#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>

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

// Every label exists in both languages; an unknown key reads as itself.
TEST(LocalizationTest, BothTablesHoldTheSameKeysEachWithItsOwnLabel) {
    // The look-up registers the tables; then both are read as they ship.
    Localization::localizedString(QStringLiteral("menu.language"), AppLanguage::english);
    const auto keys = [](const char* code) {
        QFile file(QStringLiteral(":/i18n/%1.json").arg(QLatin1String(code)));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << code;
        return QJsonDocument::fromJson(file.readAll()).object().keys();
    };
    const QStringList english = keys("en");
    EXPECT_GT(english.size(), 30);
    EXPECT_EQ(keys("ja"), english);
    for (const QString& key : english) {
        EXPECT_NE(Localization::localizedString(key, AppLanguage::english), key);
        EXPECT_NE(Localization::localizedString(key, AppLanguage::japanese), key);
    }
    const QString copy = QStringLiteral("toolbar.copy");
    EXPECT_NE(Localization::localizedString(copy, AppLanguage::japanese),
              Localization::localizedString(copy, AppLanguage::english));
    const QString unknown = QStringLiteral("toolbar.nothing");
    EXPECT_EQ(Localization::localizedString(unknown, AppLanguage::english), unknown);
}

// Every label key the views, the toolbar and the menus name in their sources
// stands in both tables: a key missing from one would show as the key itself.
TEST(LocalizationTest, EveryKeyTheScreenAsksForHasBothLabels) {
    const QRegularExpression literal(
        QStringLiteral(R"re("((?:menu|toolbar|status)\.[a-z0-9_]+)")re"));
    QSet<QString> asked;
    QDirIterator sources(QStringLiteral(DORVIK_SOURCE_DIR),
                         {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files,
                         QDirIterator::Subdirectories);
    while (sources.hasNext()) {
        QFile file(sources.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
        const QString text = QString::fromUtf8(file.readAll());
        for (auto match = literal.globalMatch(text); match.hasNext();) {
            asked.insert(match.next().captured(1));
        }
    }
    EXPECT_GT(asked.size(), 30) << "the sources were not read";
    for (const QString& key : asked) {
        EXPECT_NE(Localization::localizedString(key, AppLanguage::english), key)
            << key.toStdString();
        EXPECT_NE(Localization::localizedString(key, AppLanguage::japanese), key)
            << key.toStdString();
    }
}

} // namespace
