#include "embedded_host/clock/WallClock.hpp"

#include <algorithm>

namespace tovrinhost {

double toSecondsSince1970(WallTime moment)
{
    return std::chrono::duration<double>(moment.time_since_epoch()).count();
}

WallTime fromSecondsSince1970(double seconds)
{
    return WallTime(std::chrono::ceil<WallTime::duration>(std::chrono::duration<double>(std::max(seconds, 0.0))));
}

} // namespace tovrinhost
