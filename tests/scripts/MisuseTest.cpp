#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// Each misuse raises an error at the script's line that names the timer, the property, the value and what is
/// allowed.
class MisuseTest : public ScriptTest {
protected:
    /// Runs a statement in a script where `t` is a running timer called "hb".
    void expectError(const std::string& statement, const std::string& message)
    {
        const Outcome outcome = run("t = timer { Name = 'hb', StartDelay = 60, Period = 2, TasksToExecute = 3, "
                                    "TimerFcn = function() end, ExecutionMode = 'FixedRate' } t:start()\n"
                                    "local fine, message = pcall(function()\n"
            + statement
            + "\nend)\nprint(fine, message)\n"
              "print(t.Name, t.Running, t.StartDelay, t.Period, t.TasksToExecute, t.ExecutionMode, t.BusyMode, "
              "type(t.TimerFcn), t.StartFcn, #timers())\nt:stop()\n");

        EXPECT_THAT(lines(outcome.out),
            testing::ElementsAre(
                "false\tscript.lua:3: " + message, "hb\ttrue\t60.0\t2.0\t3\tFixedRate\tDrop\tfunction\tnil\t1"))
            << statement << outcome.err;
        EXPECT_EQ(outcome.status, 0);
    }
};

const std::string settable
    = "he properties are Name, ExecutionMode, BusyMode, Period, StartDelay, TasksToExecute, Tag, KeepsAlive, "
      "TimerFcn, StartFcn, StopFcn, ErrorFcn, UserData";
const std::string allProperties
    = settable + ", Running, TasksExecuted, InstantPeriod, AveragePeriod, LastError, Remaining, NextTime";
const std::string readable
    = allProperties + "; the methods are start, startAt, stop, wait, delete, properties, explain, statistics";

TEST_F(MisuseTest, AnUnknownPropertyIsNamedWithThoseThatThereAre)
{
    expectError("t.Interval = 1", "timer \"hb\" has no property \"Interval\"; t" + settable);
    expectError("return t.Interval", "timer \"hb\" has no property or method \"Interval\"; t" + readable);
    expectError("t:cancel()", "timer \"hb\" has no property or method \"cancel\"; t" + readable);
    expectError("t[1] = 1", "timer \"hb\" has no property 1; t" + settable);
    expectError("return t[1]", "timer \"hb\" has no property or method 1; t" + readable);
    expectError("timer { Name = 'new', TimerFcn = print, Interval = 1 }",
        "timer \"new\" has no property \"Interval\"; t" + settable);
    expectError("timer { TimerFcn = print, 7 }", "timer has no property 1; t" + settable);
    expectError("t.start = print", "timer \"hb\" has no property \"start\"; t" + settable);
}

TEST_F(MisuseTest, AnUnknownPropertyThatIsNearlyOneIsToldWhich)
{
    const std::string hb = "timer \"hb\" has no property ";
    expectError("t.Perod = 1", hb + "\"Perod\"; did you mean \"Period\"? T" + settable);
    expectError("t.period = 1", hb + "\"period\"; did you mean \"Period\"? T" + settable);
    expectError("t.TimerFunc = print", hb + "\"TimerFunc\"; did you mean \"TimerFcn\"? T" + settable);
    expectError("timer { Name = 'new', TimerFcn = print, TaskToExecute = 1 }",
        "timer \"new\" has no property \"TaskToExecute\"; did you mean \"TasksToExecute\"? T" + settable);
    expectError("return t.runing", hb + "or method \"runing\"; did you mean \"Running\"? T" + readable);
    expectError("t:strat()", hb + "or method \"strat\"; did you mean \"start\"? T" + readable);
    expectError("t:Stop()", hb + "or method \"Stop\"; did you mean \"stop\"? T" + readable);
    expectError("t:halt()", hb + "or method \"halt\"; t" + readable);
    expectError("t['Name\\n'] = 1", hb + "\"Name\\n\"; did you mean \"Name\"? T" + settable);
    // Nothing that is read only is proposed for setting.
    expectError("t.Runing = true", hb + "\"Runing\"; t" + settable);
}

TEST_F(MisuseTest, AValueThatIsNotAllowedIsNamedWithWhatIs)
{
    const std::string hb = "timer \"hb\": ";
    expectError("t.Period = 0",
        hb + "Period is 0, but must be a number of seconds, at least 0.001 and at most 9000000000");
    expectError("t.Period = 'fast'",
        hb + "Period is \"fast\", but must be a number of seconds, at least 0.001 and at most 9000000000");
    expectError("t.Period = {}",
        hb + "Period is a table, but must be a number of seconds, at least 0.001 and at most 9000000000");
    expectError("t.Period = nil",
        hb + "Period is nil, but must be a number of seconds, at least 0.001 and at most 9000000000");
    for (const std::string tooLong : { "math.huge", "1e300", "9000000001" }) {
        const std::string shown = tooLong == "math.huge" ? "inf" : tooLong == "1e300" ? "1e+300" : tooLong;
        expectError("t.Period = " + tooLong,
            hb + "Period is " + shown
                + ", but must be a number of seconds, at least 0.001 and at most 9000000000");
        expectError("timer { Name = 'new', TimerFcn = print, StartDelay = " + tooLong + " }",
            "timer \"new\": StartDelay is " + shown
                + ", but must be a number of seconds, at least 0 and at most 9000000000");
    }
    // Without a sign, whichever the platform gives it.
    for (const std::string nan : { "0/0", "-(0/0)" }) {
        expectError("t.Period = " + nan,
            hb + "Period is nan, but must be a number of seconds, at least 0.001 and at most 9000000000");
        expectError("timer { Name = 'new', TimerFcn = print, StartDelay = " + nan + " }",
            "timer \"new\": StartDelay is nan, but must be a number of seconds, at least 0 and at most "
            "9000000000");
    }
    const std::string tasks
        = ", but must be a whole number, at least 1 and at most 9007199254740992, or math.huge";
    expectError("t.TasksToExecute = 0", hb + "TasksToExecute is 0" + tasks);
    expectError("t.TasksToExecute = 0/0", hb + "TasksToExecute is nan" + tasks);
    expectError("t.TasksToExecute = 1.5", hb + "TasksToExecute is 1.5" + tasks);
    expectError("t.TasksToExecute = 2^53 + 2", hb + "TasksToExecute is 9.007199254741e+15" + tasks);
    expectError("t.TasksToExecute = math.maxinteger", hb + "TasksToExecute is 9223372036854775807" + tasks);
    expectError("t.BusyMode = 'Wait'", hb + "BusyMode is \"Wait\", but must be \"Drop\", \"Queue\" or \"Error\"");
    expectError("t.TimerFcn = nil", hb + "TimerFcn is nil, but must be a function");
    expectError("t.StopFcn = true", hb + "StopFcn is true, but must be a function or nil");
    expectError("timer { Name = 'new', TimerFcn = print, StartDelay = -1 }",
        "timer \"new\": StartDelay is -1, but must be a number of seconds, at least 0 and at most 9000000000");
    expectError("timer { TimerFcn = print, ExecutionMode = 'Often' }",
        "timer: ExecutionMode is \"Often\", but must be \"SingleShot\", \"FixedSpacing\", \"FixedDelay\" or "
        "\"FixedRate\"");
    expectError(
        "timer { TimerFcn = print, Name = '' }", "timer: Name is \"\", but must be a string that is not empty");
    expectError("timer { Name = 'new' }", "timer \"new\": TimerFcn is nil, but must be a function");
    expectError("timer()", "timer: takes a table of properties, not nothing");
    expectError("timer('x')", "timer: takes a table of properties, not \"x\"");
}

TEST_F(MisuseTest, APropertyThatIsFixedWhileTheTimerRunsIsLeftAlone)
{
    const std::string suffix = " cannot be changed while the timer is running; stop it first";
    expectError("t.StartDelay = 1", "timer \"hb\": StartDelay" + suffix);
    expectError("t.Name = 'other'", "timer \"hb\": Name" + suffix);
    expectError("t.ExecutionMode = 'SingleShot'", "timer \"hb\": ExecutionMode" + suffix);
}

TEST_F(MisuseTest, AReadOnlyPropertyIsNotSet)
{
    for (const char* name :
        { "Running", "TasksExecuted", "InstantPeriod", "AveragePeriod", "LastError", "Remaining", "NextTime" }) {
        expectError(std::string("t.") + name + " = 1", std::string("timer \"hb\": ") + name + " is read-only");
    }
}

TEST_F(MisuseTest, ARunningTimerIsNotStartedAgain)
{
    expectError("t:start()", "timer \"hb\": the timer is already running; only a stopped timer can be started");
}

TEST_F(MisuseTest, TimesThatAreNoTimesAreRefused)
{
    expectError(
        "t:wait(-1)", "timer \"hb\": the limit of wait is -1, but must be a number of seconds, at least 0");
    expectError("t:wait('long')",
        "timer \"hb\": the limit of wait is \"long\", but must be a number of seconds, at least 0");
    expectError("pause()", "pause: the time is nothing, but must be a number of seconds, at least 0");
    expectError("pause(0/0)", "pause: the time is nan, but must be a number of seconds, at least 0");
    expectError("pause(-0.5)", "pause: the time is -0.5, but must be a number of seconds, at least 0");
}

TEST_F(MisuseTest, ADeletedTimerRefusesEverything)
{
    for (const char* use :
        { "u:start()", "u:stop()", "u:wait()", "u:delete()", "return u.Name", "u.Period = 1" }) {
        expectError(std::string("local u = timer { Name = 'gone', TimerFcn = print } u:delete() ") + use,
            "timer \"gone\" has been deleted");
    }
}

TEST_F(MisuseTest, ATimerIsNotWaitedForInItsOwnCallback)
{
    const Outcome outcome = run(R"(
timer { Name = "self", TimerFcn = function(t) print(pcall(t.wait, t)) print(pcall(t.wait, t, 1)) end }:start()
)");

    const std::string refusal
        = "false\ttimer \"self\": the timer cannot be waited for while one of its callbacks is "
          "running: the wait would never end\n";
    EXPECT_EQ(outcome.out, refusal + refusal);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(MisuseTest, TheTimerGoesOnAfterIt)
{
    const Outcome outcome = run(R"(
local refusals = 0
local function refused(f) if not pcall(f) then refusals = refusals + 1 end end
local t = timer {
  ExecutionMode = "FixedRate", Period = 0.01, TasksToExecute = 3, StopFcn = function() print("StopFcn") end,
  TimerFcn = function(t)
    refused(function() t.Period = 0 end)
    refused(function() t.StartDelay = 60 end)
    refused(function() t.TimerFcn = 7 end)
    refused(function() t.Speed = 7 end)
    refused(function() t:start() end)
    refused(function() t:wait() end)
    print("TimerFcn")
  end,
}
t:start()
print(t:wait(), t.TasksExecuted, refusals)
)");

    EXPECT_EQ(outcome.out, "TimerFcn\nTimerFcn\nTimerFcn\nStopFcn\ntrue\t3\t18\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(MisuseTest, AMethodThatIsCalledWithoutItsTimerTellsOfTheColon)
{
    for (const std::string method : { "start", "stop", "wait", "delete" }) {
        const std::string advice = method + ": call it with a colon, t:" + method + "()";
        expectError("t." + method + "()", advice);
        expectError("t." + method + "(1)", advice);
        expectError("t." + method + "({}, t)", advice);
        expectError("t." + method + "(io.stdout)", advice);
    }
}

} // namespace

} // namespace scripts
