#include "tests/faults/HostRun.hpp"

#include <algorithm>
#include <new>

namespace faults {

namespace {

thread_local bool ofTheHost = false;

std::vector<Timer> makeTimers(const World& world)
{
    auto full = world.makeTimer();
    full->setStartDelay(1.0);
    const auto quick = [&world](ExecutionMode mode, BusyMode busy) { return world.makeTimer(mode, busy, 1.0); };
    auto withoutStopFcn = quick(ExecutionMode::FixedRate, BusyMode::Drop);
    withoutStopFcn->setStopFcnIsEmpty(true);
    return { full, withoutStopFcn, quick(ExecutionMode::FixedSpacing, BusyMode::Drop),
        quick(ExecutionMode::FixedDelay, BusyMode::Drop), quick(ExecutionMode::FixedRate, BusyMode::Queue) };
}

} // namespace

HostRun::HostRun(World& world)
    : m_timers(makeTimers(world))
{
    ofTheHost = true;
    // A task is there, or a timer has stopped.
    journal().when("processTovrinTimerTask", [this] { change(); });
    journal().when("evalAsync", [this] { change(); });
    m_thread = std::thread([this] { serve(); });
}

HostRun::~HostRun()
{
    finish();
}

bool HostRun::run()
{
    for (const Timer& timer : m_timers) {
        reportingFailures([&] { World::scheduler().createAndStartWork(timer); });
    }
    bool quiet = false;
    {
        std::unique_lock lock(m_mutex);
        quiet = m_changed.wait_for(lock, 30s, [this] { return isQuiet(); });
    }
    finish();
    return quiet;
}

bool HostRun::hasFailed() const
{
    const std::lock_guard lock(m_mutex);
    return m_hasFailed;
}

bool HostRun::isHostThread()
{
    return ofTheHost;
}

template <typename Function> void HostRun::reportingFailures(Function function)
{
    try {
        function();
    } catch (const std::bad_alloc&) {
        {
            const std::lock_guard lock(m_mutex);
            m_hasFailed = true;
        }
        for (const Timer& timer : m_timers) {
            World::scheduler().forceStopWorkAndScheduleStopFcn(timer);
        }
    }
}

void HostRun::serve()
{
    ofTheHost = true;
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_finish || timerTasks().pending() > 0; });
        if (m_finish) {
            return;
        }
        m_isBusy = true;
        lock.unlock();
        reportingFailures([] { timerTasks().runNext(); });
        lock.lock();
        m_isBusy = false;
        m_changed.notify_all();
    }
}

void HostRun::change()
{
    const std::lock_guard lock(m_mutex);
    m_changed.notify_all();
}

bool HostRun::isQuiet() const
{
    return !m_isBusy && timerTasks().pending() == 0
        && std::ranges::none_of(m_timers, [](const Timer& timer) { return timer->getIsRunning(); });
}

void HostRun::finish()
{
    if (m_thread.joinable()) {
        {
            const std::lock_guard lock(m_mutex);
            m_finish = true;
            m_changed.notify_all();
        }
        m_thread.join();
    }
}

} // namespace faults
