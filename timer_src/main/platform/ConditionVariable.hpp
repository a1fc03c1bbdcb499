#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

/// What is otherwise on each operating system.
namespace tovrintimer::platform {

/// The longest wait that is asked of a platform: there are those that take 2^32-1 ms, 49.7 days, or more for
/// endless.
inline constexpr std::chrono::hours longestWait { 24 };

/// Where a wait that begins at `now` has to make its next stop on the way to `deadline`, which is to come.
template <typename TimePoint>
constexpr TimePoint nextStop(TimePoint now, TimePoint deadline, typename TimePoint::duration cap)
{
    // Not now + cap < deadline: that might be beyond the last time point.
    return deadline - cap > now ? now + cap : deadline;
}

/// A condition variable that leaves the kernel out of a wait for a moment that has passed, and makes a wait of
/// more than a day of shorter ones, after each of which it looks at the predicate. Otherwise like
/// std::condition_variable.
///
/// All waits by a steady clock are by the same one, which never goes back: what it has been seen to pass is not
/// looked up again. A wait by the system clock is for the moment itself, as far as the platform can: it follows
/// the clock when that is set.
///
/// A wait that leaves the kernel out does not let go of the lock either. Who waits for the lock gets it when its
/// owner unlocks it: the scheduler thread does so for each dispatch, which takes longer than all that it does
/// under the lock.
class ConditionVariable {
public:
    /// \param cap the longest wait that the platform is asked for
    explicit ConditionVariable(std::chrono::milliseconds cap = longestWait)
        : m_cap(cap)
    {
    }

    /// Wakes one that waits. Any thread.
    void notify_one() noexcept { m_condition.notify_one(); }

    /// Waits, without a limit, until the predicate holds, which is looked at with the lock held.
    template <typename Predicate> void wait(std::unique_lock<std::mutex>& lock, Predicate predicate)
    {
        m_condition.wait(lock, std::move(predicate));
    }

    /// Waits until the predicate holds, or the moment has passed.
    /// \returns what the predicate says at the end
    template <typename Clock, typename Duration, typename Predicate>
    bool wait_until(
        std::unique_lock<std::mutex>& lock, std::chrono::time_point<Clock, Duration> deadline, Predicate predicate)
    {
        while (!predicate()) {
            if (Clock::is_steady
                && deadline.time_since_epoch() <= std::chrono::duration_cast<Duration>(m_latestReading)) {
                return predicate();
            }
            const auto now = std::chrono::time_point_cast<Duration>(Clock::now());
            if (Clock::is_steady) {
                m_latestReading = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
            }
            if (now >= deadline) {
                return predicate();
            }
            const auto stop = nextStop(now, deadline, std::chrono::duration_cast<Duration>(m_cap));
            if (m_condition.wait_until(lock, stop) == std::cv_status::timeout && stop >= deadline) {
                return predicate();
            }
        }
        return true;
    }

private:
    std::condition_variable m_condition;
    std::chrono::milliseconds m_latestReading {
        0
    }; // guarded by the waiter's lock; no clock stands before its epoch
    const std::chrono::milliseconds m_cap;
};

} // namespace tovrintimer::platform
