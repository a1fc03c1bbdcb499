#pragma once

#include "timer_src/main/Concurrency.hpp"

#include <chrono>
#include <functional>

namespace tovrinhost {

using WallTime = std::chrono::system_clock::time_point;

/// What time it is, by a clock that people and programs set, forward or back.
///
/// Scripts learn of the time, and wait for it, through nothing else.
/// Threading: any thread.
class WallClock {
public:
    virtual WallTime now() const = 0;

    /// Waits until the clock shows `moment`, however it is set meanwhile, or until `ends` holds as `changed` is
    /// notified. May end earlier: the caller looks at the clock again.
    /// \param ends asked with the lock held
    virtual void wait(tovrintimer::ConditionVariable& changed, tovrintimer::Lock& lock, WallTime moment,
        const std::function<bool()>& ends) const = 0;

protected:
    ~WallClock() = default;
};

/// The system's.
const WallClock& systemWallClock();

/// Seconds since 1970, with their fraction.
double toSecondsSince1970(WallTime moment);

/// The earliest moment that is not before this many seconds since 1970; what is before 1970 is 1970.
/// \param seconds at most `latestSecond`
WallTime fromSecondsSince1970(double seconds);

/// The last whole second of the clock's range, in 2262.
constexpr double latestSecond = 9223372036.0;

} // namespace tovrinhost
