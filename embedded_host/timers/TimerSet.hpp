#pragma once

#include "embedded_host/timers/ScriptTimer.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace tovrinhost {

/// The timers of a script, from their creation until they are deleted or given up.
///
/// Threading: the interpreter thread only.
class TimerSet {
public:
    /// \param maxBacklog how many callbacks of one timer may wait at most
    /// \param log what it is for
    TimerSet(std::shared_ptr<LoopEngine> engine, ErrorReport& errors, std::size_t maxBacklog,
        const WallClock& clock = systemWallClock(), FiringLog::Purpose log = FiringLog::Purpose::Explanations);

    /// Makes a timer. One without a name is called "timer-1", "timer-2", ...
    std::shared_ptr<ScriptTimer> create(TimerSettings settings);

    /// Deletes a timer, with its StopFcn run before this returns if it was running.
    void destroy(ScriptTimer& timer);

    /// Forgets a timer that nobody holds any more.
    void giveUp(const ScriptTimer& timer) { m_timers.erase(timer.number()); }

    /// By their numbers, which is the order of their creation.
    std::map<std::uint64_t, std::shared_ptr<ScriptTimer>> all() const { return m_timers; }

    /// \param tell given each timer as it becomes quiet, which may be the last that is seen of it
    void whenQuiet(std::function<void(const ScriptTimer&)> tell) { m_surroundings.timerIsQuiet = std::move(tell); }

    /// Serves until no timer that keeps the program alive runs or has a callback to come.
    /// \throws Interrupted
    void serve();

    /// Stops all running timers for good, and serves until their callbacks have run. From now on no run begins.
    /// \throws Interrupted
    void stopAll();

    LoopEngine& engine() { return *m_surroundings.engine; }
    Diagnosis& diagnosis() { return m_diagnosis; }
    const WallClock& clock() const { return m_alarms.clock(); }

private:
    Diagnosis m_diagnosis; // before what refers to it, like the next
    Alarms m_alarms;
    TimerSurroundings m_surroundings;
    std::map<std::uint64_t, std::shared_ptr<ScriptTimer>> m_timers; // by number
    std::uint64_t m_created = 0;
    std::uint64_t m_unnamed = 0;
};

} // namespace tovrinhost
