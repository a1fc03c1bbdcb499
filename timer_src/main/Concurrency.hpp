#pragma once

#include "timer_src/main/CappedWait.hpp"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>

namespace tovrintimer {

// The one place that names the clock, the lock, the condition variable, the thread and what is shared without a
// lock. Everything else in the library uses these names, so that a build may put other types behind them.

using SteadyClock = std::chrono::steady_clock;
using SystemClock = std::chrono::system_clock;
using Mutex = std::mutex;
using Lock = std::unique_lock<Mutex>;
#if defined(_WIN32)
using ConditionVariable = CappedConditionVariable;
#else
using ConditionVariable = std::condition_variable;
#endif
using Thread = std::thread;
template <typename T> using Atomic = std::atomic<T>;

inline Thread::id currentThreadId()
{
    return std::this_thread::get_id();
}

/// The moment at which work falls due: the steady clock, in whole milliseconds.
using DueTime = std::chrono::time_point<SteadyClock, std::chrono::duration<std::int64_t, std::milli>>;

/// Runs one function, once.
///
/// Threading: any thread; whoever comes while the function runs waits for it.
/// Errors: an exception passes to that caller, and the flag stays clear: the next caller tries again.
// std::call_once hangs at the next call after a throwing one on some platforms.
class OnceFlag {
public:
    template <typename Function> void callOnce(Function&& function)
    {
        if (m_done.load(std::memory_order_acquire)) {
            return;
        }
        const Lock lock(m_mutex);
        if (!m_done.load(std::memory_order_relaxed)) {
            std::forward<Function>(function)();
            m_done.store(true, std::memory_order_release);
        }
    }

private:
    Mutex m_mutex;
    Atomic<bool> m_done { false };
};

} // namespace tovrintimer
