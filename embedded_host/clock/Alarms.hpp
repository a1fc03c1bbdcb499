#pragma once

#include "embedded_host/clock/WallClock.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace tovrinhost {

/// Calls functions at moments of a wall clock, never before them by that clock.
///
/// Threading: any thread. The functions are called on a thread of the alarms' own, which is made for the first of
/// them, one after the other and with no lock held. Lifetime: those that have not been called when the alarms are
/// destroyed never are. Ordering: by moment, those of the same moment as they were set.
class Alarms {
public:
    using Number = std::uint64_t;

    explicit Alarms(const WallClock& clock)
        : m_clock(clock)
    {
    }
    Alarms(const Alarms&) = delete;
    Alarms& operator=(const Alarms&) = delete;
    ~Alarms();

    const WallClock& clock() const { return m_clock; }

    /// \param call must not throw
    /// \throws std::system_error if the thread cannot be started; the next call tries again
    Number set(WallTime moment, std::function<void()> call);

    /// Takes one back. Does nothing if it is being called, or has been.
    void cancel(WallTime moment, Number alarm);

private:
    using Key = std::pair<WallTime, Number>;

    void serve();
    std::optional<WallTime> firstMoment() const;

    const WallClock& m_clock;
    tovrintimer::Mutex m_mutex;
    tovrintimer::ConditionVariable m_changed;
    std::map<Key, std::function<void()>> m_calls; // guarded by m_mutex, like all below
    Number m_latest = 0;
    bool m_ends = false;
    tovrintimer::Thread m_thread;
};

} // namespace tovrinhost
