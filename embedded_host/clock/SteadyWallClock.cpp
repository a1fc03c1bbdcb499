#include "embedded_host/clock/SteadyWallClock.hpp"

namespace tovrinhost {

using tovrintimer::SteadyClock;

WallTime SteadyWallClock::now() const
{
    return m_atZero + std::chrono::floor<WallTime::duration>(SteadyClock::now().time_since_epoch());
}

void SteadyWallClock::wait(tovrintimer::ConditionVariable& changed, tovrintimer::Lock& lock, WallTime moment,
    const std::function<bool()>& ends) const
{
    changed.wait_until(lock, SteadyClock::time_point(moment - m_atZero), std::cref(ends));
}

} // namespace tovrinhost
