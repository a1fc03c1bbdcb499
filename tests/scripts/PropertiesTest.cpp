#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

class PropertiesTest : public RehearsedTest { };

/// What the real clock has to show.
class RealClockTest : public ScriptTest { };

TEST_F(PropertiesTest, DefaultsAreAsDocumented)
{
    expectOutput(R"(
local t = timer { TimerFcn = function() end }
print(t.Name, t.ExecutionMode, t.BusyMode, t.Period, t.StartDelay, t.TasksToExecute)
print(t.StartFcn, t.StopFcn, t.ErrorFcn, type(t.TimerFcn))
print(t.Running, t.TasksExecuted, t.InstantPeriod, t.AveragePeriod, t.LastError)
local u = timer { TimerFcn = print }
print(u.Name, t, u)
)",
        "timer-1\tSingleShot\tDrop\t1.0\t0.0\tinf\nnil\tnil\tnil\tfunction\nfalse\t0\tnan\tnan\tnil\n"
        "timer-2\ttimer \"timer-1\" (stopped)\ttimer \"timer-2\" (stopped)\n");
}

TEST_F(PropertiesTest, ATimerAsTextTellsItsState)
{
    expectOutput(R"(
local t = timer { Name = "t", StartDelay = 60, TimerFcn = print }
print(t)
t:start()
print(t)
t:stop()
print(t)
t:delete()
print(t)
)",
        "timer \"t\" (stopped)\ntimer \"t\" (running)\ntimer \"t\" (stopped)\ntimer \"t\" (deleted)\n");
}

TEST_F(RealClockTest, NowCountsSecondsAndNeverGoesBack)
{
    expectOutput(R"(
local before, back = now(), 0
for _ = 1, 10000 do
  local after = now()
  if after < before then back = back + 1 end
  before = after
end
local begin, wall = now(), os.time()
pause(1)
print(back, now() - begin >= 1, math.abs((os.time() - wall) - (now() - begin)) <= 1)
)",
        "0\ttrue\ttrue\n");
}

TEST_F(PropertiesTest, TheLiveTimersAreListedInTheOrderOfTheirCreation)
{
    expectOutput(R"(
local function names() local s = "" for _, t in ipairs(timers()) do s = s .. t.Name .. " " end return s end
local a = timer { Name = "a", TimerFcn = print }
local b = timer { Name = "b", TimerFcn = print }
local c = timer { Name = "c", TimerFcn = print }
print(names(), timers()[1] == a)
b:delete()
print(names())
)",
        "a b c \ttrue\na c \n");
}

TEST_F(PropertiesTest, SettingsChangeWhileTheTimerRuns)
{
    expectOutput(R"(
local t = timer {
  ExecutionMode = "FixedSpacing", Period = 0.001, TasksToExecute = 4,
  TimerFcn = function(t)
    print("first")
    t.TimerFcn = function() print("second") end
    t.StopFcn = function() print("StopFcn") end
    t.Period = 0.002
    t.BusyMode = "Queue"
    t.TasksToExecute = 2
    print(t.Period, t.BusyMode, t.TasksToExecute)
  end,
}
t:start()
t:wait()
t.StopFcn = nil
print(t.StopFcn, t.TasksExecuted)
)",
        "first\n0.002\tQueue\t2\nsecond\nStopFcn\nnil\t2\n");
}

TEST_F(PropertiesTest, TheEventTellsTheTimeSince1970WithItsFraction)
{
    expectOutput(R"(
local before = os.time()
local times, fractions = {}, 0
local t = timer {
  ExecutionMode = "FixedSpacing", Period = 0.003, TasksToExecute = 20,
  TimerFcn = function(t, event)
    times[#times + 1] = event.Time
    if event.Time % 1 ~= 0 then fractions = fractions + 1 end
  end,
}
t:start()
t:wait()
assert(times[1] >= before and times[20] <= os.time() + 1)
for i = 2, 20 do assert(times[i] > times[i - 1] and times[i] - times[i - 1] < 1) end
assert(fractions >= 19)
print(math.type(times[1]))
)",
        "float\n");
}

TEST_F(PropertiesTest, TheEventTellsTypeAndLocalTime)
{
    expectOutput(R"(
local t = timer {
  StartFcn = function(t, event)
    print(event.Type, #event.Data)
    local y, m, d, h, min, s = table.unpack(event.Data)
    print(math.abs(os.time { year = y, month = m, day = d, hour = h, min = min, sec = math.floor(s) } - os.time()) <= 2)
    print(s >= 0 and s < 61, math.abs(s * 1000 - math.floor(s * 1000 + 0.5)) < 1e-6)
  end,
  TimerFcn = function(t, event) print(event.Type) end,
}
t:start()
t:wait()
)",
        "StartFcn\t6\ntrue\ntrue\ttrue\nTimerFcn\n");
}

TEST_F(PropertiesTest, ArgumentsAndLibrariesAreAsInTheStandaloneInterpreter)
{
    expectOutput("print(arg[0], arg[1], arg[2], #arg, ...) print(string.rep('x', 3), math.type(1), os.getenv ~= "
                 "nil, io.write ~= nil)",
        "script.lua\tone\ttwo words\t2\tone\ttwo words\nxxx\tinteger\ttrue\ttrue\n", { "one", "two words" });
}

TEST_F(RealClockTest, PeriodStatisticsAreInSeconds)
{
    const Outcome outcome = run(R"(
local first
local t = timer {
  ExecutionMode = "FixedRate", Period = 0.05, TasksToExecute = 2,
  TimerFcn = function() first = first or now() end,
}
local before = now()
t:start()
t:wait()
print("instant " .. t.InstantPeriod)
print("average " .. t.AveragePeriod)
print("late " .. first - before)
print("whole " .. now() - before)
)");

    const auto instant = numbersAfter(outcome.out, "instant");
    const auto late = numbersAfter(outcome.out, "late");
    const auto whole = numbersAfter(outcome.out, "whole");
    ASSERT_EQ(instant.size(), 1U) << outcome.err;
    ASSERT_EQ(late.size(), 1U);
    ASSERT_EQ(whole.size(), 1U);
    // A first run that is late and a second one that is not are closer to each other than the period.
    EXPECT_GE(instant[0], 0.05 - late[0] - 0.001);
    EXPECT_LE(instant[0], whole[0] + 0.001);
    EXPECT_EQ(numbersAfter(outcome.out, "average"), instant);
}

} // namespace

} // namespace scripts
