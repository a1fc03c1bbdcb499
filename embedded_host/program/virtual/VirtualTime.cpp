#include "embedded_host/clock/LocalTime.hpp"
#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/Commands.hpp"
#include "virtual_time/Kernel.hpp"

#include <array>
#include <chrono>

namespace tovrinhost {

namespace {

/// What the calendar shows as time begins: the same each time, or the output would not be; or what the real one
/// shows, where time is as long as it is real.
virtual_time::Moment calendarAtBeginning(double pace)
{
    using namespace std::chrono;
    constexpr sys_days firstDay = 2000y / January / 1;
    if (pace != 0) {
        return nanoseconds(system_clock::now().time_since_epoch()).count();
    }
    return nanoseconds(seconds(momentOf(seconds(firstDay.time_since_epoch()).count(), systemUtcOffset))).count();
}

} // namespace

void rememberWords(int /*argc*/, const char* const* /*argv*/)
{
}

std::span<const Command* const> commands()
{
    static constexpr std::array all { &runCommand, &planCommand };
    return all;
}

int runByItsClock(const RunOptions& options)
{
    virtual_time::Kernel::Options world = virtual_time::optionsOfSchedule(0);
    world.pace = options.pace.value_or(0);
    world.calendarAtZero = calendarAtBeginning(world.pace) - world.begin;
    virtual_time::Kernel kernel(world);
    kernel.begin();
    return run(options, [](ScriptRunner&) { return nullptr; });
}

} // namespace tovrinhost
