#pragma once

#include "core/Background.h"

#include <QTest>

// The program's executor, counting what it has run on the main thread, so
// that a test can wait until a result has arrived, or been dropped, without
// guessing how long the worker takes. Lives until what it posted has run.
class CountingExecutor final : public Background::Executor {
public:
    void start(Background::Pool pool, std::function<void()> work) override {
        Background::workerThreads().start(pool, std::move(work));
    }
    void post(std::function<void()> task) override {
        Background::workerThreads().post([this, task = std::move(task)] {
            task();
            ++posted;
        });
    }
    void callLater(std::chrono::milliseconds delay, QObject* context,
                   std::function<void()> task) override {
        Background::workerThreads().callLater(delay, context, std::move(task));
    }
    bool waitForPosted(int count) {
        return QTest::qWaitFor([&] { return posted >= count; }, 10000);
    }

    int posted = 0;
};
