#pragma once

#include "embedded_host/status/ProgramStatus.hpp"

#include <utility>

namespace tovrinhost {

/// A timer that has run 7 times, with lateness in milliseconds.
inline TimerStatus madeUpTimer(std::uint64_t number, std::string name, double lateness)
{
    TimerStatus timer;
    timer.number = number;
    timer.name = std::move(name);
    timer.settings = "FixedRate, Drop, 0.1 s";
    timer.state = TimerState::Due;
    timer.due = 12.75;
    timer.last = 12.5;
    timer.runs = 7;
    timer.latenessOfLast = lateness / 1e3;
    timer.lateness99 = lateness / 1e3 + 0.001;
    timer.mostLateness = lateness / 1e3 + 0.002;
    timer.busy = 0.25;
    timer.dropped = 3;
    timer.errors = 1;
    timer.backlog = 2;
    return timer;
}

inline ProgramStatus madeUpStatus(std::vector<TimerStatus> timers)
{
    return { 123, "script.lua", 12.5, std::move(timers), 0 };
}

} // namespace tovrinhost
