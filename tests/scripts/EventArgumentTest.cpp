#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// Which callbacks are given an event. One that cannot see it has none made, and must not notice.
class EventArgumentTest : public RehearsedTest { };

TEST_F(EventArgumentTest, EachFormOfAFunctionGetsWhatItTakes)
{
    expectOutput(R"(
local function fire(f) timer { Name = "t", TimerFcn = f }:start():wait() end
fire(function() print("nothing") end)
fire(function(t) print(t.Name) end)
fire(function(t, event) print(t.Name, event.Type, #event.Data, event.Lateness >= 0) end)
fire(function(t, event, more) print(t.Name, event.Type, more) end)
fire(function(...) print(select("#", ...), (...).Name, select(2, ...).Type) end)
fire(function(t, ...) print(t.Name, select("#", ...), (...).Type) end)
)",
        "nothing\nt\nt\tTimerFcn\t6\ttrue\nt\tTimerFcn\tnil\n2\tt\tTimerFcn\nt\t1\tTimerFcn\n");
}

TEST_F(EventArgumentTest, AFunctionThatIsNotLuasGetsTheEvent)
{
    const Outcome outcome = run(R"(
timer { Name = "t", TimerFcn = print }:start():wait()
timer { TimerFcn = coroutine.wrap(function(t, event) print(event.Type) end) }:start():wait()
)");

    EXPECT_THAT(lines(outcome.out),
        testing::ElementsAre(testing::MatchesRegex("timer \"t\" \\(running\\)\ttable: .*"), "TimerFcn"));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(EventArgumentTest, WhatIsAssignedWhileTheTimerRunsGetsWhatItTakes)
{
    expectOutput(R"(
local t = timer { ExecutionMode = "FixedSpacing", Period = 0.001, TasksToExecute = 4, TimerFcn = print }
local function last(...) print("last", select("#", ...)) end
local function third(_, event) print("third", event.Type) t.TimerFcn = last end
local function second(t) print("second", t.TasksExecuted) t.TimerFcn = third end
t.TimerFcn = function() print("first") t.TimerFcn = second end
t:start()
)",
        "first\nsecond\t2\nthird\tTimerFcn\nlast\t2\n");
}

TEST_F(EventArgumentTest, EachCallbackOfATimerHasAFormOfItsOwn)
{
    const Outcome outcome = run(R"(
timer {
  Name = "t", StartFcn = function(t) print("StartFcn", t.Name) end, TimerFcn = function() error("fails", 0) end,
  ErrorFcn = function(_, event) print(event.Type, event.Callback, event.Error) end,
  StopFcn = function(...) print(select(2, ...).Type, select(2, ...).Reason) end,
}:start()
)");

    EXPECT_EQ(outcome.out, "StartFcn\tt\nErrorFcn\tTimerFcn\tfails\nStopFcn\terror\n");
    EXPECT_EQ(outcome.status, 1);
}

} // namespace

} // namespace scripts
