#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class CallbackErrorTest : public RehearsedTest { };

TEST_F(CallbackErrorTest, AFailingTimerFcnIsReportedAndErrorFcnAndStopFcnRun)
{
    const Outcome outcome = run(R"(
local t = timer {
  Name = "hb", TimerFcn = function() error("boom") end,
  ErrorFcn = function(t, event) print(event.Type, t.LastError, t.Running) end,
  StopFcn = function(t, event) print(event.Type, t.Running) end,
}
t:start()
print(t:wait(), t.LastError)
)");

    EXPECT_EQ(outcome.out, "ErrorFcn\tscript.lua:3: boom\ttrue\nStopFcn\tfalse\ntrue\tscript.lua:3: boom\n");
    EXPECT_THAT(outcome.err,
        StartsWith("tovrin: error in TimerFcn of timer \"hb\": script.lua:3: boom\nstack traceback:\n"));
    EXPECT_THAT(outcome.err, HasSubstr("script.lua:3: in "));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, InEveryModeAnErrorEndsTheRunWithErrorFcnThenStopFcn)
{
    const Outcome outcome = run(R"(
local function run(mode, busy)
  local t = timer {
    ExecutionMode = mode, BusyMode = busy, Period = 0.001, TasksToExecute = 5, StartFcn = function() io.write("StartFcn ") end,
    TimerFcn = function(t) io.write("TimerFcn ") if t.TasksExecuted == 2 or mode == "SingleShot" then error("boom") end end,
    ErrorFcn = function() io.write("ErrorFcn ") end,
    StopFcn = function() io.write("StopFcn ") end,
  }
  t:start()
  t:wait()
  pause(0.02)
  print(mode, t.Running)
end
run("SingleShot", "Drop")
run("FixedSpacing", "Drop")
run("FixedDelay", "Drop")
run("FixedRate", "Drop")
run("FixedRate", "Queue")
)");

    EXPECT_EQ(outcome.out,
        "StartFcn TimerFcn ErrorFcn StopFcn SingleShot\tfalse\n"
        "StartFcn TimerFcn TimerFcn ErrorFcn StopFcn FixedSpacing\tfalse\n"
        "StartFcn TimerFcn TimerFcn ErrorFcn StopFcn FixedDelay\tfalse\n"
        "StartFcn TimerFcn TimerFcn ErrorFcn StopFcn FixedRate\tfalse\n"
        "StartFcn TimerFcn TimerFcn ErrorFcn StopFcn FixedRate\tfalse\n");
    EXPECT_EQ(linesWith(outcome.err, "boom").size(), 5U);
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, ACallbackThatStopsItsTimerAndThenFailsBringsTheErrorFcnAndOneStopFcn)
{
    const Outcome outcome = run(R"(
local t = timer {
  ExecutionMode = "FixedRate", Period = 0.01,
  TimerFcn = function(t) t:stop() error("boom") end,
  ErrorFcn = function() print("ErrorFcn") end,
  StopFcn = function() print("StopFcn") end,
}
t:start()
print(t:wait())
)");

    EXPECT_EQ(outcome.out, "ErrorFcn\nStopFcn\ntrue\terror\n");
    EXPECT_EQ(linesWith(outcome.err, "boom").size(), 1U);
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, WithBusyModeErrorAFailingCallbackIsNoContention)
{
    const Outcome outcome = run(R"(
local function say(t, event) print(event.Type) end
local t = timer {
  ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.5, TasksToExecute = 5, ErrorFcn = say, StopFcn = say,
  TimerFcn = function(t, event) say(t, event) error("boom") end,
}
t:start()
t:wait()
pause(0.7)
print(t.Running, t.TasksExecuted)
)");

    EXPECT_EQ(outcome.out, "TimerFcn\nErrorFcn\nStopFcn\nfalse\t1\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, AnErrorOfAnyValueIsShownAsText)
{
    const Outcome outcome = run(R"(
local function try(value)
  local t = timer { Name = "t", TimerFcn = function() error(value) end }
  t:start()
  t:wait()
  print(t.LastError)
end
try(nil)
try(42)
try(false)
try(setmetatable({}, { __tostring = function() return "an object" end }))
)");

    EXPECT_EQ(outcome.out, "nil\n42\nfalse\nan object\n");
    EXPECT_THAT(linesWith(outcome.err, "tovrin:"),
        testing::ElementsAre("tovrin: error in TimerFcn of timer \"t\": nil",
            "tovrin: error in TimerFcn of timer \"t\": 42", "tovrin: error in TimerFcn of timer \"t\": false",
            "tovrin: error in TimerFcn of timer \"t\": an object"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, NamesAndErrorTextsForgeNoLineAndControlNoTerminal)
{
    const Outcome outcome = run(R"(
local forged = "\ntovrin: error in script: forged \x1b[2J\u{9b}31m"
_G["f" .. forged] = function() error("boom" .. forged) end
local t = timer { Name = "hb" .. forged, TimerFcn = _G["f" .. forged] }
t:start()
print(t:wait(), t.LastError == "script.lua:3: boom" .. forged)
)");

    const std::string shown = "\\ntovrin: error in script: forged \\x1b[2J\\xc2\\x9b31m";
    EXPECT_THAT(outcome.err,
        StartsWith("tovrin: error in TimerFcn of timer \"hb" + shown + "\": script.lua:3: boom" + shown
            + "\nstack traceback:\n\t[C]: in function 'error'\n\tscript.lua:3: in function 'f" + shown + "'\n"));
    EXPECT_EQ(outcome.out, "true\ttrue\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, AModuleThatIsNotFoundIsReportedOnLinesOfItsOwn)
{
    const Outcome outcome = run(R"(
package.path, package.cpath = "./?.lua;./?/init.lua", "./?.so"
local t = timer { Name = "t", TimerFcn = function() require "one" end }
t:start()
t:wait()
require "other"
)");

    EXPECT_THAT(outcome.err,
        StartsWith("tovrin: error in TimerFcn of timer \"t\": script.lua:3: module 'one' not found:\n"
                   "\tno field package.preload['one']\n"
                   "\tno file './one.lua'\n"
                   "\tno file './one/init.lua'\n"
                   "\tno file './one.so'\n"
                   "stack traceback:\n"));
    EXPECT_THAT(outcome.err,
        HasSubstr("\ntovrin: error in script: script.lua:6: module 'other' not found:\n"
                  "\tno field package.preload['other']\n"
                  "\tno file './other.lua'\n"
                  "\tno file './other/init.lua'\n"
                  "\tno file './other.so'\n"
                  "stack traceback:\n"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, AFailingStartFcnEndsTheRun)
{
    const Outcome outcome = run(R"(
local function say(t, event) print(event.Type) end
local t = timer { StartFcn = function() error("boom") end, TimerFcn = say, ErrorFcn = say, StopFcn = say, StartDelay = 0.01 }
t:start()
print(t:wait(), t.TasksExecuted)
)");

    EXPECT_EQ(outcome.out, "ErrorFcn\nStopFcn\ntrue\t0\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, ErrorsInErrorFcnAndStopFcnAreReportedOnly)
{
    const Outcome outcome = run(R"(
local function fail(t, event) print(event.Type) error("in " .. event.Type, 0) end
local t = timer { Name = "hb", TimerFcn = fail, ErrorFcn = fail, StopFcn = fail }
t:start()
t:wait()
print(t.LastError, t.Running)
)");

    EXPECT_EQ(outcome.out, "TimerFcn\nErrorFcn\nStopFcn\nin StopFcn\tfalse\n");
    EXPECT_THAT(linesWith(outcome.err, "tovrin:"),
        testing::ElementsAre("tovrin: error in TimerFcn of timer \"hb\": in TimerFcn",
            "tovrin: error in ErrorFcn of timer \"hb\": in ErrorFcn",
            "tovrin: error in StopFcn of timer \"hb\": in StopFcn"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, WithoutErrorFcnAndStopFcnTheRunStillEnds)
{
    const Outcome outcome = run(R"(
local t = timer { ExecutionMode = "FixedRate", Period = 0.001, TimerFcn = function() error({}) end }
t:start()
print(t:wait(), t.TasksExecuted, t.LastError:match("^table:") ~= nil)
)");

    EXPECT_EQ(outcome.out, "true\t1\ttrue\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, OtherTimersGoOn)
{
    const Outcome outcome = run(R"(
local good = timer { ExecutionMode = "FixedRate", Period = 0.01, TasksToExecute = 5, TimerFcn = function() end }
good:start()
timer { TimerFcn = function() error("boom") end }:start()
print(good:wait(), good.TasksExecuted)
)");

    EXPECT_EQ(outcome.out, "true\t5\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, AFailingScriptStopsItsTimers)
{
    const Outcome outcome = run(R"(
timer { StartDelay = 60, TimerFcn = print, StopFcn = function() print("StopFcn") end }:start()
error("broken")
)");

    EXPECT_EQ(outcome.out, "StopFcn\n");
    EXPECT_THAT(outcome.err, StartsWith("tovrin: error in script: script.lua:3: broken\nstack traceback:\n"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CallbackErrorTest, TooLongABacklogIsAnErrorOfItsTimerAlone)
{
    const Outcome outcome = run(R"(
local slow = timer {
  Name = "slow", ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.001,
  TimerFcn = function() busy(0.03) end,
  ErrorFcn = function(t, event) print(event.Type) end, StopFcn = function(t, event) print(event.Type) end,
}
local other = timer { ExecutionMode = "FixedRate", Period = 0.05, TasksToExecute = 8, TimerFcn = function() end }
slow:start()
other:start()
print((slow:wait()))
print(slow.Running, other:wait(), other.TasksExecuted)
)",
        { "--max-backlog", "25" });

    EXPECT_EQ(outcome.out, "ErrorFcn\nStopFcn\ntrue\nfalse\ttrue\t8\n");
    EXPECT_EQ(outcome.err,
        "tovrin: error in timer \"slow\": more than 25 of its callbacks are waiting to run (the limit is set by "
        "--max-backlog); the timer is stopped\n");
    EXPECT_EQ(outcome.status, 1);
}

} // namespace

} // namespace scripts
