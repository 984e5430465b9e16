#include "core/Background.h"

#include <QCoreApplication>
#include <QThreadPool>
#include <QTimer>

#include <algorithm>

namespace Background {

namespace {

// Process-wide, so that tickets of different counters never share a number.
std::atomic<uint64_t> lastTicketNumber{0};

QThreadPool* makePool(int threads) {
    auto* created = new QThreadPool;
    created->setMaxThreadCount(threads);
    return created;
}

QThreadPool& diskReadPool() {
    static QThreadPool* pool = makePool(8);
    return *pool;
}

// A listing stuck on a dead mount keeps its thread for good; a newer listing
// of the pane still finds a free one.
QThreadPool& listingPool() {
    static QThreadPool* pool = makePool(16);
    return *pool;
}

QThreadPool& threadsOf(Pool pool) {
    switch (pool) {
    case Pool::diskRead:
        return diskReadPool();
    case Pool::listing:
        return listingPool();
    case Pool::shared:
        break;
    }
    return *QThreadPool::globalInstance();
}

class WorkerThreads final : public Executor {
public:
    void start(Pool pool, std::function<void()> work) override {
        threadsOf(pool).start(std::move(work));
    }

    // The application object lives on the main thread; what is posted to it
    // from one worker arrives in the order it was posted.
    void post(std::function<void()> task) override {
        if (QCoreApplication* application = QCoreApplication::instance()) {
            QMetaObject::invokeMethod(application, std::move(task), Qt::QueuedConnection);
        }
    }

    // A coarse timer may fire up to 5 per cent early; the time limits are
    // promises, so the timers are precise.
    void callLater(std::chrono::milliseconds delay, QObject* context,
                   std::function<void()> task) override {
        QTimer::singleShot(delay, Qt::PreciseTimer, context, std::move(task));
    }
};

} // namespace

Executor& workerThreads() {
    static auto* executor = new WorkerThreads;
    return *executor;
}

void ManualExecutor::start(Pool pool, std::function<void()> work) {
    ++m_started[size_t(pool)];
    m_work.push_back({pool, std::move(work)});
}

void ManualExecutor::post(std::function<void()> task) {
    m_posted.push_back(std::move(task));
}

void ManualExecutor::callLater(std::chrono::milliseconds delay, QObject* context,
                               std::function<void()> task) {
    m_timers.push_back({m_now + delay, ++m_timersSet, context, std::move(task)});
}

bool ManualExecutor::runNext() {
    runPosted();
    if (m_work.empty()) {
        return false;
    }
    const std::function<void()> work = std::move(m_work.front().run);
    m_work.pop_front();
    work();
    runPosted();
    return true;
}

void ManualExecutor::runAll() {
    while (runNext()) {
    }
}

std::optional<Pool> ManualExecutor::nextPool() const {
    return m_work.empty() ? std::nullopt : std::optional(m_work.front().pool);
}

void ManualExecutor::advance(std::chrono::milliseconds step) {
    const std::chrono::milliseconds end = m_now + step;
    for (;;) {
        const auto due =
            std::min_element(m_timers.begin(), m_timers.end(), [](const auto& a, const auto& b) {
                return std::pair(a.due, a.order) < std::pair(b.due, b.order);
            });
        if (due == m_timers.end() || due->due > end) {
            break;
        }
        const Timer timer = std::move(*due);
        m_timers.erase(due);
        m_now = timer.due;
        if (timer.context) {
            timer.task();
        }
        runPosted();
    }
    m_now = end;
}

void ManualExecutor::runPosted() {
    while (!m_posted.empty()) {
        const std::function<void()> task = std::move(m_posted.front());
        m_posted.pop_front();
        task();
    }
}

TicketCounter::TicketCounter()
    : m_newest(std::make_shared<std::atomic<uint64_t>>(0)) {}

Ticket TicketCounter::take() {
    Ticket ticket;
    ticket.m_number = ++lastTicketNumber;
    ticket.m_newest = m_newest;
    m_newest->store(ticket.m_number);
    return ticket;
}

void TicketCounter::dropAll() {
    m_newest->store(0);
}

bool Ticket::isCurrent() const {
    const auto newest = m_newest.lock();
    return newest && m_number != 0 && newest->load() == m_number;
}

} // namespace Background
