#pragma once

#include "timer_src/main/DueTime.hpp"

#include <ctime>
#include <iosfwd>

namespace tovrintimer {

// The only file outside platform/ that reads a clock.

/// The steady clock, truncated to whole milliseconds.
DueTime now();

/// The moment `milliseconds` from now.
///
/// The span is truncated toward zero to whole milliseconds. It saturates, and so does the sum: NaN counts as 0,
/// and what would lie beyond the clock's range gives the end of that range, which no timer lives to see.
DueTime nowPlus(double milliseconds);

/// The moment itself, or the end of the clock's range that it lies beyond: there a comparison with the clock, in
/// nanoseconds, would wrap round.
DueTime withinClock(DueTime moment);

/// A moment of the steady clock as local calendar time.
///
/// The seconds are those of the system clock; the millisecond is the steady clock's own remainder. The two clocks
/// do not begin their seconds together: what the two say together is off by less than a second. A moment beyond
/// the clock's range is shown as the end of that range.
struct CalendarTime {
    std::tm local;
    int millisecond;
};

CalendarTime toCalendarTime(DueTime moment);

/// Streams a moment as "2024-05-01 13:45:07".
struct ToTheSecond {
    DueTime moment;
};

std::ostream& operator<<(std::ostream& stream, ToTheSecond time);

/// Streams a moment as "2024-05-01 13:45:07.045".
struct ToTheMillisecond {
    DueTime moment;
};

std::ostream& operator<<(std::ostream& stream, ToTheMillisecond time);

/// Streams the moment at which it is streamed, to the millisecond.
struct RightNow { };

std::ostream& operator<<(std::ostream& stream, RightNow time);

} // namespace tovrintimer
