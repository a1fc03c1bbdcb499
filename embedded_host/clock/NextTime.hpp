#pragma once

#include "embedded_host/clock/LocalTime.hpp"

#include <cstdint>
#include <optional>

namespace tovrinhost {

/// What a local time is to be. Fields that are not given are 0 (a day and a month, 1) if they are finer than the
/// coarsest one that is given, and free if they are coarser.
struct TimePattern {
    std::optional<int> month; ///< from 1
    std::optional<int> day; ///< of the month, from 1
    std::optional<int> weekday; ///< from 1, Sunday; as coarse as a day
    std::optional<int> hour;
    std::optional<int> minute;
    std::optional<int> second;
};

/// The first moment after `after` at which local time fits the pattern.
///
/// With an hour that is free, each local time that fits counts: one that occurs twice, twice, and one that the
/// clock is set forward over, not at all. So what is to happen each hour, does. With an hour that is given, each
/// day that fits has one such moment, as `momentOf` has it: so what is to happen each day, does, and once.
///
/// \returns nothing if no day fits
std::optional<std::int64_t> nextTime(const TimePattern& pattern, std::int64_t after, const UtcOffset& offset);

} // namespace tovrinhost
