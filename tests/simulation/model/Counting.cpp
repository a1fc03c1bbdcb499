#include "tests/simulation/model/Counting.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace simulation {

Count counted(Count before, std::uint64_t tasks)
{
    if (before.total != tasks && before.left != 0) {
        const std::uint64_t done = before.total - before.left;
        if (done < tasks - 1) {
            return { tasks, tasks - done - 1 };
        }
    }
    return { before.total, before.left - 1 };
}

std::int64_t dueAfter(Moment now, double span)
{
    constexpr Moment latest = std::numeric_limits<Moment>::max();
    constexpr auto most = static_cast<double>(latest / millisecond);
    if (std::isnan(span)) {
        return now / millisecond;
    }
    const auto whole = static_cast<Moment>(std::clamp(std::trunc(span), -most, most));
    const Moment distance = std::clamp(whole, -latest / millisecond, latest / millisecond) * millisecond;
    return (distance > 0 && now > latest - distance ? latest : now + distance) / millisecond;
}

} // namespace simulation
