#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// Stops, restarts and deletions: the StopFcn runs once for each run, whatever the timing.
class EndOfRunTest : public RehearsedTest { };

TEST_F(EndOfRunTest, StoppedBeforeItFiresATimerRunsStartFcnAndStopFcn)
{
    expectOutput(R"(
local function say(t, event) print(event.Type) end
local t = timer { StartDelay = 60, StartFcn = say, TimerFcn = say, StopFcn = say }
t:start()
t:stop()
print("stop returned", t.Running)
print(t:wait(), t.TasksExecuted)
)",
        "stop returned\ttrue\nStartFcn\nStopFcn\ntrue\t0\n");
}

TEST_F(EndOfRunTest, StoppedTwiceOrWhenStoppedATimerRunsItsStopFcnOnce)
{
    expectOutput(R"(
local t = timer { StartDelay = 60, TimerFcn = print, StopFcn = function() print("StopFcn") end }
t:stop()
t:start()
t:stop()
t:stop()
t:wait()
t:stop()
pause(0.02)
)",
        "StopFcn\n");
}

TEST_F(EndOfRunTest, AStopInEachCallbackEndsTheRunOnce)
{
    expectOutput(R"(
local function run(name, mode, stopIn)
  local function callback(t, event)
    io.write(event.Type, " ")
    if event.Type == stopIn then t:stop() end
  end
  local t = timer { ExecutionMode = mode, Period = 0.001, TasksToExecute = 3, StartFcn = callback, TimerFcn = callback, StopFcn = callback }
  t:start()
  t:wait()
  print(t.TasksExecuted)
end
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" } do
  run("a", mode, "StartFcn")
  run("b", mode, "TimerFcn")
end
run("c", "SingleShot", "StopFcn")
)",
        "StartFcn StopFcn 0\nStartFcn TimerFcn StopFcn 1\n"
        "StartFcn StopFcn 0\nStartFcn TimerFcn StopFcn 1\n"
        "StartFcn StopFcn 0\nStartFcn TimerFcn StopFcn 1\n"
        "StartFcn StopFcn 0\nStartFcn TimerFcn StopFcn 1\n"
        "StartFcn TimerFcn StopFcn 1\n");
}

TEST_F(EndOfRunTest, AStopInTheLastCallbackMeetsTheNaturalEndAndTheStopFcnRunsOnce)
{
    expectOutput(R"(
for _, mode in ipairs { "FixedSpacing", "FixedDelay", "FixedRate" } do
  local stops = 0
  local t = timer {
    ExecutionMode = mode, Period = 0.001, TasksToExecute = 2,
    TimerFcn = function(t) if t.TasksExecuted == 2 then pause(0.01) t:stop() end end,
    StopFcn = function() stops = stops + 1 end,
  }
  for i = 1, 20 do
    t:start()
    t:wait()
  end
  pause(0.02)
  print(mode, stops)
end
)",
        "FixedSpacing\t20\nFixedDelay\t20\nFixedRate\t20\n");
}

using RacingStopsTest = ScriptTest;

TEST_F(RacingStopsTest, TheyRunTheStopFcnOncePerRun)
{
    expectOutput(R"(
local starts, stops = 0, 0
local t = timer {
  ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.001, TasksToExecute = 4, StartFcn = function() starts = starts + 1 end,
  TimerFcn = function() end, StopFcn = function() stops = stops + 1 end,
}
for i = 1, 200 do
  t:start()
  local until_ = now() + i * 0.00003
  while now() < until_ do end
  t:stop()
  t:wait()
end
print(starts, stops)
)",
        "200\t200\n");
}

TEST_F(EndOfRunTest, DeletingARunningTimerRunsItsStopFcnBeforeItReturns)
{
    expectOutput(R"(
local t = timer { Name = "t", StartDelay = 60, StartFcn = function() print("StartFcn") end, TimerFcn = print, StopFcn = function(t) print("StopFcn of " .. t.Name) end }
t:start()
t:delete()
print("deleted", #timers())
)",
        "StartFcn\nStopFcn of t\ndeleted\t0\n");
}

TEST_F(EndOfRunTest, CallbacksMayStartStopAndDeleteTimersThemselvesIncluded)
{
    expectOutput(R"(
local function say(t, event) print(t.Name, event.Type) end
local a = timer { Name = "a", StartDelay = 60, TimerFcn = say, StopFcn = say }
local b = timer { Name = "b", StartDelay = 60, TimerFcn = say, StopFcn = say }
local c = timer { Name = "c", TimerFcn = say, StopFcn = say }
a:start()
b:start()
local d = timer {
  Name = "d", StopFcn = say,
  TimerFcn = function(d, event)
    say(d, event)
    a:stop()
    b:delete()
    c:start()
    d:delete()
    print("end of callback")
  end,
}
d:start()
pause(0.02)
a:wait()
c:wait()
print(#timers())
)",
        "d\tTimerFcn\nb\tStopFcn\nd\tStopFcn\nend of callback\na\tStopFcn\nc\tTimerFcn\nc\tStopFcn\n2\n");
}

} // namespace

} // namespace scripts
