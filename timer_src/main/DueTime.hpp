#pragma once

#include "timer_src/main/Concurrency.hpp"

#include <chrono>
#include <cstdint>

namespace tovrintimer {

/// The moment at which work falls due: the steady clock, in whole milliseconds.
using DueTime = std::chrono::time_point<SteadyClock, std::chrono::duration<std::int64_t, std::milli>>;

} // namespace tovrintimer
