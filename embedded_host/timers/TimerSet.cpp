#include "embedded_host/timers/TimerSet.hpp"

#include <algorithm>
#include <utility>

namespace tovrinhost {

TimerSet::TimerSet(std::shared_ptr<LoopEngine> engine, ErrorReport& errors, std::size_t maxBacklog,
    const WallClock& clock, FiringLog::Purpose log)
    : m_diagnosis(log)
    , m_alarms(clock)
    , m_surroundings { std::move(engine), errors, m_diagnosis, m_alarms, maxBacklog }
{
}

std::shared_ptr<ScriptTimer> TimerSet::create(TimerSettings settings)
{
    if (settings.name.empty()) {
        settings.name = "timer-" + std::to_string(++m_unnamed);
    }
    const std::uint64_t number = ++m_created;
    return m_timers[number] = std::make_shared<ScriptTimer>(m_surroundings, number, std::move(settings));
}

void TimerSet::destroy(ScriptTimer& timer)
{
    timer.destroy();
    if (timer.isDeleted()) { // and not in the middle of it, if one of its last callbacks asks again
        giveUp(timer);
    }
}

void TimerSet::serve()
{
    const auto canEnd = [this] {
        return std::all_of(m_timers.begin(), m_timers.end(),
            [](const auto& entry) { return !entry.second->settings().keepsAlive || entry.second->isQuiet(); });
    };
    engine().loop().runUntil(EventLoop::State::Idle, canEnd);
}

void TimerSet::stopAll()
{
    m_surroundings.isEnding = true;
    for (const auto& [number, timer] : all()) {
        timer->stopForGood();
    }
    const auto allQuiet = [this] {
        return std::all_of(
            m_timers.begin(), m_timers.end(), [](const auto& entry) { return entry.second->isQuiet(); });
    };
    engine().loop().runUntil(EventLoop::State::Idle, allQuiet);
}

} // namespace tovrinhost
