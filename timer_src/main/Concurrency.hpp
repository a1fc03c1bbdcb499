#pragma once

#include "timer_src/main/platform/ConditionVariable.hpp"

#include <atomic>
#include <chrono>
#include <ctime>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>

namespace tovrintimer {

// The one place that names the clocks, the lock, the condition variable, the thread, what a thread has of its own,
// and what is shared without a lock. Everything else uses these names, so that a build may put other types behind
// them: the library, and of the embedded host whatever waits, looks at the steady clock or makes threads, but for
// what a terminal, a socket or a signal is waited for with.

using SteadyClock = std::chrono::steady_clock; ///< what timers go by
using SystemClock = std::chrono::system_clock; ///< what the calendar is told by
using Mutex = std::mutex; ///< locked by `Lock` alone
using Lock = std::unique_lock<Mutex>; ///< the only kind of lock
using ConditionVariable = platform::ConditionVariable; ///< goes with `Mutex`
using Thread = std::thread; ///< is joined before it is destroyed
template <typename T> using Atomic = std::atomic<T>; ///< what is shared without a lock

/// Tells the threads of a process apart.
inline Thread::id currentThreadId()
{
    return std::this_thread::get_id();
}

/// Has the calling thread wait, for nothing but the time.
inline void sleepFor(std::chrono::nanoseconds span)
{
    std::this_thread::sleep_for(span);
}

/// Whether time stands still while code runs, and nothing but waiting takes any.
inline constexpr bool timeStandsStillAtWork = false;

/// Whether no part of a millisecond of the steady clock has passed, and none will before the next look.
constexpr bool isAtMillisecond()
{
    return false;
}

/// Keeps the calling thread at work until the deadline, or until `givesUp`.
template <typename GivesUp> void workUntil(SteadyClock::time_point deadline, const GivesUp& givesUp)
{
    while (SteadyClock::now() < deadline && !givesUp()) { }
}

/// For code of users that looks what time it is, again and again perhaps, until it is late enough: a clock that
/// stands still while code runs has to go on then.
inline void clockWasLookedAt()
{
}

/// Processor time that the program has used.
inline std::chrono::duration<double> timeAtWork()
{
    return std::chrono::duration<double>(static_cast<double>(std::clock()) / CLOCKS_PER_SEC);
}

/// What the calling thread has of this type: one object for each thread, as `T {}` makes it.
template <typename T> T& ofThisThread()
{
    // Nothing has to run where a thread begins or ends.
    static_assert(std::is_trivially_destructible_v<T>);
    constinit thread_local T object {};
    return object;
}

/// Calls for a thread that is none of a `Thread`'s and not the program's first: one that waits for signals.
template <typename Call> void fromOutside(Call&& call)
{
    std::forward<Call>(call)();
}

} // namespace tovrintimer
