#include "embedded_host/clock/WallClock.hpp"

namespace tovrinhost {

namespace {

/// The calendar goes with the steady clock: nobody sets it.
class VirtualWallClock final : public WallClock {
public:
    WallTime now() const override { return WallTime(tovrintimer::SystemClock::now().time_since_epoch()); }

    void wait(tovrintimer::ConditionVariable& changed, tovrintimer::Lock& lock, WallTime moment,
        const std::function<bool()>& ends) const override
    {
        changed.wait_until(lock, tovrintimer::SteadyClock::now() + (moment - now()), std::cref(ends));
    }
};

} // namespace

const WallClock& systemWallClock()
{
    static const VirtualWallClock clock;
    return clock;
}

} // namespace tovrinhost
