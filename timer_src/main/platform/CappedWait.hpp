#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tovrintimer::platform {

/// The longest wait that is asked of a platform whose timed waits end at 2^32-1 ms, 49.7 days: it takes what is
/// longer for endless.
inline constexpr std::chrono::hours longestWait { 24 };

/// Where a wait that began at `now` has to make its next stop on the way to `deadline`. One that
/// has passed is no longer ago than `cap`: with the whole range of the clock nobody can reckon.
template <typename TimePoint>
constexpr TimePoint nextStop(TimePoint now, TimePoint deadline, typename TimePoint::duration cap)
{
    if (deadline <= now) {
        return std::max(deadline, now - cap);
    }
    // Not now + cap < deadline: that might be beyond the last time point.
    return deadline - cap > now ? now + cap : deadline;
}

/// A condition variable that makes a long timed wait of shorter ones, after each of which it looks at the
/// predicate. Otherwise like std::condition_variable.
class CappedConditionVariable {
public:
    explicit CappedConditionVariable(std::chrono::milliseconds cap = longestWait)
        : m_cap(cap)
    {
    }

    void notify_one() noexcept { m_condition.notify_one(); }

    template <typename Clock, typename Duration, typename Predicate>
    bool wait_until(
        std::unique_lock<std::mutex>& lock, std::chrono::time_point<Clock, Duration> deadline, Predicate predicate)
    {
        while (!predicate()) {
            const auto now = std::chrono::time_point_cast<Duration>(Clock::now());
            const auto stop = nextStop(now, deadline, std::chrono::duration_cast<Duration>(m_cap));
            if (m_condition.wait_until(lock, stop) == std::cv_status::timeout && stop >= deadline) {
                return predicate();
            }
        }
        return true;
    }

private:
    std::condition_variable m_condition;
    const std::chrono::milliseconds m_cap;
};

} // namespace tovrintimer::platform
