#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// A number of tasks that changes while the timer runs: the run ends by it, or it is refused.
class TaskNumberTest : public RehearsedTest {
protected:
    /// \param script given `run(properties, change)`: a run of five tasks; `change(t, n)` is called in each
    /// TimerFcn
    void expectOutput(const std::string& script, const std::string& output)
    {
        RehearsedTest::expectOutput(R"(local periodic = { "FixedSpacing", "FixedDelay", "FixedRate" }
local function run(mode, change, stopFcn)
  local t = timer { Name = "t", ExecutionMode = mode, Period = 0.002, TasksToExecute = 5, StopFcn = stopFcn, TimerFcn = function(t) change(t, t.TasksExecuted) end }
  t:start()
  local ended, reason = t:wait()
  print(mode, t.TasksExecuted, reason)
  return t
end
)" + script,
            output);
    }
};

TEST_F(TaskNumberTest, LoweredToWhatHasRunOrBelowItEndsTheRunAfterThePresentCallback)
{
    expectOutput(R"(
for _, mode in ipairs(periodic) do
  for _, number in ipairs { 3, 2, 1 } do
    run(mode, function(t, n) if n == 3 then t.TasksToExecute = number end end)
  end
  run(mode, function(t, n) if n == 3 then t.TasksToExecute = 1 pause(0.02) end end, function(t, event) print(event.Type, event.Reason) end)
end
)",
        "FixedSpacing\t3\ttasks done\nFixedSpacing\t3\ttasks done\nFixedSpacing\t3\ttasks done\n"
        "StopFcn\ttasks done\nFixedSpacing\t3\ttasks done\n"
        "FixedDelay\t3\ttasks done\nFixedDelay\t3\ttasks done\nFixedDelay\t3\ttasks done\n"
        "StopFcn\ttasks done\nFixedDelay\t3\ttasks done\n"
        "FixedRate\t3\ttasks done\nFixedRate\t3\ttasks done\nFixedRate\t3\ttasks done\n"
        "StopFcn\ttasks done\nFixedRate\t3\ttasks done\n");
}

TEST_F(TaskNumberTest, LoweredToTheNextOneEndsTheRunAfterIt)
{
    expectOutput(R"(
for _, mode in ipairs(periodic) do
  run(mode, function(t, n) if n == 2 then t.TasksToExecute = 3 end end)
  run(mode, function(t, n) if n == 2 then t.TasksToExecute = 4 end end)
end
)",
        "FixedSpacing\t3\ttasks done\nFixedSpacing\t4\ttasks done\nFixedDelay\t3\ttasks done\n"
        "FixedDelay\t4\ttasks done\nFixedRate\t3\ttasks done\nFixedRate\t4\ttasks done\n");
}

TEST_F(TaskNumberTest, LoweredBetweenTwoCallbacksEndsTheRunAtOnce)
{
    expectOutput(R"(
for _, mode in ipairs(periodic) do
  local ran
  local t = timer {
    ExecutionMode = mode, Period = 60, TasksToExecute = 5, TimerFcn = function() ran = true end,
    StopFcn = function(t, event) print(event.Type, event.Reason, t.TasksExecuted) end,
  }
  t:start()
  while not ran do pause(0.001) end
  t.TasksToExecute = 1
  print(t:wait())
end
)",
        "StopFcn\ttasks done\t1\ntrue\ttasks done\nStopFcn\ttasks done\t1\ntrue\ttasks done\n"
        "StopFcn\ttasks done\t1\ntrue\ttasks done\n");
}

TEST_F(TaskNumberTest, LoweredWhileSeveralCallbacksWaitDropsThoseBeyondIt)
{
    expectOutput(R"(
local t = timer { ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.001, TasksToExecute = 5, TimerFcn = function() end }
t:start()
busy(0.1)
t.TasksToExecute = 2
print(t:wait())
print(t.TasksExecuted)
)",
        "true\ttasks done\n2\n");
}

TEST_F(TaskNumberTest, ARunThatWasLoweredToItsPresentCallbackIsNotOverrun)
{
    expectOutput(R"(
local t = timer {
  ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.01, TasksToExecute = 5,
  TimerFcn = function(t) t.TasksToExecute = 1 busy(0.1) end, StopFcn = function(t, event) print(event.Reason) end,
}
t:start()
print(t:wait())
t.TasksToExecute = 5
t.StopFcn = nil
t:start()
print(t:wait())
)",
        "tasks done\ntrue\ttasks done\ntrue\ttasks done\n");
}

TEST_F(TaskNumberTest, ARunThatWasLoweredToItsNextCallbackIsNotOverrunThereEither)
{
    expectOutput(R"(
local t = timer {
  ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.3, TasksToExecute = 5,
  TimerFcn = function(t)
    if t.TasksExecuted == 1 then t.TasksToExecute = 2 else busy(0.7) print(t.Running, t.LastError) end
  end,
}
t:start()
print(t:wait())
)",
        "true\tnil\ntrue\ttasks done\n");
}

TEST_F(TaskNumberTest, RaisedBeforeTheLastCallbackItIsHonouredInEachMode)
{
    expectOutput(R"(
for _, mode in ipairs(periodic) do
  run(mode, function(t, n) if n == 3 then t.TasksToExecute = 7 end end)
end
run("FixedSpacing", function(t, n) if n == 5 then t.TasksToExecute = 7 end end)
)",
        "FixedSpacing\t7\ttasks done\nFixedDelay\t7\ttasks done\nFixedRate\t7\ttasks done\nFixedSpacing\t7\ttasks "
        "done\n");
}

TEST_F(TaskNumberTest, RaisedInTheLastCallbackOfFixedDelayOrRateItIsRefusedAndNothingChanges)
{
    expectOutput(R"(
for _, mode in ipairs { "FixedDelay", "FixedRate" } do
  local t = run(mode, function(t, n)
    if n == 5 then
      busy(0.01)
      print(pcall(function() t.TasksToExecute = 7 end))
      print(pcall(function() t.TasksToExecute = math.huge end))
      print(t.TasksToExecute)
    end
  end)
  t.TasksToExecute = 7
end
)",
        [] {
            std::string both;
            for (const std::string mode : { "FixedDelay", "FixedRate" }) {
                for (const std::string value : { "7", "inf" }) {
                    both += "false\tscript.lua:" + std::string(value == "7" ? "14" : "15")
                        + ": timer \"t\": TasksToExecute is " + value
                        + ", but must be at most 5 until this run has ended: the last TimerFcn by that number has "
                          "been "
                          "dispatched\n";
                }
                both += "5\n" + mode + "\t5\ttasks done\n";
            }
            return both;
        }());
}

TEST_F(TaskNumberTest, RaisedAfterTheLastCallbackWhileTheStopFcnWaitsItIsRefused)
{
    expectOutput(R"(
for _, mode in ipairs { "FixedSpacing", "FixedDelay" } do
  local t = timer { ExecutionMode = mode, Period = 0.001, TasksToExecute = 1, TimerFcn = function() end, StopFcn = function() print("StopFcn") end }
  t:start()
  after(0, function() print(mode, t.Running, t.TasksExecuted, (pcall(function() t.TasksToExecute = 2 end)), t.TasksToExecute) end)
  busy(0.1) -- both wait now, and the StopFcn comes behind them
  t:wait()
end
)",
        "FixedSpacing\ttrue\t1\tfalse\t1\nStopFcn\nFixedDelay\ttrue\t1\tfalse\t1\nStopFcn\n");
}

TEST_F(TaskNumberTest, RaisedOnceAllHaveBeenDispatchedToAQueueItIsRefused)
{
    expectOutput(R"(
local t = timer { Name = "t", ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.001, TasksToExecute = 2, TimerFcn = function() end }
t:start()
busy(0.1)
print((pcall(function() t.TasksToExecute = 3 end)), t.TasksExecuted, t.TasksToExecute)
t.TasksToExecute = 1
t.TasksToExecute = 2
t:wait()
print(t.TasksExecuted)
)",
        "false\t0\t2\n2\n");
}

TEST_F(TaskNumberTest, ARunThatIsNotUnderWayTakesAnyNumberForTheNext)
{
    expectOutput(R"(
local t = timer { ExecutionMode = "FixedDelay", Period = 0.001, TasksToExecute = 1, TimerFcn = function() end, StopFcn = function(t) t.TasksToExecute = 3 end }
t:start()
t:wait()
print(t.TasksExecuted, t.TasksToExecute)
t:start()
t:wait()
print(t.TasksExecuted)
t.StopFcn = nil
t.TimerFcn = function(t) t:stop() t.TasksToExecute = 9 end
t:start()
t:wait()
print(t.TasksExecuted, t.TasksToExecute)
)",
        "1\t3\n3\n1\t9\n");
}

TEST_F(TaskNumberTest, InSingleShotModeItMayHaveAnyValueAtAnyTime)
{
    expectOutput(R"(
local t = run("SingleShot", function(t, n) t.TasksToExecute = 9 t.TasksToExecute = 1 end)
print(t.TasksToExecute)
)",
        "SingleShot\t1\ttasks done\n1\n");
}

} // namespace

} // namespace scripts
