#include "embedded_host/log/LogLine.hpp"
#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/virtual/Calendar.hpp"
#include "embedded_host/testing/VirtualWorld.hpp"
#include "embedded_host/timers/ScriptRunner.hpp"
#include "virtual_time/Kernel.hpp"

#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

namespace tovrinhost {

namespace {

/// What the calendar shows as time begins: what the real one shows, where time is as long as it is real.
virtual_time::Moment calendarAtBeginning(double pace)
{
    using namespace std::chrono;
    return pace == 0 ? calendarOfVirtualTime() : nanoseconds(system_clock::now().time_since_epoch()).count();
}

/// What the calendar shows. A look that no thread gives way at, so that a script runs the same way with its
/// records.
RecordTime timeOfRecord() noexcept
{
    using namespace std::chrono;
    const virtual_time::Kernel* const kernel = virtual_time::Kernel::current();
    return kernel == nullptr ? system_clock::now()
                             : RecordTime(duration_cast<system_clock::duration>(nanoseconds(kernel->calendar())));
}

/// Where nothing can go on any more, the script is given up: in real time it would wait for ever.
class EndOfStandstill {
public:
    EndOfStandstill(virtual_time::Kernel& kernel, ScriptRunner& runner)
        : m_kernel(kernel)
    {
        kernel.onDeadlock([&kernel, &runner](const std::string& waits) {
            // In front stands the kernel's own time.
            std::cerr << "tovrin: nothing is due any more within a year, and all wait:\n"
                    + waits.substr(waits.find('\n') + 1);
            kernel.callFromOutside([&runner] { runner.interrupt(EXIT_FAILURE); });
            return true;
        });
    }
    EndOfStandstill(const EndOfStandstill&) = delete;
    EndOfStandstill& operator=(const EndOfStandstill&) = delete;
    ~EndOfStandstill() { m_kernel.onDeadlock(nullptr); }

private:
    virtual_time::Kernel& m_kernel;
};

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
    setRecordClock(timeOfRecord);
    return run(
        options, [&kernel](ScriptRunner& runner) { return std::make_shared<EndOfStandstill>(kernel, runner); });
}

int testInVirtualTime(const TestOptions& options)
{
    return runTests(options, runInWorld, std::cout);
}

} // namespace tovrinhost
