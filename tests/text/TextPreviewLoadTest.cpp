// Loading text for the viewer: the head of a plain file, converted documents,
// and the race of a worker against the time limit.
#include "core/SystemPath.h"
#include "text/TextPreviewLoading.h"
#include "support/CountingExecutor.h"
#include "support/TestDir.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <QtConcurrent>

#include <gtest/gtest.h>

#include <future>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace TextPreviewLoading;
using Outcome = TextPreviewLoadResult::Outcome;
using namespace std::chrono_literals;

namespace {

// Opening the FIFO for writing and closing it again gives a reader blocked
// in open() or read() its end of file, so no worker stays stuck after a test.
void releaseReaders(const QString& fifo) {
    const int fd = ::open(toSystemPath(fifo).constData(), O_WRONLY | O_NONBLOCK);
    if (fd >= 0) {
        ::close(fd);
    }
}

QString makeFifo(const TestDir& dir, const QString& name) {
    const QString path = dir.filePath(name);
    EXPECT_EQ(::mkfifo(toSystemPath(path).constData(), 0644), 0);
    return path;
}

// Whether any process has the path among its arguments.
bool processMentions(const QString& path) {
    for (const QString& pid : QDir("/proc").entryList(QDir::Dirs)) {
        QFile cmdline("/proc/" + pid + "/cmdline");
        if (cmdline.open(QIODevice::ReadOnly) && cmdline.readAll().contains(path.toUtf8())) {
            return true;
        }
    }
    return false;
}

} // namespace

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

TEST(TextPreviewLoad, AFifoIsNeitherReadNorGivenToAConverter) {
    TestDir dir;
    // Each of these would wait in open() for a writer that never comes.
    for (const char* name : {"stuck.txt", "stuck.rtf", "stuck.odt"}) {
        SCOPED_TRACE(name);
        const QString fifo = makeFifo(dir, name);
        auto pending = QtConcurrent::run([&] {
            return QString(name).endsWith(".txt") ? readTextHead(fifo) : extractDocumentText(fifo);
        });
        ASSERT_TRUE(QTest::qWaitFor([&] { return pending.isFinished(); }, 5000));
        releaseReaders(fifo);
        pending.waitForFinished();
        EXPECT_EQ(pending.result().outcome, Outcome::ioFailed);
        EXPECT_FALSE(processMentions(fifo));
    }
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

    // A worker slower than the limit: the time-out is told, its result never.
    outcomes.clear();
    start(executor, readHead, 300ms, &context,
          [&](const TextPreviewLoadResult& r) { outcomes << r.outcome; });
    executor.advance(299ms);
    EXPECT_TRUE(outcomes.isEmpty());
    executor.advance(1ms);
    executor.runAll();
    EXPECT_EQ(outcomes, QList<Outcome>{Outcome::timedOut});
}
