#include "embedded_host/testing/TestFile.hpp"

#include "embedded_host/testing/ClockFunctions.hpp"
#include "embedded_host/testing/TestLanguage.hpp"
#include "embedded_host/timers/ScriptRunner.hpp"
#include "embedded_host/timers/TimerObject.hpp"

#include <functional>
#include <stdexcept>

namespace tovrinhost {

namespace {

using OnInterpreter = std::function<void(Interpreter& interpreter, TimerSet& timers)>;

/// Loads the file, and does something with it, on the main thread of a world.
void loadAndDo(const std::string& file, TestBench& bench, const OnInterpreter& work)
{
    constexpr std::size_t mostWaiting = 10'000; // as a program has it that runs by itself
    ScriptRunner runner(mostWaiting);
    runner.errors().tellTo([&](const std::string& where, const ReportedError& error) {
        bench.findings.callbackFailed(where, error);
    });
    runner.serve([&](Interpreter& interpreter) {
        bench.clock.onStandstill([&](const std::string& waits) {
            bench.findings.nothingGoesOn(positionInFile(interpreter.state()), waits);
            interpreter.loop().interrupt(Interruption::User); // what waits for ever is a script that pumps
        });
        try {
            const InterpreterFollower::ScriptRuns runs(runner.diagnosis().follower());
            interpreter.protect([&](lua_State* state) {
                openTestLanguage(state, bench);
                return 0;
            });
            interpreter.runScript({ file, {}, std::nullopt });
            bench.list.close();
            work(interpreter, runner.timers());
        } catch (const std::exception& error) {
            bench.findings.failed(error);
        }
    });
    bench.clock.onStandstill(nullptr);
}

void callTest(Interpreter& interpreter, TestBench& bench, const std::string& name)
{
    interpreter.protect([&](lua_State* state) {
        bench.list.push(state, name);
        if (lua_isnil(state, -1)) {
            throw std::runtime_error("the file has not declared this test again");
        }
        lua_call(state, 0, 0);
        settle(state, bench.clock, "the end of the test");
        return 0;
    });
}

void requireNoneRunning(const TimerSet& timers)
{
    std::string names;
    for (const auto& [number, timer] : timers.all()) {
        if (timer->isRunning()) {
            names += (names.empty() ? "" : ", ") + label(timer->settings());
        }
    }
    if (!names.empty()) {
        throw std::runtime_error("the test leaves running: " + names);
    }
}

} // namespace

TestListing listTests(const std::string& file, const World& world)
{
    TestListing listing;
    const std::string wrong = world(0, [&](TestClock& clock) {
        TestBench bench { clock, {}, {} };
        loadAndDo(file, bench, [](Interpreter&, TimerSet&) {});
        listing = { bench.list.tests(), bench.findings.text() };
    });
    if (listing.error.empty()) {
        listing.error = wrong;
    }
    if (listing.error.empty() && listing.tests.empty()) {
        listing.error = "there is no test in this file: test(\"name\", function() ... end) makes one";
    }
    if (!listing.error.empty()) {
        listing.tests.clear();
    }
    return listing;
}

std::string runTest(const std::string& file, const std::string& name, std::uint64_t seed, const World& world)
{
    std::string text = "the test has not ended";
    const std::string wrong = world(seed, [&](TestClock& clock) {
        TestBench bench { clock, {}, {} };
        loadAndDo(file, bench, [&](Interpreter& interpreter, TimerSet& timers) {
            callTest(interpreter, bench, name);
            requireNoneRunning(timers);
        });
        text = bench.findings.text();
    });
    return wrong.empty() ? text : wrong;
}

} // namespace tovrinhost
