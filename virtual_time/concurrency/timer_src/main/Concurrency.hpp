#pragma once

#include "virtual_time/Types.hpp"

#include <mutex>

namespace tovrintimer {

// Stands in for the library's own file of this name: the same names for the types of virtual time.

using SteadyClock = virtual_time::SteadyClock;
using SystemClock = virtual_time::SystemClock;
using Mutex = virtual_time::Mutex;
using Lock = std::unique_lock<Mutex>;
using ConditionVariable = virtual_time::ConditionVariable;
template <typename T> using Atomic = virtual_time::Atomic<T>;
using Thread = virtual_time::Thread;
using virtual_time::clockWasLookedAt;
using virtual_time::currentThreadId;
using virtual_time::fromOutside;
using virtual_time::isAtMillisecond;
using virtual_time::ofThisThread;
using virtual_time::sleepFor;
using virtual_time::timeAtWork;
using virtual_time::workUntil;

inline constexpr bool timeStandsStillAtWork = true;

} // namespace tovrintimer
