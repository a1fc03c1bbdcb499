#include "timer_src/main/MonotonicTime.hpp"

#include "timer_src/main/platform/Platform.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <optional>
#include <ostream>

namespace tovrintimer {

namespace {

constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;
constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t earliest = std::numeric_limits<std::int64_t>::min();

/// What can be told in nanoseconds, either way.
constexpr std::int64_t longestMilliseconds = latest / nanosecondsPerMillisecond;

/// Spelt out: not every standard library knows the short forms.
constexpr const char* timeFormat = "%Y-%m-%d %H:%M:%S";

/// 100 nanoseconds: the unit in which the distance between the two clocks is taken.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

std::int64_t steadyNanoseconds()
{
    return std::chrono::nanoseconds(SteadyClock::now().time_since_epoch()).count();
}

DueTime fromNanoseconds(std::int64_t nanoseconds)
{
    return DueTime(DueTime::duration(nanoseconds / nanosecondsPerMillisecond));
}

std::int64_t wholeMilliseconds(double milliseconds)
{
    if (std::isnan(milliseconds)) {
        return 0;
    }
    if (milliseconds >= static_cast<double>(longestMilliseconds)) {
        return longestMilliseconds;
    }
    if (milliseconds <= -static_cast<double>(longestMilliseconds)) {
        return -longestMilliseconds;
    }
    return static_cast<std::int64_t>(milliseconds);
}

std::int64_t saturatingSum(std::int64_t a, std::int64_t b)
{
    if (b > 0 && a > latest - b) {
        return latest;
    }
    if (b < 0 && a < earliest - b) {
        return earliest;
    }
    return a + b;
}

/// Many moments are of the second that was asked for last.
std::tm localTime(std::time_t seconds)
{
    struct Answer {
        std::time_t seconds;
        std::tm local;
    };
    thread_local std::optional<Answer> last;
    if (!last || last->seconds != seconds) {
        last = { seconds, platform::localTime(seconds) };
    }
    return last->local;
}

} // namespace

DueTime now()
{
    return fromNanoseconds(steadyNanoseconds());
}

DueTime nowPlus(double milliseconds)
{
    const std::int64_t span = wholeMilliseconds(milliseconds) * nanosecondsPerMillisecond;
    return fromNanoseconds(saturatingSum(steadyNanoseconds(), span));
}

DueTime withinClock(DueTime moment)
{
    constexpr DueTime::duration longest(longestMilliseconds);
    return std::clamp(moment, DueTime(-longest), DueTime(longest));
}

CalendarTime toCalendarTime(DueTime moment)
{
    using namespace std::chrono;
    const std::int64_t sinceEpoch = withinClock(moment).time_since_epoch().count();
    const nanoseconds distance(saturatingSum(sinceEpoch * nanosecondsPerMillisecond, -steadyNanoseconds()));
    const auto system = duration_cast<Ticks>(SystemClock::now().time_since_epoch());
    const auto calendar = duration_cast<seconds>(system + duration_cast<Ticks>(distance));
    return { localTime(static_cast<std::time_t>(calendar.count())), static_cast<int>(sinceEpoch % 1000) };
}

std::ostream& operator<<(std::ostream& stream, ToTheSecond time)
{
    const CalendarTime calendar = toCalendarTime(time.moment);
    return stream << std::put_time(&calendar.local, timeFormat);
}

std::ostream& operator<<(std::ostream& stream, ToTheMillisecond time)
{
    const CalendarTime calendar = toCalendarTime(time.moment);
    const char fill = stream.fill('0');
    stream << std::put_time(&calendar.local, timeFormat) << '.' << std::setw(3) << calendar.millisecond;
    stream.fill(fill);
    return stream;
}

std::ostream& operator<<(std::ostream& stream, RightNow /*time*/)
{
    return stream << ToTheMillisecond { now() };
}

} // namespace tovrintimer
