#pragma once

#include <QObject>
#include <QPointer>

#include <atomic>
#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

// The one road for work that must not hold up the main thread: listings,
// file reads, archive tools, copies, the folder scan. Work runs on a worker
// thread; its result comes back on the main thread to a context object, and
// only while that object lives and, when the work carries a ticket, only
// while no newer request of its kind has replaced it.
namespace Background {

// The worker threads work runs on.
//
// shared: copies, archive tools, the folder scan, starting applications.
// diskRead: reads of files for the screen (previews, thumbnails, frames).
// listing: the listings of the panes, folders and archives alike.
// A read from a dead mount or a stalled disk cannot be stopped; on pools of
// their own such reads never take a thread of the shared pool, a stuck
// listing never takes the threads previews read with, and these pools are
// never destroyed, so leaving the program does not wait for them.
enum class Pool { shared, diskRead, listing };
inline constexpr size_t poolCount = 3;

// Where work runs and how its results reach the main thread. The program
// uses workerThreads(); a test hands a ManualExecutor to the state or the
// service and steps it.
class Executor {
public:
    virtual ~Executor() = default;
    // Runs work on a thread of the pool.
    virtual void start(Pool pool, std::function<void()> work) = 0;
    // Runs task on the main thread after what is already queued there. Any
    // thread may call it.
    virtual void post(std::function<void()> task) = 0;
    // Runs task on the main thread once delay has passed, unless context has
    // been destroyed by then.
    virtual void callLater(std::chrono::milliseconds delay, QObject* context,
                           std::function<void()> task) = 0;
};

// The program's executor: the two pools, the main thread's event queue and
// its timers. Never destroyed, so that work still running at exit may end.
Executor& workerThreads();

// An executor for tests: nothing runs until the test says so, on the test's
// own thread, and its clock moves only when the test advances it. Work is run
// in the order it was started; what work posts runs right after it.
class ManualExecutor final : public Executor {
public:
    void start(Pool pool, std::function<void()> work) override;
    void post(std::function<void()> task) override;
    void callLater(std::chrono::milliseconds delay, QObject* context,
                   std::function<void()> task) override;

    // Runs the oldest work waiting and what it posted; false when none waits.
    bool runNext();
    // Runs work until none waits, including work that work started.
    void runAll();
    // How much work waits, and the pool the oldest was started on.
    qsizetype waitingCount() const { return qsizetype(m_work.size()); }
    std::optional<Pool> nextPool() const;
    // How much work was ever started on a pool.
    qsizetype startedCount(Pool pool) const { return m_started[size_t(pool)]; }
    // Moves the clock on, running each timer that falls due in order of its
    // due time, timers set by those timers included.
    void advance(std::chrono::milliseconds step);

private:
    struct Work {
        Pool pool;
        std::function<void()> run;
    };
    std::array<qsizetype, poolCount> m_started{};
    struct Timer {
        std::chrono::milliseconds due;
        uint64_t order;
        QPointer<QObject> context;
        std::function<void()> task;
    };
    void runPosted();

    std::deque<Work> m_work;
    std::deque<std::function<void()>> m_posted;
    std::vector<Timer> m_timers;
    std::chrono::milliseconds m_now{0};
    uint64_t m_timersSet = 0;
};

class TicketCounter;

// A request's place in a line of requests of one kind. It is current until
// a newer ticket is taken from the same counter, or the counter drops them
// all, or the counter is destroyed. A default ticket is never current.
class Ticket {
public:
    // Any thread may ask, so a worker can stop early once its result would
    // be dropped anyway.
    bool isCurrent() const;

private:
    friend class TicketCounter;
    std::weak_ptr<const std::atomic<uint64_t>> m_newest;
    uint64_t m_number = 0;
};

// Hands out the tickets of one line of requests; main thread only. Ticket
// numbers are unique in the process, so a counter made anew never takes a
// ticket of one that went before for its own. Copies share one line.
class TicketCounter {
public:
    TicketCounter();
    // A new current ticket; every ticket taken before is stale from now on.
    Ticket take();
    // Makes every ticket taken so far stale.
    void dropAll();

private:
    std::shared_ptr<std::atomic<uint64_t>> m_newest;
};

namespace detail {

// What a work's reports go through. The worker touches only the newest
// value; the rest is read on the main thread. The callback itself is owned
// by the delivery of the result, so that it is released on the main thread.
template <typename T> struct ProgressChannel {
    std::mutex mutex;
    std::optional<T> newest;
    QPointer<QObject> guard;
    std::optional<Ticket> ticket;
    std::weak_ptr<std::function<void(T)>> onProgress;
};

template <typename Work, typename Done>
void start(Executor& executor, Pool pool, QObject* context, std::optional<Ticket> ticket, Work work,
           Done done) {
    using R = std::invoke_result_t<Work&>;
    static_assert(!std::is_void_v<R>, "background work gives a result");
    // done travels with the result and is destroyed on the main thread.
    executor.start(pool, [&executor, guard = QPointer<QObject>(context), ticket = std::move(ticket),
                          work = std::move(work), done = std::move(done)]() mutable {
        R result = work();
        executor.post([guard = std::move(guard), ticket = std::move(ticket), done = std::move(done),
                       result = std::move(result)]() mutable {
            if (guard && (!ticket || ticket->isCurrent())) {
                done(std::move(result));
            }
        });
    });
}

} // namespace detail

// Intermediate values of a running work for the main thread. Values
// reported faster than the main thread takes them collapse into the newest.
template <typename T> class Progress {
public:
    Progress(Executor& executor, std::shared_ptr<detail::ProgressChannel<T>> channel)
        : m_executor(executor)
        , m_channel(std::move(channel)) {}

    // Any thread.
    void report(T value) const {
        {
            const std::lock_guard lock(m_channel->mutex);
            const bool posted = m_channel->newest.has_value();
            m_channel->newest = std::move(value);
            if (posted) {
                return;
            }
        }
        m_executor.post([channel = m_channel] {
            std::optional<T> newest;
            {
                const std::lock_guard lock(channel->mutex);
                newest.swap(channel->newest);
            }
            const auto onProgress = channel->onProgress.lock();
            if (newest && onProgress && channel->guard &&
                (!channel->ticket || channel->ticket->isCurrent())) {
                (*onProgress)(std::move(*newest));
            }
        });
    }

private:
    Executor& m_executor;
    std::shared_ptr<detail::ProgressChannel<T>> m_channel;
};

// Runs work() on the pool and done(result) on the main thread, unless
// context has been destroyed by then. The executor outlives the work.
template <typename Work, typename Done>
void run(Executor& executor, Pool pool, QObject* context, Work work, Done done) {
    detail::start(executor, pool, context, std::nullopt, std::move(work), std::move(done));
}

// The same, and done runs only if the ticket is still current when the
// result arrives. work may keep a copy of the ticket to stop early.
template <typename Work, typename Done>
void run(Executor& executor, Pool pool, QObject* context, const Ticket& ticket, Work work,
         Done done) {
    detail::start(executor, pool, context, ticket, std::move(work), std::move(done));
}

// The same with intermediate values: work(progress) may report values of
// type T, and onProgress hears them on the main thread, before done, while
// the context lives and the ticket is current.
template <typename T, typename Work, typename OnProgress, typename Done>
void runWithProgress(Executor& executor, Pool pool, QObject* context, const Ticket& ticket,
                     Work work, OnProgress onProgress, Done done) {
    auto channel = std::make_shared<detail::ProgressChannel<T>>();
    auto held = std::make_shared<std::function<void(T)>>(std::move(onProgress));
    channel->guard = context;
    channel->ticket = ticket;
    channel->onProgress = held;
    const Progress<T> progress(executor, std::move(channel));
    detail::start(
        executor, pool, context, ticket,
        [progress, work = std::move(work)]() mutable { return work(progress); },
        [held = std::move(held), done = std::move(done)](auto&& result) mutable {
            done(std::forward<decltype(result)>(result));
        });
}

} // namespace Background
