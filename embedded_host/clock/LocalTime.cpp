#include "embedded_host/clock/LocalTime.hpp"

#include "embedded_host/clock/platform/Platform.hpp"

#include <chrono>

namespace tovrinhost {

std::int64_t systemUtcOffset(std::int64_t moment)
{
    using namespace std::chrono;
    const std::tm local = platform::localTime(static_cast<std::time_t>(moment));
    if (local.tm_mday == 0) {
        return 0; // the system cannot tell
    }
    const year_month_day date(year(local.tm_year + 1900), month(static_cast<unsigned>(local.tm_mon + 1)),
        day(static_cast<unsigned>(local.tm_mday)));
    const auto asIfUtc = sys_days(date) + hours(local.tm_hour) + minutes(local.tm_min) + seconds(local.tm_sec);
    return duration_cast<seconds>(asIfUtc.time_since_epoch()).count() - moment;
}

std::int64_t momentOf(std::int64_t local, const UtcOffset& offset)
{
    constexpr std::int64_t day = 86400;
    const std::int64_t before = offset(local - day);
    const std::int64_t after = offset(local + day);
    // By the offset before the change first: it gives the earlier of two moments that there may be.
    for (const std::int64_t moment : { local - before, local - after }) {
        if (moment + offset(moment) == local) {
            return moment;
        }
    }
    return changeBetween(local - day, local + day, offset);
}

std::int64_t changeBetween(std::int64_t before, std::int64_t after, const UtcOffset& offset)
{
    const std::int64_t changed = offset(after);
    while (after - before > 1) {
        const std::int64_t between = before + (after - before) / 2;
        (offset(between) == changed ? after : before) = between;
    }
    return after;
}

} // namespace tovrinhost
