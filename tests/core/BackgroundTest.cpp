// The one road for background work: where work runs, where and when its
// result arrives, which results are dropped, and the executor tests step.
#include "core/Background.h"
#include "support/CountingExecutor.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <future>

using namespace std::chrono_literals;
using Background::Pool;

namespace {

QThread* mainThread() {
    return QCoreApplication::instance()->thread();
}

} // namespace

TEST(Background, WorkRunsOnAWorkerAndItsResultArrivesOnTheMainThread) {
    CountingExecutor executor;
    QObject context;
    for (const Pool pool : {Pool::shared, Pool::diskRead}) {
        QThread* worker = nullptr;
        std::optional<int> answer;
        QThread* answeredOn = nullptr;
        Background::run(
            executor, pool, &context,
            [&worker] {
                worker = QThread::currentThread();
                return 42;
            },
            [&](int value) {
                answer = value;
                answeredOn = QThread::currentThread();
            });
        EXPECT_FALSE(answer) << "never before the main thread takes it";
        ASSERT_TRUE(QTest::qWaitFor([&] { return answer.has_value(); }, 10000));
        EXPECT_EQ(*answer, 42);
        EXPECT_NE(worker, mainThread());
        EXPECT_EQ(answeredOn, mainThread());
    }
}

TEST(Background, AResultForADestroyedContextIsDropped) {
    CountingExecutor executor;
    std::promise<void> gate;
    std::shared_future<void> opened = gate.get_future().share();
    bool called = false;
    auto* context = new QObject;
    Background::run(
        executor, Pool::shared, context,
        [opened] {
            opened.wait();
            return 1;
        },
        [&](int) { called = true; });
    delete context;
    gate.set_value();
    ASSERT_TRUE(executor.waitForPosted(1));
    EXPECT_FALSE(called);
}

TEST(Background, OnlyTheNewestTicketsResultArrives) {
    Background::ManualExecutor executor;
    Background::TicketCounter requests;
    QObject context;
    QList<int> arrived;
    const auto request = [&](int value) {
        Background::run(
            executor, Pool::shared, &context, requests.take(), [value] { return value; },
            [&](int value) { arrived.append(value); });
    };
    request(1);
    request(2);
    executor.runAll();
    EXPECT_EQ(arrived, QList<int>{2});

    // Dropping them all leaves nothing current, the newest included.
    request(3);
    requests.dropAll();
    executor.runAll();
    EXPECT_EQ(arrived, QList<int>{2});
}

TEST(Background, ATicketOutlivesNeitherItsCounterNorItsPlace) {
    EXPECT_FALSE(Background::Ticket().isCurrent());
    Background::Ticket ticket;
    {
        Background::TicketCounter counter;
        ticket = counter.take();
        EXPECT_TRUE(ticket.isCurrent());
        Background::TicketCounter copy = counter;
        copy.take();
        EXPECT_FALSE(ticket.isCurrent()) << "a copy shares the line";
        ticket = counter.take();
    }
    EXPECT_FALSE(ticket.isCurrent());
    // Neither a counter made anew nor one that dropped its tickets takes an
    // old ticket for its own.
    Background::TicketCounter counter;
    const Background::Ticket dropped = counter.take();
    counter.dropAll();
    counter.take();
    EXPECT_FALSE(dropped.isCurrent());
    const Background::Ticket replaced = counter.take();
    counter = Background::TicketCounter();
    counter.take();
    EXPECT_FALSE(replaced.isCurrent());
}

TEST(Background, ProgressArrivesBeforeTheResultAndCollapsesIntoTheNewest) {
    Background::ManualExecutor executor;
    Background::TicketCounter requests;
    QObject context;
    QStringList heard;
    const auto scan = [&] {
        Background::runWithProgress<int>(
            executor, Pool::shared, &context, requests.take(),
            [](const Background::Progress<int>& progress) {
                for (int i = 1; i <= 3; ++i) {
                    progress.report(i);
                }
                return 10;
            },
            [&](int value) { heard << QStringLiteral("progress %1").arg(value); },
            [&](int value) { heard << QStringLiteral("done %1").arg(value); });
    };
    scan();
    executor.runAll();
    EXPECT_EQ(heard, QStringList({"progress 3", "done 10"}));

    heard.clear();
    scan();
    scan();
    executor.runNext();
    EXPECT_TRUE(heard.isEmpty()) << "a stale scan tells nothing";
    executor.runNext();
    EXPECT_EQ(heard, QStringList({"progress 3", "done 10"}));
}

TEST(Background, TheManualExecutorRunsWorkInOrderAndTimersWhenTheyFallDue) {
    Background::ManualExecutor executor;
    QObject context;
    QStringList ran;
    EXPECT_FALSE(executor.runNext());
    for (const Pool pool : {Pool::diskRead, Pool::shared}) {
        const QString name = pool == Pool::diskRead ? "read" : "copy";
        Background::run(
            executor, pool, &context,
            [&ran, name] {
                ran << name;
                return name;
            },
            [&ran](const QString& name) { ran << name + " done"; });
    }
    EXPECT_EQ(executor.waitingCount(), 2);
    EXPECT_EQ(executor.nextPool(), Pool::diskRead);
    EXPECT_TRUE(executor.runNext());
    EXPECT_EQ(ran, QStringList({"read", "read done"}));
    executor.runAll();
    EXPECT_EQ(ran, QStringList({"read", "read done", "copy", "copy done"}));
    EXPECT_EQ(executor.nextPool(), std::nullopt);

    ran.clear();
    auto* gone = new QObject;
    executor.callLater(30ms, &context, [&] {
        ran << "30";
        executor.callLater(5ms, &context, [&] { ran << "35"; });
    });
    executor.callLater(10ms, &context, [&] { ran << "10"; });
    executor.callLater(20ms, gone, [&] { ran << "gone"; });
    executor.callLater(50ms, &context, [&] { ran << "50"; });
    delete gone;
    executor.advance(9ms);
    EXPECT_TRUE(ran.isEmpty());
    executor.advance(31ms);
    EXPECT_EQ(ran, QStringList({"10", "30", "35"}));
    executor.advance(10ms);
    EXPECT_EQ(ran, QStringList({"10", "30", "35", "50"}));
}

// Reads stuck on a dead mount fill the disk-read pool, never the shared one:
// work on the shared pool still runs while every read waits.
TEST(Background, StuckReadsLeaveTheSharedPoolFree) {
    CountingExecutor executor;
    QObject context;
    std::promise<void> gate;
    std::shared_future<void> released = gate.get_future().share();
    const int stuck = std::max(QThreadPool::globalInstance()->maxThreadCount(), 8) + 1;
    for (int i = 0; i < stuck; ++i) {
        Background::run(
            executor, Pool::diskRead, &context,
            [released] {
                released.wait();
                return 0;
            },
            [](int) {});
    }
    bool copied = false;
    Background::run(
        executor, Pool::shared, &context, [] { return true; }, [&](bool done) { copied = done; });
    const bool ranMeanwhile = QTest::qWaitFor([&] { return copied; }, 10000);
    gate.set_value();
    EXPECT_TRUE(ranMeanwhile);
    EXPECT_TRUE(executor.waitForPosted(stuck + 1));
}
