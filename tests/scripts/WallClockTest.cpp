#include "tests/scripts/ScriptTest.hpp"
#include "tests/scripts/platform/Platform.hpp"

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::StartsWith;

/// Scripts by the system's own clock; what comes of it when it is set, the tests of the clock show.
using WallClockTest = ScriptTest;

/// What scripts make of moments of a clock that are to come.
class AppointmentTest : public RehearsedTest {
protected:
    void expectRefusal(const std::string& statement, const std::string& message)
    {
        EXPECT_EQ(run("local t = timer { Name = 't', TimerFcn = print }\nprint(select(2, pcall(function() "
                      + statement + " end)), t.Running)")
                      .out,
            "script.lua:2: " + message + "\tfalse\n");
    }
};

TEST_F(WallClockTest, ATimerStartsAtAMomentAndNotBefore)
{
    expectOutput(R"(
local when = date() + 1
local t = timer { StartDelay = 60, TimerFcn = function(_, event) print("fires", date() >= when, event.Time >= when) end }
t.StartFcn = function() print("starts", date() >= when) end
t.StopFcn = function(t) print("stops", t.Running) end
print(t:startAt(when) == t, t.Running, t:wait(0.01))
print((t:wait()), t.Running)
)",
        "true\ttrue\tfalse\nstarts\ttrue\nfires\ttrue\ttrue\nstops\tfalse\ntrue\tfalse\n");
}

TEST_F(AppointmentTest, ATableOfLocalTimeIsAMomentAsOsTimeHasIt)
{
    expectOutput(R"(
local when = os.time() + 2
for _, fields in ipairs { os.date("*t", when), {
    year = os.date("%Y", when) // 1, month = os.date("%m", when) // 1, day = 0, hour = 24 * os.date("%d", when),
    minute = 60 * os.date("%H", when) + os.date("%M", when), second = os.date("%S", when) // 1 } } do
  timer { TimerFcn = function() print(date() >= when, date() < when + 30) end }:startAt(fields)
end
)",
        "true\ttrue\ntrue\ttrue\n");
}

TEST_F(AppointmentTest, AMomentThatHasPassedIsNow)
{
    expectOutput(R"(
timer { TimerFcn = function() print("number") end }:startAt(date() - 1):wait()
timer { TimerFcn = function() print("far back") end }:startAt(-math.huge):wait()
timer { TimerFcn = function() print("table") end }:startAt({ year = 1999, month = 12, day = 31 }):wait()
)",
        "number\nfar back\ntable\n");
}

TEST_F(AppointmentTest, AStopTakesItBackWithoutACallback)
{
    expectOutput(R"(
local t = timer { StartFcn = print, TimerFcn = print, StopFcn = print }
t:startAt(date() + 0.1)
print(t:stop(), t.Running, t:stop())
print(t:wait())
pause(0.3)
t:startAt(date() + 0.1):delete()
timer { TimerFcn = print, StopFcn = print }:startAt(date() + 3600)
os.exit(0)
)",
        "true\tfalse\tfalse\ntrue\tstopped\n");
}

TEST_F(AppointmentTest, ItCanBeStartedAtOneMomentAtATime)
{
    expectOutput(R"(
local t = timer { Name = "t", TimerFcn = function() print("fires") end }
t:startAt(date() + 0.1)
print(pcall(t.startAt, t, date()))
print(pcall(t.start, t))
print(pcall(function() t.ExecutionMode = "FixedRate" end))
t:wait()
t:start()
)",
        "false\ttimer \"t\": the timer is to start at another moment already; stop it first\n"
        "false\ttimer \"t\": the timer is already running; only a stopped timer can be started\n"
        "false\tscript.lua:6: timer \"t\": ExecutionMode cannot be changed while the timer is running; stop it "
        "first\n"
        "fires\nfires\n");
}

TEST_F(AppointmentTest, ACallbackSaysWhenItsTimerIsToRunAgain)
{
    expectOutput(R"(
local runs, when = 0
local t = timer { TimerFcn = function(t)
  runs = runs + 1
  print(runs, not when or date() >= when)
  when = date() + 0.05
  if runs < 3 then t:startAt(when) end
end, StopFcn = function() print("stops") end }
t:startAt(date())
t:wait()
print(runs)
)",
        "1\ttrue\nstops\n2\ttrue\nstops\n3\ttrue\nstops\n3\n");
}

TEST_F(AppointmentTest, WhatIsToRunAgainGoesOnAfterAnErrorUntilItIsStopped)
{
    const Outcome outcome = run(R"(
local runs = 0
timer { Name = "t",
  TimerFcn = function(t) runs = runs + 1 t:startAt(date()) error("run " .. runs, 0) end,
  ErrorFcn = function(t) if runs == 2 then print(t:stop()) end end,
}:startAt(date())
)");
    EXPECT_EQ(outcome.out, "true\n");
    EXPECT_THAT(linesWith(outcome.err, "tovrin: "),
        ElementsAre(
            "tovrin: error in TimerFcn of timer \"t\": run 1", "tovrin: error in TimerFcn of timer \"t\": run 2"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(AppointmentTest, AMomentThatComesWhileARunIsUnderWayIsKeptOnceItHasEnded)
{
    expectOutput(R"(
local t = timer { ExecutionMode = "FixedSpacing", Period = 0.05, TasksToExecute = 3, TimerFcn = function(t)
  if t.TasksExecuted == 1 and not again then again = true t:startAt(date()) end
  io.write(t.TasksExecuted, " ")
end, StopFcn = function() print("stops") end }
t:start()
)",
        "1 2 3 stops\n1 2 3 stops\n");
}

TEST_F(AppointmentTest, APropertyThatIsChangedInTheStartFcnBringsNoStartDelay)
{
    expectOutput(R"(
local when = date() + 0.05
local t = timer { StartDelay = 30, StartFcn = function(t) t.BusyMode = "Queue" end,
  TimerFcn = function() print(date() - when < 20) end }
t:startAt(when)
)",
        "true\n");
}

TEST_F(WallClockTest, EveryTakesFieldsOfALocalTime)
{
    expectOutput(R"(
local fields, times, before = {}, {}, date()
local t = every(fields, function(t, event)
  times[#times + 1] = date()
  print(event.Type, #times == 1 or times[#times] // 1 > times[#times - 1] // 1)
end, 3)
fields.hour = 3 -- too late
print(t.TasksToExecute, t.ExecutionMode, t.Running, t.Remaining <= 1, t.NextTime == t.NextTime // 1, t.NextTime > before)
print(t:wait())
print(times[3] - times[1] < 60)
)",
        "3\tSingleShot\ttrue\ttrue\ttrue\ttrue\n"
        "TimerFcn\ttrue\nTimerFcn\ttrue\nTimerFcn\ttrue\ntrue\ttasks done\ntrue\n");
}

TEST_F(AppointmentTest, WhatRunsEveryTimeIsStoppedFromWithinAndOutlivesAnError)
{
    const Outcome failing = run(R"(
local runs = 0
every({}, function(t) runs = runs + 1 if runs == 2 then t:stop() end error("run " .. runs, 0) end)
)");
    EXPECT_THAT(linesWith(failing.err, "tovrin: "),
        ElementsAre("tovrin: error in TimerFcn of timer \"timer-1\": run 1",
            "tovrin: error in TimerFcn of timer \"timer-1\": run 2"));
}

TEST_F(AppointmentTest, EveryRefusesWhatIsNoTime)
{
    expectRefusal("every({ hour = 25 }, print)", "every: hour is 25, but must be a whole number from 0 to 23");
    expectRefusal("every({ month = 2, day = 30 }, print)", "every: there is no day 30 of month 2");
    expectRefusal("every({}, 5)", "every: TimerFcn is 5, but must be a function");
    expectRefusal("every({}, print, 0)",
        "every: TasksToExecute is 0, but must be a whole number, at least 1 and at most 9007199254740992, or "
        "math.huge");
}

TEST_F(AppointmentTest, AnAppointmentKeepsItsTimerAndOneThatIsTakenBackDoesNot)
{
    expectOutput(R"(
timer { TimerFcn = function() print("fires") end }:startAt(date() + 0.2)
collectgarbage() collectgarbage()
print(#timers())
pause(1)
local held = timer { TimerFcn = print, UserData = setmetatable({}, { __gc = function() print("given up") end }) }
held:startAt(date() + 60)
held:stop()
held = nil
collectgarbage() collectgarbage()
print(#timers())
)",
        "1\nfires\ngiven up\n0\n");
}

TEST_F(AppointmentTest, WhatItWaitsForIsExplained)
{
    expectOutput(
        "local t = timer { Name = 't', TimerFcn = print } t:startAt(date() + 60) print(t:explain()) t:stop()\n"
        "print(t:explain())",
        "t has not begun: it waits for a moment of the wall clock\n"
        "t has not been started: nothing of it is due\n");
}

TEST_F(AppointmentTest, AWrongMomentIsRefused)
{
    const std::string time = "timer \"t\": the time of startAt";
    const std::string allowed
        = ", but must be a number of seconds since 1970, at most 9223372036, or a table of local time";
    expectRefusal("t:startAt()", time + " is nothing" + allowed);
    expectRefusal("t:startAt('12:00')", time + " is \"12:00\"" + allowed);
    expectRefusal("t:startAt('5')", time + " is \"5\"" + allowed);
    expectRefusal("t:startAt(0/0)", time + " is nan" + allowed);
    expectRefusal("t:startAt(math.huge)", time + " is inf" + allowed);
    expectRefusal("t:startAt(9223372037)", time + " is 9223372037" + allowed);
    expectRefusal("t.startAt(5)", "startAt: call it with a colon, t:startAt()");
    expectRefusal("t:startAt { year = 2026, month = 1 }",
        time + " has no day; a table of local time must have a year, a month and a day");
    expectRefusal("t:startAt { year = 2026, month = 1, day = 1, hours = 5 }",
        time
            + " has no field \"hours\"; did you mean \"hour\"? The fields are year, month, day, hour, minute, "
              "second");
    expectRefusal("t:startAt { 2026, 1, 1 }",
        time + " has no field 1; The fields are year, month, day, hour, minute, second");
    expectRefusal("t:startAt { year = 2026, month = 1, day = 1.5 }",
        time + ": day is 1.5, but must be a whole number from -1000000000 to 1000000000");
    expectRefusal("t:startAt { year = 2262, month = 1, day = 1 }",
        time + ": year is 2262, but must be a whole number from 1970 to 2261");
    expectRefusal("t:startAt { year = 2261, month = 13 * 12, day = 1 }", time + " lies behind the year 2261");
    expectRefusal("t:startAt { year = 2026, month = 1, day = 1, min = 5, minute = 5 }",
        time + ": minute and min are the same field; only one of them may be given");
}

TEST_F(AppointmentTest, AWrongFieldOfTheNextTimeIsRefused)
{
    expectRefusal("nextTime(5)", "nextTime: takes a table of fields of a local time, not 5");
    expectRefusal("nextTime { year = 2026 }",
        "nextTime has no field \"year\"; The fields are month, day, weekday, hour, minute, second");
    expectRefusal("nextTime { hour = 24 }", "nextTime: hour is 24, but must be a whole number from 0 to 23");
    expectRefusal("nextTime { min = '5' }", "nextTime: min is \"5\", but must be a whole number from 0 to 59");
    expectRefusal("nextTime { weekday = 0 }", "nextTime: weekday is 0, but must be a whole number from 1 to 7");
    expectRefusal("nextTime { month = 2, day = 30 }", "nextTime: there is no day 30 of month 2");
    expectRefusal("nextTime({}, -1)",
        "nextTime: the time after which it is to be is -1, but must be a number of seconds since 1970, at least 0 "
        "and "
        "at most 9223372036");
}

TEST_F(WallClockTest, ASignalTakesItBack)
{
    if (const char* reason = platform::whyNoControlC(); reason != nullptr) {
        GTEST_SKIP() << reason;
    }
    const Outcome outcome = runAndInterrupt(
        "timer { TimerFcn = print, StopFcn = print }:startAt(date() + 3600) print('waits')", { "waits" });
    EXPECT_EQ(outcome.out, "waits\n");
    EXPECT_EQ(outcome.status, 130);
}

} // namespace

} // namespace scripts
