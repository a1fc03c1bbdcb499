#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// When a timer is due next, and what keeps a program from its end.
class WhatIsToComeTest : public RehearsedTest { };

TEST_F(WhatIsToComeTest, RemainingAndNextTimeTellWhenTheNextTimerFcnIsDue)
{
    expectOutput(R"(
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" } do
  local t = timer { ExecutionMode = mode, StartDelay = 60, StartFcn = function() end, TimerFcn = print }
  print(mode, t.Remaining, t.NextTime)
  t:start()
  for i = 1, 2 do
    local r, n = t.Remaining, t.NextTime - os.time()
    print(r > 50 and r <= 60.1, n > 50 and n <= 61.1, math.abs(t.Remaining - r) < 5)
    pause(0.01)
  end
  t:stop()
  print(t.Remaining, t.NextTime)
end
)",
        [] {
            std::string all;
            for (const std::string mode : { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" }) {
                all += mode + "\tnil\tnil\ntrue\ttrue\ttrue\ntrue\ttrue\ttrue\nnil\tnil\n";
            }
            return all;
        }());
}

TEST_F(WhatIsToComeTest, BetweenTwoCallbacksItIsThePeriodThatIsLeft)
{
    expectOutput(R"(
for _, mode in ipairs { "FixedSpacing", "FixedDelay", "FixedRate" } do
  local inside
  local t = timer { ExecutionMode = mode, Period = 60, TasksToExecute = 2, TimerFcn = function(t) inside = t.Remaining or false end }:start()
  while inside == nil do pause(0.001) end
  print(mode, inside and inside > 50 and inside <= 60.001, t.Remaining > 50 and t.Remaining <= 60.001)
  t:stop()
end
)",
        "FixedSpacing\tfalse\ttrue\nFixedDelay\ttrue\ttrue\nFixedRate\ttrue\ttrue\n");
}

TEST_F(WhatIsToComeTest, OneThatWaitsForTheScriptIsTheNextOne)
{
    expectOutput(R"(
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" } do
  local t = timer { ExecutionMode = mode, BusyMode = "Queue", Period = 60, TimerFcn = print }:start()
  print(mode, t.Remaining, t.NextTime - os.time() < 2)
  t:stop()
end
)",
        "SingleShot\t0.0\ttrue\nFixedSpacing\t0.0\ttrue\nFixedDelay\t0.0\ttrue\nFixedRate\t0.0\ttrue\n");
}

TEST_F(WhatIsToComeTest, InAndAfterTheLastCallbackThereIsNone)
{
    expectOutput(R"(
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" } do
  local t = timer {
    ExecutionMode = mode, Period = 0.001, TasksToExecute = 2, StopFcn = function(t) print(t.Remaining) end,
    TimerFcn = function(t) if mode == "SingleShot" or t.TasksExecuted == 2 then io.write(mode, " ", tostring(t.Remaining), " ") end end,
  }:start()
  t:wait()
end
local lowered = every(0.001, function(t) if t.TasksExecuted == 2 then t.TasksToExecute = 2 print(t.Remaining) end end)
lowered:wait()
)",
        "SingleShot nil nil\nFixedSpacing nil nil\nFixedDelay nil nil\nFixedRate nil nil\nnil\n");
}

TEST_F(WhatIsToComeTest, WhatIsDueAlreadyAndWaitsHasNothingLeftAndATimeInThePast)
{
    expectOutput(R"(
for _, mode in ipairs { "Drop", "Queue" } do
  local begin = date()
  local t = timer { ExecutionMode = "FixedRate", BusyMode = mode, StartDelay = 0.01, Period = 0.01, TimerFcn = function() end }:start()
  busy(0.1)
  print(mode, t.Remaining, t.NextTime < date(), t.NextTime >= begin)
  t:stop()
end
local dropping
local t = timer { ExecutionMode = "FixedRate", Period = 0.01, TasksToExecute = 3, TimerFcn = function(t) busy(0.1) dropping = dropping or t.Remaining end }:start()
t:wait()
print(dropping)
)",
        "Drop\t0.0\ttrue\ttrue\nQueue\t0.0\ttrue\ttrue\n0.0\n");
}

TEST_F(WhatIsToComeTest, ItIsKnownThoughManyFiringsHaveComeSinceItWasQueued)
{
    expectOutput(R"(
local slow = timer { StartDelay = 600, TimerFcn = print }:start()
local ran = 0
local many = {}
for i = 1, 100 do
  many[i] = timer { ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.001, TasksToExecute = 400, TimerFcn = function() ran = ran + 1 end }:start()
end
wait(table.unpack(many))
print(ran, slow.Remaining > 400 and slow.Remaining < 600)
slow:stop()
print(slow.Remaining)
)",
        "40000\ttrue\nnil\n");
}

TEST_F(WhatIsToComeTest, ATimerThatDoesNotKeepTheProgramAliveIsStoppedInOrderAtItsEnd)
{
    expectOutput(R"(
local function tell(t, event) print(t.Name, event.Reason) end
timer { Name = "background", ExecutionMode = "FixedRate", Period = 0.01, KeepsAlive = false, TimerFcn = function() end, StopFcn = tell }:start()
timer { Name = "later", StartDelay = 600, KeepsAlive = false, TimerFcn = print, StopFcn = tell }:start()
local t = timer { Name = "work", StartDelay = 0.05, TimerFcn = function() print("work") end, StopFcn = tell }:start()
print(t.KeepsAlive, find("later").KeepsAlive)
)",
        "true\tfalse\nwork\nwork\ttasks done\nbackground\tinterrupted\nlater\tinterrupted\n");
}

TEST_F(WhatIsToComeTest, WithNoOtherTimerTheProgramEndsWithTheScript)
{
    expectOutput(R"(
timer { StartDelay = 600, KeepsAlive = false, TimerFcn = print, StopFcn = function() print("StopFcn") end }:start()
print("end")
)",
        "end\nStopFcn\n");
}

TEST_F(WhatIsToComeTest, ItIsWaitedForAllTheSame)
{
    expectOutput(R"(
local t = timer { StartDelay = 0.02, KeepsAlive = false, TimerFcn = function() print("TimerFcn") end }:start()
print(t:wait())
t:start()
print(wait(t))
)",
        "TimerFcn\ntrue\ttasks done\nTimerFcn\ntrue\n");
}

TEST_F(WhatIsToComeTest, WhetherATimerKeepsTheProgramAliveMayChangeAtAnyTime)
{
    expectOutput(R"(
local function tell(t, event) print(t.Name, event.Reason) end
local a = timer { Name = "a", StartDelay = 600, TimerFcn = print, StopFcn = tell }:start()
local b = timer { Name = "b", StartDelay = 0.1, KeepsAlive = false, TimerFcn = function() print("b runs") end, StopFcn = tell }:start()
after(0.01, function() a.KeepsAlive = false b.KeepsAlive = true end)
)",
        "b runs\nb\ttasks done\na\tinterrupted\n");
}

} // namespace

} // namespace scripts
