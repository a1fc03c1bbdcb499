#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// What a script is told of how a run ended, and of the error that an ErrorFcn is called for.
class EndReasonTest : public RehearsedTest {
protected:
    /// The script's callbacks fail, with this output.
    void expectFailure(const std::string& script, const std::string& output, const Words& options = {})
    {
        const Outcome outcome = run(prelude + script, options);
        EXPECT_EQ(outcome.out, output) << outcome.err;
        EXPECT_EQ(outcome.status, 1);
    }

    void expectOutput(const std::string& script, const std::string& output)
    {
        RehearsedTest::expectOutput(prelude + script, output);
    }

    // One line, so that the scripts' own lines are counted from 2.
    const std::string prelude = "local function tell(t, event) print(event.Type, event.Reason) end "
                                "local modes = { 'SingleShot', 'FixedSpacing', 'FixedDelay', 'FixedRate' } ";
};

TEST_F(EndReasonTest, ARunThatHasHadAllItsTasksSaysSoInEveryMode)
{
    expectOutput(R"(
for _, mode in ipairs(modes) do
  local t = timer { ExecutionMode = mode, Period = 0.001, TasksToExecute = 2, TimerFcn = function() end, StopFcn = tell }
  t:start()
  print(t:wait())
  t.StopFcn = nil
  t:start()
  print(t:wait())
end
)",
        "StopFcn\ttasks done\ntrue\ttasks done\ntrue\ttasks done\nStopFcn\ttasks done\ntrue\ttasks "
        "done\ntrue\ttasks done\n"
        "StopFcn\ttasks done\ntrue\ttasks done\ntrue\ttasks done\nStopFcn\ttasks done\ntrue\ttasks "
        "done\ntrue\ttasks done\n");
}

TEST_F(EndReasonTest, AStopThatPreventsARunIsTheReasonAndSaysSo)
{
    expectOutput(R"(
for _, mode in ipairs(modes) do
  local t = timer { ExecutionMode = mode, StartDelay = 60, TimerFcn = print, StopFcn = tell }
  print(t:stop())
  t:start()
  print(t:stop(), t:stop())
  print(t:wait())
end
)",
        "false\ntrue\tfalse\nStopFcn\tstopped\ntrue\tstopped\nfalse\ntrue\tfalse\nStopFcn\tstopped\ntrue\tstopped"
        "\n"
        "false\ntrue\tfalse\nStopFcn\tstopped\ntrue\tstopped\nfalse\ntrue\tfalse\nStopFcn\tstopped\ntrue\tstopped"
        "\n");
}

TEST_F(EndReasonTest, AStopInTheLastTimerFcnPreventsNothingAndIsNotTheReason)
{
    expectOutput(R"(
for _, mode in ipairs(modes) do
  local t = timer {
    ExecutionMode = mode, Period = 0.001, TasksToExecute = 2, StopFcn = tell,
    TimerFcn = function(t) if t.TasksExecuted == 2 or mode == "SingleShot" then print(mode, t:stop()) end end,
  }
  t:start()
  print(t:wait())
end
)",
        "SingleShot\tfalse\nStopFcn\ttasks done\ntrue\ttasks done\nFixedSpacing\tfalse\nStopFcn\ttasks "
        "done\ntrue\ttasks done\n"
        "FixedDelay\tfalse\nStopFcn\ttasks done\ntrue\ttasks done\nFixedRate\tfalse\nStopFcn\ttasks "
        "done\ntrue\ttasks done\n");
}

TEST_F(EndReasonTest, AStopOfARunThatWaitsForTheOneBeforePreventsIt)
{
    expectOutput(R"(
local t = timer { StartDelay = 60, TimerFcn = print, StopFcn = tell }
t:start()
print(t:stop())
t:start()
print(t:stop(), t:stop())
print(t:wait())
)",
        "true\ntrue\tfalse\nStopFcn\tstopped\nStopFcn\tstopped\ntrue\tstopped\n");
}

TEST_F(EndReasonTest, ADeletionIsTheReasonUnlessAllHasRun)
{
    expectOutput(R"(
local t = timer { StartDelay = 60, TimerFcn = print, StopFcn = tell }
t:start()
timer { StartDelay = 0.02, TimerFcn = function() t:delete() end }:start()
print(t:wait())
timer { TimerFcn = function(u) u:delete() end, StopFcn = tell }:start()
)",
        "StopFcn\tdeleted\ntrue\tdeleted\nStopFcn\ttasks done\n");
}

TEST_F(EndReasonTest, AnErrorIsTheReasonAlsoAfterAStop)
{
    expectFailure(R"(
local t = timer { TimerFcn = function() error("boom", 0) end, StopFcn = tell }
t:start()
print(t:wait())
local u = timer { ExecutionMode = "FixedRate", Period = 0.01, TimerFcn = function(u) u:stop() error("boom", 0) end, StopFcn = tell }
u:start()
print(u:wait())
)",
        "StopFcn\terror\ntrue\terror\nStopFcn\terror\ntrue\terror\n");
}

TEST_F(EndReasonTest, AnOverrunIsTheReasonWithAndWithoutStopFcn)
{
    expectFailure(R"(
for _, stopFcn in ipairs { tell, false } do
  local t = timer {
    ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.01, TasksToExecute = 3, StopFcn = stopFcn or nil,
    TimerFcn = function() busy(0.3) end,
  }
  t:start()
  print(t:wait())
end
)",
        "StopFcn\toverrun\ntrue\toverrun\ntrue\toverrun\n");
}

TEST_F(EndReasonTest, MoreCallbacksThanMayWaitAreAnOverrun)
{
    expectFailure(R"(
local t = timer {
  Name = "t", ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.001, TimerFcn = function() busy(0.1) end, StopFcn = tell,
  ErrorFcn = function(t, event) print(event.Callback, event.Error == t.LastError, event.Error:match("^more than 5 of its callbacks"), event.Traceback) end,
}
t:start()
print(t:wait())
)",
        "backlog\ttrue\tmore than 5 of its callbacks\tnil\nStopFcn\toverrun\ntrue\toverrun\n",
        { "--max-backlog", "5" });
}

TEST_F(EndReasonTest, TheEndOfTheProgramInterruptsWhateverItsCause)
{
    const std::string running = "timer { StartDelay = 60, TimerFcn = print, StopFcn = tell }:start()\n";
    const Outcome exits = run(prelude + running + "os.exit(3)");
    EXPECT_EQ(exits.out, "StopFcn\tinterrupted\n");
    EXPECT_EQ(exits.status, 3);
    const Outcome fails = run(prelude + running + "error('boom')");
    EXPECT_EQ(fails.out, "StopFcn\tinterrupted\n");
    EXPECT_EQ(fails.status, 1);
}

TEST_F(EndReasonTest, EachRunHasItsOwn)
{
    expectFailure(R"(
local t = timer { Name = "t", TimerFcn = function() error("boom", 0) end }
print(t:wait())
t:start()
print(t:wait())
t.TimerFcn = function() end
t:start()
print(t:wait())
t.StartDelay = 60
t:start()
print(t:wait(0.01))
t:stop()
print(t:wait(0))
)",
        "true\tnil\ntrue\terror\ntrue\ttasks done\nfalse\ntrue\tstopped\n");
}

TEST_F(EndReasonTest, AnErrorFcnIsToldTheErrorItsCallbackAndTheTraceback)
{
    expectFailure(R"(
local function say(t, event) print(event.Type, event.Callback, event.Error, event.Traceback:match("^stack traceback:\n.-(script.lua:%d+): in") ) end
timer { ErrorFcn = say, TimerFcn = function() error("boom") end }:start()
pause(0.05)
timer { ErrorFcn = say, StartFcn = function() local x = nil + 1 end, TimerFcn = print }:start()
pause(0.05)
timer { ErrorFcn = say, TimerFcn = function() error(setmetatable({}, { __tostring = function() return "an object" end })) end }:start()
)",
        "ErrorFcn\tTimerFcn\tscript.lua:3: boom\tscript.lua:3\n"
        "ErrorFcn\tStartFcn\tscript.lua:5: attempt to perform arithmetic on a nil value\tscript.lua:5\n"
        "ErrorFcn\tTimerFcn\tan object\tscript.lua:7\n");
}

TEST_F(EndReasonTest, AnErrorFcnAfterAnOverrunIsToldSo)
{
    expectFailure(R"(
local t = timer {
  Name = "t", ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.01, TimerFcn = function() busy(0.3) end,
  ErrorFcn = function(t, event) print(event.Callback, event.Error, event.Error == t.LastError, event.Traceback, event.Reason) end,
}
t:start()
t:wait()
)",
        "overrun\tcallback of timer \"t\" was still running when its next run fell due\ttrue\tnil\tnil\n");
}

TEST_F(EndReasonTest, OtherCallbacksAreToldOfNoEnd)
{
    expectOutput(R"(
local function fields(t, event) print(event.Type, event.Reason, event.Error, event.Callback, event.Traceback) end
local t = timer { StartFcn = fields, TimerFcn = fields, StopFcn = fields }
t:start()
t:wait()
)",
        "StartFcn\tnil\tnil\tnil\tnil\nTimerFcn\tnil\tnil\tnil\tnil\nStopFcn\ttasks done\tnil\tnil\tnil\n");
}

TEST_F(EndReasonTest, AnErrorFcnsOwnErrorIsReportedAndLeavesTheOneThatItWasCalledFor)
{
    const Outcome outcome = run(R"(
local t = timer {
  Name = "t", TimerFcn = function() error("first", 0) end, ErrorFcn = function() error("second", 0) end,
  StopFcn = function(t, event) print(event.Reason, t.LastError) end,
}
t:start()
t:wait()
print(t.LastError)
)");

    EXPECT_EQ(outcome.out, "error\tfirst\nfirst\n");
    EXPECT_THAT(linesWith(outcome.err, "tovrin:"),
        ElementsAre("tovrin: error in TimerFcn of timer \"t\": first",
            "tovrin: error in ErrorFcn of timer \"t\": second"));
    EXPECT_EQ(outcome.status, 1);
}

} // namespace

} // namespace scripts
