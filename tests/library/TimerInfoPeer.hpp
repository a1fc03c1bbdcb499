#pragma once

#include "timer_src/main/TimerInfo.hpp"

#include <cstdint>
#include <utility>

namespace tovrintimer {

/// Looks at what a timer keeps to itself.
class TimerInfoPeer {
public:
    /// The times of the run before the latest one, and of that, in milliseconds.
    static std::pair<std::int64_t, std::int64_t> runTimes(const TimerInfo& timer);

    /// While it is held, no run is counted.
    static Lock lock(const TimerInfo& timer);
};

} // namespace tovrintimer
