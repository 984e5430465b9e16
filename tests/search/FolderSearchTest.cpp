// The folder search: which items are hits, in which order, and how a scan
// hands its list to the main thread (or, cancelled, doesn't).
#include "core/SystemPath.h"
#include "search/FolderSearchService.h"
#include "core/Background.h"
#include "support/TestDir.h"
#include "text/TextDecoding.h"

#include <QFileInfo>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

namespace {

using Request = FolderSearchService::Request;

// Sets the modification time of a path to a local date and time.
void setLocalTime(const QString& path, const QDateTime& local) {
    struct utimbuf times {};
    times.actime = times.modtime = time_t(local.toSecsSinceEpoch());
    ASSERT_EQ(::utime(toSystemPath(path).constData(), &times), 0);
}

QDateTime local(int y, int m, int d, int h = 0, int min = 0, int s = 0) {
    return QDateTime(QDate(y, m, d), QTime(h, min, s), Qt::LocalTime);
}

class FolderSearchTest : public ::testing::Test {
protected:
    FolderSearchService::Outcome scan(const QString& query, const QString& from = {},
                                      const QString& to = {},
                                      FolderSearchMatchMode mode = FolderSearchMatchMode::nameOnly,
                                      FolderSearchSort sort = FolderSearchSort::name) {
        const auto request =
            FolderSearchService::makeRequest(query, dir.path(), mode, from, to, sort, false);
        EXPECT_TRUE(request.has_value());
        return request ? FolderSearchService::scan(*request, {}, nullptr)
                       : FolderSearchService::Outcome{};
    }

    static QStringList paths(const QList<FolderSearchHit>& hits) {
        QStringList result;
        for (const FolderSearchHit& hit : hits) {
            result.append(hit.relativePath);
        }
        return result;
    }

    TestDir dir;
};

TEST_F(FolderSearchTest, YearMonthParsing) {
    using YM = FolderSearchService::YearMonth;
    const std::vector<std::pair<QString, std::optional<YM>>> cases = {
        {"2024-03", YM{2024, 3}},  {"2024/3", YM{2024, 3}},   {" 2024-3\n", YM{2024, 3}},
        {"1970-1", YM{1970, 1}},   {"2099-12", YM{2099, 12}}, {"24-03", std::nullopt},
        {"1969-12", std::nullopt}, {"2100-01", std::nullopt}, {"2024-13", std::nullopt},
        {"2024-0", std::nullopt},  {"2024-", std::nullopt},   {"2024-03-01", std::nullopt},
        {"2024-x3", std::nullopt}, {"", std::nullopt},        {"2024", std::nullopt},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(FolderSearchService::parseYearMonth(text), expected) << text.toStdString();
    }
}

TEST_F(FolderSearchTest, PeriodEndsAtLocalMidnightAfterTheLastMonthAndTakesFolders) {
    setLocalTime(dir.makeFile("lastday.txt"), local(2024, 12, 31, 23, 59, 59));
    setLocalTime(dir.makeFile("newyear.txt"), local(2025, 1, 1));
    setLocalTime(dir.makeFile("firstday.txt"), local(2024, 11, 1));
    setLocalTime(dir.makeFile("october.txt"), local(2024, 10, 31, 23, 59, 59));
    EXPECT_EQ(paths(scan("", "2024-11", "2024-12").hits),
              (QStringList{"firstday.txt", "lastday.txt"}));
    EXPECT_EQ(paths(scan("", "2025-01").hits), QStringList{"newyear.txt"});

    // An empty query with a month lists folders too.
    setLocalTime(dir.makeFile("box/inner.txt"), local(2023, 5, 2));
    setLocalTime(dir.filePath("box"), local(2023, 5, 3));
    EXPECT_EQ(paths(scan("", "2023-05", "2023-05").hits), (QStringList{"box", "box/inner.txt"}));
    // Neither a query nor a usable month: nothing to search at all.
    EXPECT_FALSE(FolderSearchService::makeRequest(" ", dir.path(), FolderSearchMatchMode::nameOnly,
                                                  "13-2024", "", FolderSearchSort::name, false));
}

TEST_F(FolderSearchTest, NameTestIsLowerCasedPlainSubstringAndHiddenItemsStayOut) {
    dir.makeFile("Report-2024.TXT");
    dir.makeFile("deep/a/b/old REPORT.md");
    dir.makeFile("Überblick.txt");
    dir.makeFile(".hidden/report.txt");
    dir.makeFile(".report");
    dir.makeFile("rep*rt");
    EXPECT_EQ(paths(scan("  report\n").hits),
              (QStringList{"deep/a/b/old REPORT.md", "Report-2024.TXT"}));
    EXPECT_EQ(paths(scan("ÜBER").hits), QStringList{"Überblick.txt"});
    EXPECT_EQ(paths(scan("rep*").hits), QStringList{"rep*rt"});
}

TEST_F(FolderSearchTest, HitFieldsAndTheRootIsNoHit) {
    dir.makeFile("match/match.bin", QByteArray(1234, 'x'));
    const auto outcome = scan(QFileInfo(dir.path()).fileName());
    EXPECT_TRUE(outcome.hits.isEmpty());
    const QList<FolderSearchHit> hits = scan("match").hits;
    ASSERT_EQ(hits.size(), 2);
    EXPECT_TRUE(hits[0].isDirectory);
    EXPECT_EQ(hits[0].size, std::nullopt);
    EXPECT_EQ(hits[1].relativePath, "match/match.bin");
    EXPECT_EQ(hits[1].name, "match.bin");
    EXPECT_EQ(hits[1].url, dir.filePath("match/match.bin"));
    EXPECT_EQ(hits[1].size, 1234);
    EXPECT_TRUE(hits[1].modificationDate.has_value());
}

TEST_F(FolderSearchTest, ContentIsSearchedInTheHeadOfFilesOnly) {
    const int64_t head = 524288;
    dir.makeFile("early.txt", QByteArray(100, ' ') + "The NEEDLE here");
    dir.makeFile("late.txt", QByteArray(head, ' ') + "needle");
    dir.makeFile("edge.txt", QByteArray(head - 6, ' ') + "needle");
    dir.makeFile("latin1.txt", "caf\xe9 needle \xff");
    dir.makeFile("utf8.txt", "Straße NEEDLÉ");
    dir.makeFile("needle-folder/plain.txt", "nothing");
    dir.makeFile("empty.txt");
    const auto hits = scan("needle", {}, {}, FolderSearchMatchMode::includeContent).hits;
    EXPECT_EQ(paths(hits), (QStringList{"needle-folder", "early.txt", "edge.txt", "latin1.txt"}));
    EXPECT_TRUE(FolderSearchService::contentContains(dir.filePath("utf8.txt"), "needlé", head));
    EXPECT_TRUE(FolderSearchService::contentContains(dir.filePath("latin1.txt"), "café", head));
}

TEST_F(FolderSearchTest, JapaneseIsFoundInLegacyEncodingsAndInACutUTF8Head) {
    const int64_t head = 524288;
    const QString novel = QString::fromUtf8("吾輩は猫である。名前はまだ無い。\n");
    const QString other = QString::fromUtf8("どこで生れたかとんと見当がつかぬ。\n");
    const auto in = [](TextFileEncoding encoding, const QString& text) {
        return TextDecoding::encodedBytes(text, encoding).value();
    };
    dir.makeFile("euc.txt", in(TextFileEncoding::eucJP, novel));
    dir.makeFile("sjis.txt", "<html lang=\"ja\">\n" + in(TextFileEncoding::shiftJIS, novel));
    dir.makeFile("other-euc.txt", in(TextFileEncoding::eucJP, other));
    dir.makeFile("other-sjis.txt", in(TextFileEncoding::shiftJIS, other));
    // 1 + 3n bytes: the 512 KiB head ends after the first byte of a character.
    dir.makeFile("utf8-cut.txt", "#" + (novel + other.repeated(12000)).toUtf8());
    ASSERT_GT(QFileInfo(dir.filePath("utf8-cut.txt")).size(), head);
    dir.makeFile("late-euc.txt", QByteArray(head, ' ') + in(TextFileEncoding::eucJP, novel));
    dir.makeFile("binary.bin", QByteArray("\x00\x80\xFF\xFE\x01\xA0\xFD", 7).repeated(100));
    const auto hits =
        scan(QString::fromUtf8("吾輩"), {}, {}, FolderSearchMatchMode::includeContent).hits;
    EXPECT_EQ(paths(hits), (QStringList{"euc.txt", "sjis.txt", "utf8-cut.txt"}));
    // Latin-1 still finds what it found, also for a needle beyond ASCII.
    EXPECT_TRUE(FolderSearchService::contentContains(dir.filePath("sjis.txt"), "lang", head));
    dir.makeFile("latin1.txt", "\xe9t\xe9 \xff");
    EXPECT_TRUE(FolderSearchService::contentContains(dir.filePath("latin1.txt"),
                                                     QString::fromUtf8("été"), head));
}

TEST_F(FolderSearchTest, FoldersAreNeverContentTestedButAreDescended) {
    // A folder named like nothing, holding a file whose content matches.
    dir.makeFile("outer/inner/file.txt", "the word zebra");
    const auto hits = scan("zebra", {}, {}, FolderSearchMatchMode::includeContent).hits;
    EXPECT_EQ(paths(hits), QStringList{"outer/inner/file.txt"});
    // Without content mode the same file isn't found.
    EXPECT_TRUE(scan("zebra").hits.isEmpty());
}

TEST_F(FolderSearchTest, TheLimitEndsTheScan) {
    for (int i = 0; i < 30; ++i) {
        dir.makeFile(QStringLiteral("hit%1.txt").arg(i));
    }
    auto request = FolderSearchService::makeRequest(
        "hit", dir.path(), FolderSearchMatchMode::nameOnly, {}, {}, FolderSearchSort::name, false);
    request->maxResults = 10;
    const auto outcome = FolderSearchService::scan(*request, {}, nullptr);
    EXPECT_EQ(outcome.hits.size(), 10);
    // Every item is a hit, so the count stops with the tenth.
    EXPECT_EQ(outcome.visited, 10);
}

TEST_F(FolderSearchTest, SortsPutFoldersFirstAndBreakTiesByPathInNaturalOrder) {
    auto hit = [](QString path, bool folder, std::optional<int64_t> size, int day) {
        FolderSearchHit h;
        h.relativePath = path;
        h.isDirectory = folder;
        h.size = size;
        if (day > 0) {
            h.modificationDate = QDateTime(QDate(2024, 1, day), QTime(0, 0), Qt::UTC);
        }
        return h;
    };
    const QList<FolderSearchHit> hits = {
        hit("file10", false, 5, 2), hit("file2", false, 5, 2), hit("dirB", true, {}, 1),
        hit("dirA", true, {}, 3),   hit("big", false, 9, 0),   hit("zero", false, {}, 1),
    };
    const std::vector<std::pair<FolderSearchSort, QStringList>> expected = {
        {FolderSearchSort::name, {"dirA", "dirB", "big", "file2", "file10", "zero"}},
        {FolderSearchSort::size, {"dirA", "dirB", "big", "file2", "file10", "zero"}},
        {FolderSearchSort::date, {"dirA", "dirB", "file2", "file10", "zero", "big"}},
    };
    for (const auto& [sort, order] : expected) {
        QList<FolderSearchHit> sorted = hits;
        FolderSearchService::sortHits(sorted, sort);
        EXPECT_EQ(paths(sorted), order) << int(sort);
    }
}

// The service's scans run when the test steps them.
class FolderSearchServiceTest : public FolderSearchTest {
protected:
    void start(const QString& query) {
        service.start(query, dir.path(), FolderSearchMatchMode::nameOnly, {}, {},
                      FolderSearchSort::name, false);
    }
    Background::ManualExecutor executor;
    FolderSearchService service{executor};
};

TEST_F(FolderSearchServiceTest, QuickSuccessiveStartsDeliverOnlyTheLast) {
    for (int i = 0; i < 300; ++i) {
        dir.makeFile(QStringLiteral("d%1/alpha%1.txt").arg(i));
    }
    dir.makeFile("alphabet.txt");
    QSignalSpy finished(&service, &FolderSearchService::finished);
    // The count the screen shows while searching: the starts clear it, and
    // only the last scan's count comes.
    QList<int> countsWhileSearching;
    QObject::connect(&service, &FolderSearchService::changed, [&] {
        if (service.isSearching()) {
            countsWhileSearching << service.scannedCount();
        }
    });
    start("a");
    start("alp");
    start("alphab");
    EXPECT_TRUE(service.isSearching());
    EXPECT_EQ(executor.nextPool(), Background::Pool::shared);
    executor.runAll();
    EXPECT_EQ(finished.count(), 1);
    EXPECT_EQ(countsWhileSearching, QList<int>({0, 0, 0, 601}));
    EXPECT_EQ(paths(service.results()), QStringList{"alphabet.txt"});
    EXPECT_FALSE(service.isSearching());
    EXPECT_EQ(service.scannedCount(), 601);
}

TEST_F(FolderSearchServiceTest, CancelLeavesNoLateResults) {
    for (int i = 0; i < 600; ++i) {
        dir.makeFile(QStringLiteral("f%1/x%1.txt").arg(i));
    }
    QSignalSpy finished(&service, &FolderSearchService::finished);
    start("x");
    service.cancel();
    executor.runAll();
    EXPECT_EQ(finished.count(), 0);
    EXPECT_TRUE(service.results().isEmpty());
    EXPECT_EQ(service.scannedCount(), 0);
    EXPECT_FALSE(service.isSearching());

    // The walk itself stops at the item after the cancel, of 1,200.
    const auto request = FolderSearchService::makeRequest(
        "x", dir.path(), FolderSearchMatchMode::nameOnly, {}, {}, FolderSearchSort::name, false);
    ASSERT_TRUE(request);
    int asked = 0;
    QList<int> reported;
    const auto outcome = FolderSearchService::scan(
        *request, [&asked] { return ++asked > 100; }, [&reported](int n) { reported << n; });
    EXPECT_EQ(outcome.visited, 100);
    EXPECT_EQ(asked, 101);
    EXPECT_EQ(reported, QList<int>({64, 100}));
    EXPECT_LE(outcome.hits.size(), 100);
}

TEST_F(FolderSearchServiceTest, ABlankStartClearsAtOnceAndOldResultsStayWhileSearching) {
    dir.makeFile("one.txt");
    start("one");
    QSignalSpy finished(&service, &FolderSearchService::finished);
    executor.runAll();
    ASSERT_EQ(finished.count(), 1);
    start("on");
    EXPECT_EQ(service.results().size(), 1);
    start("   ");
    EXPECT_TRUE(service.results().isEmpty());
    EXPECT_FALSE(service.isSearching());
    executor.runAll();
    EXPECT_EQ(finished.count(), 1);
}

} // namespace

namespace {

// Names that are not UTF-8 are found by the form the panes show, and each hit
// leads back to its own bytes; the content of such a file is read too.
TEST_F(FolderSearchTest, NamesThatAreNotUtf8AreFoundByTheirShownFormAndReadByTheirBytes) {
    const QByteArray folder = toSystemPath(dir.path()) + '/';
    for (const QByteArray& name : {QByteArray("bad\xff\xfe.txt"), QByteArray("bad\xfe\xff.txt"),
                                   QByteArray("\x83\x5c\x83\x74\x83\x67.txt")}) {
        TestDir::makeFileAt(folder + name, "needle");
    }
    const auto byName = scan("bad").hits;
    ASSERT_EQ(byName.size(), 2);
    EXPECT_NE(byName[0].url, byName[1].url);
    for (const FolderSearchHit& hit : byName) {
        EXPECT_TRUE(SystemPath::exists(hit.url)) << hit.relativePath.toStdString();
    }
    const auto byKana = scan(QStringLiteral("ソフト")).hits;
    ASSERT_EQ(byKana.size(), 1);
    EXPECT_EQ(toSystemPath(byKana[0].url), folder + "\x83\x5c\x83\x74\x83\x67.txt");
    EXPECT_EQ(scan("needle", {}, {}, FolderSearchMatchMode::includeContent).hits.size(), 3);
}

} // namespace
