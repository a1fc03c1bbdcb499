#include "embedded_host/clock/NextTime.hpp"

#include <chrono>

namespace tovrinhost {

namespace {

constexpr std::int64_t secondsPerMinute = 60;
constexpr std::int64_t secondsPerHour = 3600;
constexpr std::int64_t secondsPerDay = 86400;
constexpr std::int64_t daysOfAllYears = 146097; // after which the calendar repeats itself

std::int64_t floorDivide(std::int64_t a, std::int64_t b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

bool fits(const TimePattern& pattern, std::int64_t dayNumber)
{
    using namespace std::chrono;
    const sys_days day { days(dayNumber) };
    const year_month_day date(day);
    // The day of a month that is given alone is its first.
    const auto wantedDay = pattern.month && !pattern.weekday ? pattern.day.value_or(1) : pattern.day;
    return (!pattern.month || static_cast<unsigned>(*pattern.month) == static_cast<unsigned>(date.month()))
        && (!wantedDay || static_cast<unsigned>(*wantedDay) == static_cast<unsigned>(date.day()))
        && (!pattern.weekday || static_cast<unsigned>(*pattern.weekday) == weekday(day).c_encoding() + 1);
}

/// The hour is given, or 0.
std::optional<std::int64_t> nextOfDays(const TimePattern& pattern, std::int64_t after, const UtcOffset& offset)
{
    const std::int64_t timeOfDay = pattern.hour.value_or(0) * secondsPerHour
        + pattern.minute.value_or(0) * secondsPerMinute + pattern.second.value_or(0);
    // From the day before: the clock may have been set back over midnight.
    const std::int64_t first = floorDivide(after + offset(after), secondsPerDay) - 1;
    for (std::int64_t day = first; day <= first + daysOfAllYears; ++day) {
        if (!fits(pattern, day)) {
            continue;
        }
        const std::int64_t moment = momentOf(day * secondsPerDay + timeOfDay, offset);
        if (moment > after) {
            return moment;
        }
    }
    return std::nullopt;
}

/// The hour is free: as long as the offset stays, what fits comes again after a span.
std::int64_t nextOfSpans(std::int64_t span, std::int64_t place, std::int64_t after, const UtcOffset& offset)
{
    std::int64_t from = after + 1;
    for (;;) {
        const std::int64_t ahead = offset(from);
        const std::int64_t local = from + ahead;
        const std::int64_t behind = local - place;
        const std::int64_t moment = from + (floorDivide(behind + span - 1, span) * span - behind);
        if (offset(moment) == ahead) {
            return moment;
        }
        from = changeBetween(from, moment, offset);
    }
}

} // namespace

std::optional<std::int64_t> nextTime(const TimePattern& pattern, std::int64_t after, const UtcOffset& offset)
{
    if (pattern.month || pattern.day || pattern.weekday || pattern.hour) {
        return nextOfDays(pattern, after, offset);
    }
    if (pattern.minute) {
        return nextOfSpans(
            secondsPerHour, *pattern.minute * secondsPerMinute + pattern.second.value_or(0), after, offset);
    }
    return nextOfSpans(pattern.second ? secondsPerMinute : 1, pattern.second.value_or(0), after, offset);
}

} // namespace tovrinhost
