#pragma once

#include "bench/measure/Beat.hpp"

#include <functional>

namespace bench {

// A beat of one thread that does nothing else, for some time: as little as there can be between the clock and the
// callback. \param late given the due time when it has come

/// The thread waits at a condition variable, as one does that may be told of something sooner.
void beatByConditionVariable(std::chrono::milliseconds period, std::chrono::milliseconds time,
    const std::function<void(Clock::time_point)>& late);

/// It reads from a timerfd, and cannot be told of anything.
void beatByTimerfd(std::chrono::milliseconds period, std::chrono::milliseconds time,
    const std::function<void(Clock::time_point)>& late);

} // namespace bench
