#include "bench/scenarios/LatenessFigures.hpp"

#include "bench/driver/Result.hpp"

#include <algorithm>
#include <utility>

namespace bench {

std::vector<Figure> latenessFigures(std::vector<Limit> limits)
{
    return {
        { "late, median", "us", std::move(limits) },
        { "late, 99 %", "us" },
        { .name = "early", .unit = "", .limits = { { 0 } }, .isPromise = true },
    };
}

Values latenessValues(const std::vector<double>& microseconds)
{
    const auto early
        = std::count_if(microseconds.begin(), microseconds.end(), [](double late) { return late < 0; });
    return { median(microseconds), quantile(microseconds, 0.99), static_cast<double>(early) };
}

} // namespace bench
