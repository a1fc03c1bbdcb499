#pragma once

#include "embedded_host/diagnosis/Firing.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tovrinhost {

/// What has become of the firings of one timer, in all its runs.
///
/// Threading: the interpreter thread.
struct FiringStatistics {
    std::uint64_t runs = 0; ///< TimerFcns that have begun
    std::uint64_t drops = 0; ///< firings that were dropped before one of them
    std::uint64_t errors = 0; ///< callbacks of any kind that have failed
    Nanoseconds lastLateness = 0;
    Nanoseconds mostLateness = 0;
    Nanoseconds busy = 0; ///< spent in callbacks of any kind, with what they waited for

    void timerFcnBegins(Nanoseconds lateness, std::uint64_t missed)
    {
        ++runs;
        drops += missed;
        lastLateness = lateness;
        mostLateness = std::max(mostLateness, lateness);
    }

    void callbackEnds(Nanoseconds took, bool hasFailed)
    {
        busy += took;
        errors += hasFailed ? 1 : 0;
    }
};

/// The smallest of them that `percent` of them do not exceed; 0 where there is none.
inline Nanoseconds percentile(std::vector<Nanoseconds> values, std::size_t percent)
{
    if (values.empty()) {
        return 0;
    }
    const std::size_t rank = (values.size() * percent + 99) / 100;
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(rank, 1) - 1);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

} // namespace tovrinhost
