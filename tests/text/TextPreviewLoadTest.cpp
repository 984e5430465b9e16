// Loading text for the viewer: the head of a plain file, converted documents,
// and the race of a worker against the time limit. A FIFO is refused with
// the other readers in the preview tests.
#include "text/TextPreviewLoading.h"
#include "support/CountingExecutor.h"
#include "support/TestDir.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <future>

using namespace TextPreviewLoading;
using Outcome = TextPreviewLoadResult::Outcome;
using namespace std::chrono_literals;

TEST(TextPreviewLoad, AHeadOfAtMost65536BytesIsReadButTheFullSizeIsKept) {
    TestDir dir;
    for (const qsizetype size : {qsizetype(65536), qsizetype(65537)}) {
        const QString path = dir.makeFile(QString::number(size), QByteArray(size, 'x'));
        EXPECT_EQ(readTextHead(path),
                  TextPreviewLoadResult::loaded(QString(65536, 'x'), "UTF-8", size, 65536));
    }
    // A UTF-8 character cut by the head leaves no replacement sign.
    const QString cut = dir.makeFile("cut", QByteArray(65535, 'a') + "あ");
    EXPECT_EQ(readTextHead(cut).text, QString(65535, 'a'));
    EXPECT_EQ(readTextHead(dir.makeFile("empty.txt")),
              TextPreviewLoadResult::loaded("", "UTF-8", 0, 0));
    EXPECT_EQ(readTextHead(dir.makeFolder("folder.txt")).outcome, Outcome::ioFailed);
}

TEST(TextPreviewLoad, ConvertedTextIsCutOnACharacterBoundary) {
    EXPECT_EQ(cutToUtf8Bytes("abc", 3), "abc");
    EXPECT_EQ(cutToUtf8Bytes("abあ", 4), "ab");
    EXPECT_EQ(cutToUtf8Bytes("abあ", 5), "abあ");
    EXPECT_EQ(cutToUtf8Bytes(QString::fromUtf8("a😀b"), 4), "a");
    EXPECT_EQ(stripUnrtfBanner("plain\n"), "plain\n");
    // Only converters installed for the extension are used.
    TestDir dir;
    EXPECT_EQ(extractDocumentText(dir.makeFile("notes.pages", "x")).outcome, Outcome::ioFailed);
}

TEST(TextPreviewLoad, TheTimeLimitEndsABlockedLoadWhileEventsGoOn) {
    std::optional<TextPreviewLoadResult> outcome;
    int calls = 0;
    int ticks = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] { ++ticks; });
    ticker.start(20);
    CountingExecutor executor;
    QObject context;
    QElapsedTimer clock;
    clock.start();
    // A read that hangs until the test lets it go, as one on a dead mount does.
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    start(
        executor,
        [released](const CancelFlag&) {
            released.wait();
            return TextPreviewLoadResult::loaded("late", "UTF-8", 4, 4);
        },
        300ms, &context, [&](const TextPreviewLoadResult& r) { outcome = r, ++calls; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return outcome.has_value(); }, 5000));
    EXPECT_EQ(outcome->outcome, Outcome::timedOut);
    EXPECT_GE(clock.elapsed(), 290);
    EXPECT_GE(ticks, 3);
    // The abandoned worker ends later; its result goes nowhere.
    release.set_value();
    ASSERT_TRUE(executor.waitForPosted(1));
    EXPECT_EQ(calls, 1);
}

TEST(TextPreviewLoad, ACancelledLoadReportsCancelledOnceAndNothingAfter) {
    TestDir dir;
    const QString path = dir.makeFile("a.txt", "hello");
    const auto readHead = [path](const CancelFlag& c) { return readTextHead(path, headLimit, &c); };
    Background::ManualExecutor executor;
    QList<Outcome> outcomes;
    QObject context;
    const LoadHandle handle = start(executor, readHead, 1s, &context,
                                    [&](const TextPreviewLoadResult& r) { outcomes << r.outcome; });
    handle.cancel();
    handle.cancel();
    EXPECT_EQ(outcomes, QList<Outcome>{Outcome::cancelled});
    EXPECT_TRUE(handle.isCancelled());
    // Neither the worker's result nor the time limit is heard of afterwards.
    executor.runAll();
    executor.advance(1s);
    EXPECT_EQ(outcomes, QList<Outcome>{Outcome::cancelled});

    // Without cancelling, the worker's result arrives and the timer stays quiet.
    outcomes.clear();
    start(executor, readHead, 2s, &context,
          [&](const TextPreviewLoadResult& r) { outcomes << r.outcome; });
    executor.runAll();
    EXPECT_EQ(outcomes, QList<Outcome>{Outcome::loaded});
    executor.advance(2s);
    EXPECT_EQ(outcomes, QList<Outcome>{Outcome::loaded});
}
