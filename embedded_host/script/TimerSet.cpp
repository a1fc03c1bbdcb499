#include "embedded_host/script/TimerSet.hpp"

#include <algorithm>
#include <utility>

namespace tovrinhost {

TimerSet::TimerSet(std::shared_ptr<Engine> engine, ErrorReport& errors, std::size_t maxBacklog)
    : m_engine(std::move(engine))
    , m_errors(errors)
    , m_maxBacklog(maxBacklog)
{
}

std::shared_ptr<ScriptTimer> TimerSet::create(TimerSettings settings)
{
    if (settings.name.empty()) {
        settings.name = "timer-" + std::to_string(++m_unnamed);
    }
    auto timer = std::make_shared<ScriptTimer>(m_engine, m_errors, m_maxBacklog, ++m_created, std::move(settings));
    m_timers.push_back(timer);
    return timer;
}

void TimerSet::destroy(ScriptTimer& timer)
{
    timer.destroy();
    std::erase_if(m_timers, [&](const auto& other) { return other.get() == &timer; });
}

void TimerSet::runUntilQuiet()
{
    const auto allQuiet = [this] {
        return std::all_of(m_timers.begin(), m_timers.end(), [](const auto& t) { return t->isQuiet(); });
    };
    m_engine->loop().runUntil(EventLoop::State::Idle, allQuiet);
}

void TimerSet::stopAll()
{
    for (const auto& timer : std::vector(m_timers)) {
        if (!timer->isDeleted()) {
            timer->stop();
        }
    }
    runUntilQuiet();
}

} // namespace tovrinhost
