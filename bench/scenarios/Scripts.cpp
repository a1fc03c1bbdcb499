#include "bench/driver/Result.hpp"
#include "bench/measure/ChildProcess.hpp"
#include "bench/measure/Thread.hpp"
#include "bench/scenarios/Firings.hpp"
#include "bench/scenarios/Scenarios.hpp"

#include <sstream>
#include <stdexcept>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace bench {

namespace {

using Command = std::vector<std::string>;

const Command tovrin { TOVRIN_PROGRAM, "run" };
const Command tovrinWithoutLog { TOVRIN_PROGRAM_WITHOUT_LOG, "run" };
const Command lua { "lua5.4" };

Command scriptIn(Command program, const char* script)
{
    program.push_back(std::string(BENCH_SCRIPTS) + "/" + script);
    return program;
}

std::string seconds(milliseconds time)
{
    return std::to_string(std::chrono::duration<double>(time).count());
}

/// Microseconds of the whole process for each callback, and the share of what is due that runs, in percent. The
/// script looks at both, so that neither start-up nor the starting of timers is counted.
Values callbacks(const Command& program, const Load& load, milliseconds time, milliseconds before = {})
{
    Command command = program;
    command.insert(command.end(), { std::to_string(load.timers), seconds(load.period), seconds(time) });
    if (before > before.zero()) {
        command.push_back(seconds(before));
    }
    const std::string output = outputOf(command);
    double count = 0;
    double cpu = 0;
    double passed = 0;
    if (!(std::istringstream(output) >> count >> cpu >> passed)) {
        throw std::runtime_error(program.back() + " has printed: " + output);
    }
    return { 1e6 * cpu / count, 100 * count / load.due(std::chrono::duration<double>(passed)) };
}

Measurement callbacksOf(const Load& load, std::vector<Limit> cost, std::vector<Limit> share, milliseconds time)
{
    return { load.name(), { { "a callback", "us", std::move(cost) }, { "run of due", "%", std::move(share) } },
        { { "tovrin", [=] { return callbacks(scriptIn(tovrin, "timers.lua"), load, time); } },
            { "Lua on libuv", [=] { return callbacks(scriptIn(lua, "timers_uv.lua"), load, time); } } } };
}

/// Milliseconds from the start of the program to its end, of several times.
Values startUp(const Command& command)
{
    std::vector<double> times;
    for (int i = 0; i < 10; ++i) {
        const auto begin = Clock::now();
        outputOf(command);
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    }
    return { median(times) };
}

} // namespace

std::vector<Measurement> scripts(const Pace& pace)
{
    const auto time = pace.time(1000ms);
    const Limit fiveTimes { 5, "Lua on libuv" };
    const Limit nearlyAll { .bound = 95, .isAtLeast = true };
    return {
        callbacksOf({ 1, 10ms }, { fiveTimes }, {}, time),
        callbacksOf({ 10, 10ms }, { fiveTimes }, {}, time),
        callbacksOf({ 100, 10ms }, { { 5 }, fiveTimes }, {}, time),
        callbacksOf({ 1000, 10ms }, { fiveTimes }, { nearlyAll }, time),
        callbacksOf({ 10000, 200ms }, {}, { nearlyAll }, time),
        { "an empty script", { { "start to end", "ms", { { 4, "lua5.4" } } } },
            { { "tovrin", [] { return startUp(scriptIn(tovrin, "empty.lua")); } },
                { "lua5.4", [] { return startUp(scriptIn(lua, "empty.lua")); } } } },
    };
}

std::vector<Measurement> firingLog(const Pace& pace)
{
    const Load load { 100, 10ms };
    const auto measure = [&](std::string name, milliseconds time, milliseconds before, int roundsForOne) {
        const auto cost = [=](const Command& program) {
            return Values { callbacks(scriptIn(program, "timers.lua"), load, time, before).front() };
        };
        return Measurement { std::move(name), { { "a callback", "us", { { 1.05, "without it" } } } },
            { { "tovrin", [=] { return cost(tovrin); } },
                { "without it", [=] { return cost(tovrinWithoutLog); } } },
            roundsForOne };
    };
    // The difference is small beside what a machine's mood does within seconds. The log has gone round once it has
    // held 32,768 firings.
    return { measure(load.name() + ", all of its memory new", pace.time(1000ms), 0ms, 2),
        measure(load.name() + ", the log gone round", pace.time(5000ms), pace.time(3500ms), 1) };
}

} // namespace bench
