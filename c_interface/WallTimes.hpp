#pragma once

#include "embedded_host/clock/WallClock.hpp"
#include "embedded_host/diagnosis/FiringLog.hpp"

#include <chrono>

namespace tovrin_c {

/// What the wall clock shows at moments of the steady clock that have just been.
///
/// How far the two are apart is looked up once a millisecond at most: callbacks that are due together come one
/// every microsecond or two. Who sets the wall clock is followed as soon.
///
/// Threading: one thread at a time.
class WallTimes {
public:
    /// Seconds since 1970, with their fraction.
    double at(tovrinhost::Nanoseconds moment)
    {
        if (moment >= m_lookedUp + longest) {
            m_lookedUp = tovrinhost::FiringLog::steadyClock();
            m_atZero = tovrinhost::systemWallClock().now() - ticks(m_lookedUp);
        }
        return tovrinhost::toSecondsSince1970(m_atZero + ticks(moment));
    }

private:
    static constexpr tovrinhost::Nanoseconds longest = 1'000'000;

    static tovrinhost::WallTime::duration ticks(tovrinhost::Nanoseconds span)
    {
        return std::chrono::duration_cast<tovrinhost::WallTime::duration>(std::chrono::nanoseconds(span));
    }

    tovrinhost::Nanoseconds m_lookedUp = -longest; // no clock stands before its zero
    tovrinhost::WallTime m_atZero; // what the wall clock shows where the steady clock is at its zero
};

} // namespace tovrin_c
