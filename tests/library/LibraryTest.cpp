#include "tests/library/LibraryTest.hpp"

#include <ostream>
#include <sstream>
#include <stdexcept>

namespace tovrintimer {

namespace {

constexpr std::chrono::seconds patience { 30 };

int kindOf(const WorkItemVariant& work)
{
    return boost::apply_visitor([]<int kind>(const WorkItem<kind>&) { return kind; }, work);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Queued& queued)
{
    return stream << queued.kind << " of " << queued.timer << " due at " << queued.due.time_since_epoch().count()
                  << " ms";
}

void LibraryTest::SetUp()
{
    // Tests have threads, and a process that was forked from them would not.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    RecordingHostTest::SetUp();
}

WorkItem<StartFcnWork> LibraryTest::startFcn(const std::shared_ptr<TimerInfo>& timer, DueTime due)
{
    return { due, timer->getId(), timer };
}

WorkItem<StopFcnWork> LibraryTest::stopFcn(const std::shared_ptr<TimerInfo>& timer, DueTime due)
{
    return { due, timer->getId(), timer };
}

WorkItem<TimerFcnWork> LibraryTest::timerFcn(const std::shared_ptr<TimerInfo>& timer, DueTime due)
{
    return { timer->getId(), due, timer, 1 };
}

WorkItem<ErrorFcnWork> LibraryTest::errorFcn(const std::shared_ptr<TimerInfo>& timer, DueTime due)
{
    return { due, timer->getId(), timer };
}

std::shared_ptr<TimerInfo> LibraryTest::makeFullTimer(const std::string& name)
{
    auto timer = makeTimer(name);
    timer->setStartFcnIsEmpty(false);
    timer->setStopFcnIsEmpty(false);
    timer->setErrorFcnIsEmpty(false);
    return timer;
}

void LibraryTest::keepQueueStill()
{
    scheduler().cleanup();
    journal().clearEvents();
}

std::vector<Queued> LibraryTest::queue() const
{
    std::vector<Queued> seen;
    for (const WorkItemVariant& work : TimerSchedulerPeer::queue(scheduler())) {
        std::ostringstream timer;
        timer << timerId(work);
        seen.push_back({ kindOf(work), plain(timer.str()), dueTime(work) });
    }
    return seen;
}

std::vector<std::string> LibraryTest::everything() const
{
    std::vector<std::string> texts;
    for (const auto& event : journal().events()) {
        if (!event.text.starts_with("Timer Running on ")) {
            texts.push_back(plain(event.text));
        }
    }
    return texts;
}

void LibraryTest::startThread() const
{
    // It sleeps before the first item comes, which is one that nobody minds, and again after that.
    journal().once("Requesting lk @insertAscendingSorted", [this] { waitUntilAsleepWithoutWork(); });
    scheduler().insertAscendingSorted(WorkItem<StartFcnWork>(past(), IDType(), std::weak_ptr<TimerInfo>()));
    waitUntilAsleepWithoutWork(2);
    journal().clearEvents();
}

// The thread says that it is going to sleep under the lock that its sleep releases: once we have had the lock
// after that, it sleeps.

void LibraryTest::waitUntilAsleepWithoutWork(std::size_t times) const
{
    journal().waitFor("waiting forever/large timeout at", times);
    const Lock lock = TimerSchedulerPeer::lock(scheduler());
}

void LibraryTest::waitUntilAsleepWithWork(std::size_t times) const
{
    journal().waitFor("Found Work on WorkQueue ", times);
    const Lock lock = TimerSchedulerPeer::lock(scheduler());
}

void LibraryTest::waitForDispatches(std::size_t number) const
{
    journal().waitFor("Consumer got a chance to poke at queue", number);
}

void Gate::pass()
{
    std::unique_lock lock(m_mutex);
    m_reached = true;
    m_changed.notify_all();
    if (!m_changed.wait_for(lock, patience, [this] { return m_open; })) {
        throw std::runtime_error("nobody opened the gate");
    }
}

void Gate::waitUntilReached()
{
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, patience, [this] { return m_reached; })) {
        throw std::runtime_error("nobody came to the gate");
    }
}

void Gate::open()
{
    const std::lock_guard lock(m_mutex);
    m_open = true;
    m_changed.notify_all();
}

} // namespace tovrintimer
