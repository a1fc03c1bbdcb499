#pragma once

#include <cstdint>
#include <functional>

namespace tovrinhost {

// Moments are whole seconds since 1970; local times are counted in the same way, as if they were UTC.

/// How far local time is ahead of UTC at a moment, in seconds.
using UtcOffset = std::function<std::int64_t(std::int64_t moment)>;

/// That of the system's time zone.
std::int64_t systemUtcOffset(std::int64_t moment);

/// The moment of a local time. Of one that occurs twice, as the clock is set back at the end of summer time, it is
/// the first; for one that never does, since the clock is set forward over it, the moment at which that happens.
///
/// Between two changes of the offset there is more than a day.
std::int64_t momentOf(std::int64_t local, const UtcOffset& offset);

/// The first moment in (before, after] at which the offset is that of `after`.
std::int64_t changeBetween(std::int64_t before, std::int64_t after, const UtcOffset& offset);

} // namespace tovrinhost
