#pragma once

#include "embedded_host/clock/WallClock.hpp"

#include <atomic>
#include <thread>

namespace tovrinhost {

/// A wall clock that stands still but for where it is set, in whole seconds since 1970.
class MadeUpClock final : public WallClock {
public:
    explicit MadeUpClock(std::int64_t seconds)
        : m_seconds(seconds)
    {
    }

    WallTime now() const override { return at(m_seconds); }

    void wait(tovrintimer::ConditionVariable& changed, tovrintimer::Lock& lock, WallTime,
        const std::function<bool()>& ends) const override
    {
        ++m_waits;
        changed.wait_until(lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(1), std::cref(ends));
    }

    static WallTime at(std::int64_t seconds) { return WallTime(std::chrono::seconds(seconds)); }

    void set(std::int64_t seconds) { m_seconds = seconds; }

    /// Waits until somebody has seen what the clock shows now, and waits. Looks again and again, since those who
    /// wait at a made-up clock tell nobody. \returns false if nobody does
    bool awaitWait() const
    {
        // One wait may have begun before the clock was set.
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        for (const int seen = m_waits; m_waits < seen + 2;) {
            if (std::chrono::steady_clock::now() > limit) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

    /// Returns once nobody has waited for a while: that something does not come shows in no other way.
    void awaitNobody() const
    {
        for (int seen = -1; seen != m_waits;) {
            seen = m_waits;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }

private:
    std::atomic<std::int64_t> m_seconds;
    mutable std::atomic<int> m_waits { 0 };
};

} // namespace tovrinhost
