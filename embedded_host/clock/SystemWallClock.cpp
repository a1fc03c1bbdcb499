#include "embedded_host/clock/WallClock.hpp"
#include "embedded_host/clock/platform/Platform.hpp"

namespace tovrinhost {

namespace {

class SystemWallClock final : public WallClock {
public:
    WallTime now() const override { return std::chrono::system_clock::now(); }

    void wait(tovrintimer::ConditionVariable& changed, tovrintimer::Lock& lock, WallTime moment,
        const std::function<bool()>& ends) const override
    {
        // Not now + longest < moment: that might be beyond the last moment.
        const WallTime before = now();
        const WallTime stop = moment - before > platform::longestWait ? before + platform::longestWait : moment;
        changed.wait_until(lock, stop, std::cref(ends));
    }
};

} // namespace

const WallClock& systemWallClock()
{
    static const SystemWallClock clock;
    return clock;
}

} // namespace tovrinhost
