#include "embedded_host/timers/TimerSet.hpp"

#include <algorithm>
#include <utility>

namespace tovrinhost {

TimerSet::TimerSet(
    std::shared_ptr<Engine> engine, ErrorReport& errors, std::size_t maxBacklog, const WallClock& clock)
    : m_alarms(clock)
    , m_surroundings { std::move(engine), errors, m_diagnosis, m_alarms, maxBacklog }
{
}

std::shared_ptr<ScriptTimer> TimerSet::create(TimerSettings settings)
{
    if (settings.name.empty()) {
        settings.name = "timer-" + std::to_string(++m_unnamed);
    }
    auto timer = std::make_shared<ScriptTimer>(m_surroundings, ++m_created, std::move(settings));
    m_timers.push_back(timer);
    return timer;
}

void TimerSet::destroy(ScriptTimer& timer)
{
    timer.destroy();
    if (timer.isDeleted()) { // and not in the middle of it, if one of its last callbacks asks again
        std::erase_if(m_timers, [&](const auto& other) { return other.get() == &timer; });
    }
}

void TimerSet::runUntilQuiet()
{
    const auto allQuiet = [this] {
        return std::all_of(m_timers.begin(), m_timers.end(), [](const auto& t) { return t->isQuiet(); });
    };
    engine().loop().runUntil(EventLoop::State::Idle, allQuiet);
}

void TimerSet::stopAll()
{
    m_surroundings.isEnding = true;
    for (const auto& timer : std::vector(m_timers)) {
        timer->stopForGood();
    }
    runUntilQuiet();
}

} // namespace tovrinhost
