#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// What makes scripts short: `after`, `every`, `wait`, `waitAny`, `find`, `timers { ... }`, properties as a table.
class ShortFormsTest : public RehearsedTest {
protected:
    /// Of a statement in line 1, in a script where `t` is a timer.
    void expectError(const std::string& statement, const std::string& message)
    {
        const Outcome outcome
            = run("local t = timer { Name = 't', TimerFcn = print } local fine, message = pcall(function() "
                + statement + " end) print(fine, message, #timers())");

        EXPECT_EQ(outcome.out, "false\tscript.lua:1: " + message + "\t1\n") << statement;
        EXPECT_EQ(outcome.status, 0) << outcome.err;
    }
};

TEST_F(ShortFormsTest, StartGivesTheTimer)
{
    expectOutput(R"(
local t = timer { Name = "t", TimerFcn = function() print("TimerFcn") end }:start()
print(t.Running, t)
t:wait()
print(t:start() == t)
)",
        "true\ttimer \"t\" (running)\nTimerFcn\ntrue\nTimerFcn\n");
}

TEST_F(ShortFormsTest, AfterRunsAFunctionOnceAfterADelay)
{
    expectOutput(R"(
local begin = now()
local t = after(0.05, function(t, event)
  print(event.Type, now() - begin >= 0.05, t.Name)
end)
print(t.ExecutionMode, t.StartDelay, t.Running, t.Name)
print(t:wait())
)",
        "SingleShot\t0.05\ttrue\ttimer-1\nTimerFcn\ttrue\ttimer-1\ntrue\ttasks done\n");
}

TEST_F(ShortFormsTest, EveryRunsAFunctionAtAFixedRateForTheFirstTimeAfterOnePeriod)
{
    expectOutput(R"(
local begin = now()
local t = every(0.05, function(t, event)
  print(event.Type, t.TasksExecuted, now() - begin >= 0.05 * t.TasksExecuted - 0.002)
end, 2)
print(t.ExecutionMode, t.Period, t.StartDelay, t.TasksToExecute, t.BusyMode)
t:wait()
local u = every(60, print)
print(u.TasksToExecute, u:stop())
)",
        "FixedRate\t0.05\t0.05\t2\tDrop\nTimerFcn\t1\ttrue\nTimerFcn\t2\ttrue\ninf\ttrue\n");
}

TEST_F(ShortFormsTest, WhatTheyAreGivenWrongIsNamed)
{
    const std::string seconds = ", but must be a number of seconds, at least ";
    expectError("after(-1, print)", "after: StartDelay is -1" + seconds + "0 and at most 9000000000");
    expectError("after('soon', print)", "after: StartDelay is \"soon\"" + seconds + "0 and at most 9000000000");
    expectError("after()", "after: StartDelay is nil" + seconds + "0 and at most 9000000000");
    expectError("after(1)", "after: TimerFcn is nil, but must be a function");
    expectError("after(1, 'f')", "after: TimerFcn is \"f\", but must be a function");
    expectError("every(0, print)", "every: Period is 0" + seconds + "0.001 and at most 9000000000");
    expectError("every(1)", "every: TimerFcn is nil, but must be a function");
    expectError("every(1, print, 0)",
        "every: TasksToExecute is 0, but must be a whole number, at least 1 and at most 9007199254740992, or "
        "math.huge");
    expectError("find()", "find: the name is nothing, but must be a string");
    expectError("find(7)", "find: the name is 7, but must be a string");
    expectError("wait()", "wait: argument 1 is nothing, but must be a timer");
    expectError("wait(0.1)", "wait: argument 1 is 0.1, but must be a timer");
    expectError("wait(t, 'x', 1)", "wait: argument 2 is \"x\", but must be a timer");
    expectError("wait(t, io.stdout)", "wait: argument 2 is a userdata, but must be a timer");
    expectError("waitAny(t, -1)", "waitAny: the limit is -1, but must be a number of seconds, at least 0");
    expectError("waitAny(nil, t)", "waitAny: argument 1 is nil, but must be a timer");
    expectError("timers(5)", "timers: takes a table of properties, not 5");
    expectError("t.Tag = 5", "timer \"t\": Tag is 5, but must be a string");
    expectError("t.KeepsAlive = 0", "timer \"t\": KeepsAlive is 0, but must be true or false");
    expectError("t.properties()", "properties: call it with a colon, t:properties()");
}

TEST_F(ShortFormsTest, AnUnknownPropertyIsNoFilter)
{
    const std::string there
        = "he properties are Name, ExecutionMode, BusyMode, Period, StartDelay, TasksToExecute, Tag, "
          "KeepsAlive, TimerFcn, StartFcn, StopFcn, ErrorFcn, UserData, Running, TasksExecuted, "
          "InstantPeriod, AveragePeriod, LastError, Remaining, NextTime";
    expectError("timers { Tga = 'x' }", "timers has no property \"Tga\"; did you mean \"Tag\"? T" + there);
    expectError("timers { stop = 'x' }", "timers has no property \"stop\"; t" + there);
    expectError("timers { 'x' }", "timers has no property 1; t" + there);
}

TEST_F(ShortFormsTest, WaitWaitsForAllAndWaitAnyForTheFirst)
{
    expectOutput(R"(
local order = {}
local function note(name) return function() order[#order + 1] = name end end
local slow, quick = after(0.1, note "slow"), after(0.02, note "quick")
print(waitAny(slow, quick, 5) == quick, #order, slow.Running)
print(waitAny(slow, 0.01), waitAny(slow, 0))
print(wait(slow, quick, 0.01), wait(slow, quick), table.concat(order, " "))
print(waitAny(slow, quick) == slow, wait(slow), wait(slow, nil))
)",
        "true\t1\ttrue\nnil\tnil\nfalse\ttrue\tquick slow\ntrue\ttrue\ttrue\n");
}

TEST_F(ShortFormsTest, ALimitThatPassesHasRunWhatWaited)
{
    expectOutput(R"(
local ran = 0
local never = timer { StartDelay = 60, TimerFcn = print }:start()
local t = every(0.001, function() ran = ran + 1 end, 1)
busy(0.1)
print(wait(never, t, 0), ran)
never:stop()
)",
        "false\t1\n");
}

TEST_F(ShortFormsTest, ADeletionEndsTheWait)
{
    expectOutput(R"(
local a = timer { Name = "a", StartDelay = 60, TimerFcn = print }:start()
local b = timer { Name = "b", StartDelay = 60, TimerFcn = print }:start()
after(0.01, function() b:delete() end)
print(waitAny(a, b))
print(pcall(wait, a, b))
after(0.01, function() a:stop() end)
print(wait(a, 10))
)",
        "timer \"b\" (deleted)\nfalse\ttimer \"b\" has been deleted\ntrue\n");
}

TEST_F(ShortFormsTest, NoneOfTheTimersMayBeInItsOwnCallback)
{
    expectOutput(R"(
local other = timer { TimerFcn = print }
timer { Name = "self", TimerFcn = function(t) print(pcall(wait, other, t)) print(pcall(waitAny, other, t, 1)) end }:start()
)",
        "false\ttimer \"self\": the timer cannot be waited for while one of its callbacks is running: the wait "
        "would "
        "never end\nfalse\ttimer \"self\": the timer cannot be waited for while one of its callbacks is running: "
        "the "
        "wait would never end\n");
}

TEST_F(ShortFormsTest, FindGivesAllTimersOfAName)
{
    expectOutput(R"(
local a = timer { Name = "same", TimerFcn = print }
local b = timer { Name = "same", TimerFcn = print }
local c = timer { Name = "other", TimerFcn = print }
local first, second, third = find("same")
print(first == a, second == b, third)
print(select("#", find("same")), select("#", find("none")), find("none"))
b.Name = "none"
print(find("none") == b, find("same") == a)
c:delete()
print(find("other"))
)",
        "true\ttrue\tnil\n2\t1\tnil\ntrue\ttrue\nnil\n");
}

TEST_F(ShortFormsTest, TagAndUserDataAreTheScriptsAtAnyTime)
{
    expectOutput(R"(
local data = {}
local t = timer { StartDelay = 60, TimerFcn = print, Tag = "a", UserData = data }:start()
print(t.Tag, t.UserData == data)
t.Tag, t.UserData = "b\0c", 5
print(#t.Tag, t.UserData)
t.UserData = nil
print(t.UserData, timer { TimerFcn = print }.Tag == "", timer { TimerFcn = print }.UserData)
t:stop()
)",
        "a\ttrue\n3\t5\nnil\ttrue\tnil\n");
}

TEST_F(ShortFormsTest, TimersAreFilteredByAllPropertiesThatAreGiven)
{
    expectOutput(R"(
local data = {}
local function f() end
local function names(filter) local s = "" for _, t in ipairs(timers(filter)) do s = s .. t.Name .. " " end return s end
local a = timer { Name = "a", Tag = "x", TimerFcn = f, UserData = data }
local b = timer { Name = "b", Tag = "x", TimerFcn = print, Period = 2 }
local c = timer { Name = "c", TimerFcn = f, StartDelay = 60 }:start()
print(names { Tag = "x" }, names { Tag = "x", Period = 2.0 }, names { TimerFcn = f }, names { UserData = data })
print(names { Running = true }, names { Period = "2" }, names { KeepsAlive = true, Tag = "" }, names(), names {}, names(nil))
c:stop()
)",
        "a b \tb \ta c \ta \nc \t\tc \ta b c \ta b c \ta b c \n");
}

TEST_F(ShortFormsTest, PropertiesAndPairsGiveAllThatHaveAValueAndNoMethods)
{
    expectOutput(R"(
local t = timer { Name = "t", TimerFcn = print, StopFcn = print, UserData = 7 }
local function list(all)
  local names = {}
  for name, value in pairs(all) do
    assert(t[name] == value or value ~= value)
    names[#names + 1] = name
  end
  table.sort(names)
  return table.concat(names, " ")
end
print(list(t))
print(list(t:properties()) == list(t), type(t:properties()))
t:properties().Period = 5
print(t.Period)
t:delete()
print(pcall(pairs, t))
)",
        "AveragePeriod BusyMode ExecutionMode InstantPeriod KeepsAlive Name Period Running StartDelay StopFcn Tag "
        "TasksExecuted TasksToExecute TimerFcn UserData\ntrue\ttable\n1.0\nfalse\ttimer \"t\" has been deleted\n");
}

} // namespace

} // namespace scripts
