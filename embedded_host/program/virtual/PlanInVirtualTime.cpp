#include "embedded_host/plan/Plan.hpp"
#include "embedded_host/plan/PlanDocument.hpp"
#include "embedded_host/plan/PlanTable.hpp"
#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/platform/Platform.hpp"
#include "virtual_time/Kernel.hpp"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <system_error>

namespace tovrinhost {

namespace {

Nanoseconds calendarAtBeginning(const PlanOptions& options)
{
    using namespace std::chrono;
    return options.from ? nanoseconds(seconds(*options.from)).count()
                        : nanoseconds(system_clock::now().time_since_epoch()).count();
}

std::unique_ptr<PlanWriter> makeWriter(const PlanOptions& options, PlanOutput& output, Nanoseconds calendar)
{
    if (options.isJson) {
        return std::make_unique<PlanDocument>(output, options.script.name, options.span, calendar);
    }
    return std::make_unique<PlanTable>(output, options.span, calendar);
}

} // namespace

int planInVirtualTime(const PlanOptions& options)
{
    const Nanoseconds calendar = calendarAtBeginning(options);
    virtual_time::Kernel::Options world = virtual_time::optionsOfSchedule(0);
    world.calendarAtZero = calendar - world.begin;
    world.isAlwaysWithinMillisecond = true; // as good as always, where time is real
    virtual_time::Kernel kernel(world);
    kernel.begin();
    PlanOutput output(platform::divertStandardOutput(options.showsOutput));
    const auto writer = makeWriter(options, output, calendar);
    PlanResult result;
    RunOptions script;
    script.script = options.script;
    int status = run(script, [&](ScriptRunner& runner) {
        return std::make_shared<Plan>(runner, options.span, *writer, output, result);
    });
    if (result.end.why == PlanEnd::Why::Span) {
        status = result.hasErrors ? EXIT_FAILURE : EXIT_SUCCESS;
    }
    writer->end(result.totals, result.end);
    output.flush();
    if (output.error() != 0) {
        std::cerr << "tovrin: the plan cannot be written: " + std::generic_category().message(output.error())
                + '\n';
        return status == EXIT_SUCCESS ? EXIT_FAILURE : status;
    }
    return status;
}

} // namespace tovrinhost
