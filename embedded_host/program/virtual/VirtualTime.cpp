#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/virtual/Calendar.hpp"
#include "embedded_host/testing/VirtualWorld.hpp"
#include "virtual_time/Kernel.hpp"

#include <array>
#include <chrono>
#include <iostream>

namespace tovrinhost {

namespace {

/// What the calendar shows as time begins: what the real one shows, where time is as long as it is real.
virtual_time::Moment calendarAtBeginning(double pace)
{
    using namespace std::chrono;
    return pace == 0 ? calendarOfVirtualTime() : nanoseconds(system_clock::now().time_since_epoch()).count();
}

} // namespace

void rememberWords(int /*argc*/, const char* const* /*argv*/)
{
}

std::span<const Command* const> commands()
{
    static constexpr std::array all { &runCommand, &planCommand, &testCommand };
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

int testInVirtualTime(const TestOptions& options)
{
    return runTests(options, runInWorld, std::cout);
}

} // namespace tovrinhost
