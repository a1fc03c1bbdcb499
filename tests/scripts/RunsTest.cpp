#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

using testing::HasSubstr;

/// What one run of a timer leaves to the next: nothing. And what it owes until it has ended: its StopFcn, its
/// ErrorFcn, the start that was accepted meanwhile.
class RunsTest : public RehearsedTest {
protected:
    void expectOutput(const std::string& script, const std::string& output)
    {
        RehearsedTest::expectOutput(prelude + script, output);
    }

    /// The script's callbacks fail; what is reported has these beginnings, in this order.
    void expectFailure(
        const std::string& script, const std::string& output, const std::vector<std::string>& reports)
    {
        const Outcome outcome = run(prelude + script);
        EXPECT_EQ(outcome.out, output);
        EXPECT_EQ(linesWith(outcome.err, "tovrin:"), reports);
        EXPECT_EQ(outcome.status, 1);
    }

private:
    // One line, so that the scripts' own lines are counted from 2.
    const std::string prelude = "local function say(t, event) print(event.Type) end ";
};

TEST_F(RunsTest, AStopFcnAssignedInTheLastCallbackRuns)
{
    expectOutput(R"(
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" } do
  local t = timer { ExecutionMode = mode, Period = 0.001, TasksToExecute = 1, TimerFcn = function(t) t.StopFcn = say end }
  t:start()
  print(mode, t:wait(5), t.Running)
end
)",
        "StopFcn\nSingleShot\ttrue\tfalse\nStopFcn\nFixedSpacing\ttrue\tfalse\n"
        "StopFcn\nFixedDelay\ttrue\tfalse\nStopFcn\nFixedRate\ttrue\tfalse\n");
}

TEST_F(RunsTest, AStopFcnTakenAwayInTheLastCallbackDoesNotRun)
{
    expectOutput(R"(
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" } do
  local t = timer { ExecutionMode = mode, Period = 0.001, TasksToExecute = 1, StopFcn = say, TimerFcn = function(t) pause(0.005) t.StopFcn = nil end }
  t:start()
  print(mode, t:wait(5), t.Running)
end
)",
        "SingleShot\ttrue\tfalse\nFixedSpacing\ttrue\tfalse\nFixedDelay\ttrue\tfalse\nFixedRate\ttrue\tfalse\n");
}

TEST_F(RunsTest, ErrorsAreReportedThoughTheTimerHasBeenDeleted)
{
    expectFailure(R"(
timer { Name = "self", TimerFcn = function(t) t:delete() error("boom", 0) end }:start()
pause(0.05)
timer { Name = "stop", StopFcn = function(t) t:delete() error("boom", 0) end, TimerFcn = function() end }:start()
pause(0.05)
timer { Name = "fail", ErrorFcn = function(t) t:delete() error("boom", 0) end, TimerFcn = function() error("first", 0) end }:start()
pause(0.05)
local victim = timer { Name = "victim", TimerFcn = function() pause(0.1) error("boom", 0) end }
victim:start()
timer { StartDelay = 0.02, TimerFcn = function() victim:delete() print("deleted") end }:start()
pause(0.3)
)",
        "deleted\n",
        { "tovrin: error in TimerFcn of timer \"self\": boom", "tovrin: error in StopFcn of timer \"stop\": boom",
            "tovrin: error in TimerFcn of timer \"fail\": first",
            "tovrin: error in ErrorFcn of timer \"fail\": boom",
            "tovrin: error in TimerFcn of timer \"victim\": boom" });
}

TEST_F(RunsTest, APendingErrorFcnSurvivesStopAndStart)
{
    expectFailure(R"(
local function failing(extra)
  local t = timer { StartDelay = 0.001, TimerFcn = function() error("boom", 0) end, ErrorFcn = say }
  for name, fcn in pairs(extra) do t[name] = fcn end
  return t
end
-- The other one's callback acts between the error and the ErrorFcn.
local function between(t, action)
  local done = false
  local other = timer { TimerFcn = function() done = true action(t) end }
  t.TimerFcn = function(t) error("boom", 0) end
  t:start()
  busy(0.1) -- the scheduler hands it over meanwhile
  other:start()
  pause(0)
  while not done do pause(0.001) end
  t:wait()
end
local t = failing { StopFcn = say }
between(t, function(t) t:stop() print("stopped", t.Running) end)
local u = failing {}
between(u, function(u) u.TimerFcn = say u:start() print("started", u.Running) end)
)",
        "stopped\ttrue\nErrorFcn\nStopFcn\nstarted\ttrue\nErrorFcn\nTimerFcn\n",
        { "tovrin: error in TimerFcn of timer \"timer-1\": boom",
            "tovrin: error in TimerFcn of timer \"timer-3\": boom" });
}

TEST_F(RunsTest, APendingErrorFcnRunsBeforeDeleteReturnsAndAfterAScriptError)
{
    expectFailure(R"(
local t = timer { TimerFcn = function() error("boom", 0) end, ErrorFcn = say, StopFcn = say }
t:start()
local done
local other = timer { TimerFcn = function() t:delete() print("deleted") done = true end }
other:start()
pause(0)
while not done do pause(0.001) end
local u = timer { TimerFcn = function() error("boom", 0) end, ErrorFcn = say, StopFcn = say }
u:start()
timer { TimerFcn = function() os.exit(1) end }:start()
pause(1)
)",
        "ErrorFcn\nStopFcn\ndeleted\nErrorFcn\nStopFcn\n",
        { "tovrin: error in TimerFcn of timer \"timer-1\": boom",
            "tovrin: error in TimerFcn of timer \"timer-3\": boom" });
}

TEST_F(RunsTest, TheStopFcnOfAnEarlierRunDoesNotEndTheNext)
{
    expectOutput(R"(
local t = timer { ExecutionMode = "FixedRate", Period = 0.001, TasksToExecute = 1, StopFcn = say, TimerFcn = function(t) t.StopFcn = nil end }
t:start()
busy(0.02)
pause(0)
t.TasksToExecute = 5
t.TimerFcn = function() end
t:start()
print(t:wait(), t.TasksExecuted)
)",
        "true\t5\n");
}

TEST_F(RunsTest, AnEarlierErrorFcnDoesNotTakeThePlaceOfTheStartFcn)
{
    expectFailure(R"(
local t = timer {
  Name = "t", ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.01, ErrorFcn = say,
  TimerFcn = function(t) busy(0.05) t.StartFcn = say t.StopFcn = say end,
}
t:start()
local again
local other = timer { StartDelay = 0.02, TimerFcn = function() t:stop() t:start() t:stop() again = true end }
other:start()
while not again do pause(0.001) end
print(t:wait(5), t.TasksExecuted)
)",
        "StopFcn\nErrorFcn\nStartFcn\nStopFcn\ntrue\t0\n",
        { R"(tovrin: error in timer "t": callback of timer "t" was still running when its next run fell due)" });
}

TEST_F(RunsTest, AStartAfterAStopBeginsOnceTheStopFcnHasRun)
{
    expectOutput(R"(
local t = timer { Name = "t", StartDelay = 60, StartFcn = say, TimerFcn = say, StopFcn = say }
t:start()
t:stop()
t:start()
print("started", t.Running, pcall(t.start, t))
t:stop()
print("stopped", t.Running)
t:start()
pause(0.02)
print("running", t.Running)
t:stop()
print(t:wait(), t.Running)
)",
        "started\ttrue\tfalse\ttimer \"t\": the timer is already running; only a stopped timer can be started\n"
        "stopped\ttrue\nStartFcn\nStopFcn\nStartFcn\nStopFcn\nStartFcn\nrunning\ttrue\nStopFcn\ntrue\tfalse\n");
}

TEST_F(RunsTest, AStartAfterAStopInTheTimersOwnCallbackBeginsOnceItsStopFcnHasRun)
{
    expectOutput(R"(
local runs = 0
local t = timer {
  StartFcn = say, StopFcn = say,
  TimerFcn = function(t)
    runs = runs + 1
    print("TimerFcn", runs)
    if runs < 3 then t:stop() t:start() end
    print("ends", t.Running)
  end,
}
t:start()
print(t:wait(), t.TasksExecuted)
)",
        "StartFcn\nTimerFcn\t1\nends\ttrue\nStopFcn\nStartFcn\nTimerFcn\t2\nends\ttrue\nStopFcn\n"
        "StartFcn\nTimerFcn\t3\nends\ttrue\nStopFcn\ntrue\t1\n");
}

TEST_F(RunsTest, AnErrorDoesNotTakeBackAStartThatWasAccepted)
{
    expectFailure(R"(
local again = true
local t = timer {
  Name = "t", TimerFcn = say,
  StopFcn = function(t, event) say(t, event) if again then again = false t:start() error("boom", 0) end end,
}
t:start()
print(t:wait(), t.LastError)
)",
        "TimerFcn\nStopFcn\nTimerFcn\nStopFcn\ntrue\tnil\n", { "tovrin: error in StopFcn of timer \"t\": boom" });
}

TEST_F(RunsTest, LastErrorBelongsToTheLatestRun)
{
    expectFailure(R"(
local t = timer { Name = "t", TimerFcn = function() error("boom", 0) end }
t:start()
t:wait()
print(t.LastError)
t.TimerFcn = function() end
t:start()
t:wait()
print(t.LastError)
)",
        "boom\nnil\n", { "tovrin: error in TimerFcn of timer \"t\": boom" });
}

TEST_F(RunsTest, WaitWithoutTimeKnowsOfARunThatHasEnded)
{
    expectOutput(R"(
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" } do
  local ended = false
  local t = timer { ExecutionMode = mode, Period = 0.001, TasksToExecute = 3, TimerFcn = function(t) ended = t.TasksExecuted == 3 or mode == "SingleShot" end }
  t:start()
  while not ended do pause(0.001) end
  print(mode, (t:wait(0)))
end
)",
        "SingleShot\ttrue\nFixedSpacing\ttrue\nFixedDelay\ttrue\nFixedRate\ttrue\n");
}

TEST_F(RunsTest, ALimitThatPassesDuringTheLastCallbackFindsTheRunEnded)
{
    expectOutput(R"(
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" } do
  local t = timer { ExecutionMode = mode, Period = 0.001, TasksToExecute = 1, TimerFcn = function() busy(0.1) end }
  t:start()
  print(mode, (t:wait(0.03)))
end
)",
        "SingleShot\ttrue\nFixedSpacing\ttrue\nFixedDelay\ttrue\nFixedRate\ttrue\n");
}

TEST_F(RunsTest, PauseWithoutTimeRunsAllThatWaits)
{
    expectOutput(R"(
local ran = 0
for i = 1, 10 do timer { TimerFcn = function() ran = ran + 1 end }:start() end
pause(0)
print(ran)
)",
        "10\n");
}

TEST_F(RunsTest, PauseWithoutTimeDoesNotRunWhatComesMeanwhile)
{
    expectOutput(R"(
local ran = 0
local t = timer { TimerFcn = function(t) ran = ran + 1 if ran < 50 then t:stop() t:start() end end }
t:start()
pause(0)
print(ran)
t:stop()
)",
        "1\n");
}

TEST_F(RunsTest, ANewRunFromACallbackCountsFromOne)
{
    expectOutput(R"(
local again = true
local t
t = timer {
  ExecutionMode = "FixedRate", BusyMode = "Drop", Period = 0.002, TasksToExecute = 4,
  TimerFcn = function(t)
    io.write(t.TasksExecuted, " ")
    if t.TasksExecuted == 3 and again then again = false busy(0.01) t:stop() t:start() end
  end,
}
t:start()
print(t:wait(), t.TasksExecuted)
)",
        "1 2 3 1 2 3 4 true\t4\n");
}

TEST_F(RunsTest, AContentionIsReportedWithAndWithoutErrorFcn)
{
    const std::string report = R"(callback of timer "t" was still running when its next run fell due)";
    for (const std::string errorFcn : { "nil", "say" }) {
        expectFailure(R"(
local t = timer {
  Name = "t", ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.01, TasksToExecute = 3,
  TimerFcn = function() busy(0.3) end, ErrorFcn = )"
                + errorFcn + R"(,
}
t:start()
print(t:wait(), t.LastError, t.TasksExecuted)
)",
            (errorFcn == "nil" ? "" : "ErrorFcn\n") + ("true\t" + report) + "\t1\n",
            { "tovrin: error in timer \"t\": " + report });
    }
}

TEST_F(RunsTest, ATimerThatRestartsItselfDoesNotKeepAnEndingProgramAlive)
{
    const Outcome outcome = run(R"(
local t = timer { StartDelay = 60, TimerFcn = print, StopFcn = function(t) print("StopFcn") t:start() end }
t:start()
os.exit(3)
)");

    EXPECT_EQ(outcome.out, "StopFcn\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(RunsTest, ATimerThatIsBeingDeletedCannotBeStarted)
{
    const Outcome outcome = run(R"(
local t = timer { Name = "t", StartDelay = 60, TimerFcn = print, StopFcn = function(t) t:delete() t:start() end }
t:start()
t:delete()
print("deleted", #timers())
)");

    EXPECT_EQ(outcome.out, "deleted\t0\n");
    EXPECT_THAT(outcome.err, HasSubstr("timer \"t\": the timer is being deleted; it cannot be started any more"));
    EXPECT_EQ(outcome.status, 1);
}

} // namespace

} // namespace scripts
