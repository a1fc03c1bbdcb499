#pragma once

#if defined(_WIN32)
#include "timer_src/main/platform/CappedWait.hpp"
#else
#include <condition_variable>
#endif

namespace tovrintimer::platform {

/// The condition variable that can wait for any deadline.
#if defined(_WIN32)
using ConditionVariable = CappedConditionVariable;
#else
using ConditionVariable = std::condition_variable;
#endif

} // namespace tovrintimer::platform
