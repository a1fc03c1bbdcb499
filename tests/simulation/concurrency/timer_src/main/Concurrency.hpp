#pragma once

#include "tests/simulation/kernel/Types.hpp"

#include <mutex>

namespace tovrintimer {

// Stands in for the library's own file of this name: the same names for the simulation's types.

using SteadyClock = simulation::SteadyClock;
using SystemClock = simulation::SystemClock;
using Mutex = simulation::Mutex;
using Lock = std::unique_lock<Mutex>;
using ConditionVariable = simulation::ConditionVariable;
template <typename T> using Atomic = simulation::Atomic<T>;
using Thread = simulation::Thread;
using simulation::currentThreadId;

} // namespace tovrintimer
