#pragma once

#include "timer_src/main/platform/ConditionVariable.hpp"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

namespace tovrintimer {

// The one place that names the clocks, the lock, the condition variable, the thread and what is shared without a
// lock. Everything else in the library uses these names, so that a build may put other types behind them.

using SteadyClock = std::chrono::steady_clock;
using SystemClock = std::chrono::system_clock;
using Mutex = std::mutex;
using Lock = std::unique_lock<Mutex>;
using ConditionVariable = platform::ConditionVariable;
using Thread = std::thread;
template <typename T> using Atomic = std::atomic<T>;

inline Thread::id currentThreadId()
{
    return std::this_thread::get_id();
}

} // namespace tovrintimer
