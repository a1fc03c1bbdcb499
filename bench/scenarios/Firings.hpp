#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

namespace bench {

/// Timers of one period.
struct Load {
    std::size_t timers;
    std::chrono::milliseconds period;
    bool isSpread = false; ///< one after the other through the period; else all are due together

    std::string name() const
    {
        return std::to_string(timers) + (timers == 1 ? " timer of " : " timers of ")
            + std::to_string(period.count()) + " ms" + (isSpread ? ", spread" : "");
    }

    /// How much later than the first timer this one is due.
    std::chrono::milliseconds offset(std::size_t timer) const
    {
        return std::chrono::milliseconds(
            isSpread ? period.count() * static_cast<std::int64_t>(timer) / static_cast<std::int64_t>(timers) : 0);
    }

    /// How many of them fall due in this time.
    double due(std::chrono::duration<double> time) const
    {
        return static_cast<double>(timers) * (time / std::chrono::duration<double>(period));
    }
};

/// How long a timer waits from now on that is to be due in the same millisecond as others: due times are whole
/// milliseconds, counted from the one in which a timer is started, and in how many of them timers are due is how
/// many wake-ups they cost. Lets the rest of a millisecond pass that is nearly over.
inline std::chrono::milliseconds delayUntil(std::chrono::steady_clock::time_point due)
{
    using namespace std::chrono;
    auto now = steady_clock::now();
    while (now - floor<milliseconds>(now) > microseconds(800)) {
        now = steady_clock::now();
    }
    return std::max(floor<milliseconds>(due) - floor<milliseconds>(now), milliseconds(1));
}

/// Counts for one thread, and is read by any.
class Count {
public:
    void add() { m_count.store(m_count.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed); }
    std::uint64_t get() const { return m_count.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint64_t> m_count { 0 };
};

} // namespace bench
