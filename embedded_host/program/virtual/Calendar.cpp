#include "embedded_host/program/virtual/Calendar.hpp"

#include "embedded_host/clock/LocalTime.hpp"

#include <chrono>

namespace tovrinhost {

virtual_time::Moment calendarOfVirtualTime()
{
    using namespace std::chrono;
    constexpr sys_days firstDay = 2000y / January / 1;
    return nanoseconds(seconds(momentOf(seconds(firstDay.time_since_epoch()).count(), systemUtcOffset))).count();
}

} // namespace tovrinhost
