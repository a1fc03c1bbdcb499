#include "embedded_host/clock/WallClock.hpp"

#include "embedded_host/clock/platform/Platform.hpp"

#include <algorithm>

namespace tovrinhost {

namespace {

class SystemWallClock final : public WallClock {
public:
    WallTime now() const override { return std::chrono::system_clock::now(); }

    void wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock, WallTime moment) const override
    {
        // Not now + longest < moment: that might be beyond the last moment.
        const WallTime before = now();
        changed.wait_until(
            lock, moment - before > platform::longestWait ? before + platform::longestWait : moment);
    }
};

} // namespace

const WallClock& systemWallClock()
{
    static const SystemWallClock clock;
    return clock;
}

double toSecondsSince1970(WallTime moment)
{
    return std::chrono::duration<double>(moment.time_since_epoch()).count();
}

WallTime fromSecondsSince1970(double seconds)
{
    return WallTime(std::chrono::ceil<WallTime::duration>(std::chrono::duration<double>(std::max(seconds, 0.0))));
}

} // namespace tovrinhost
