#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// Runs of timers in virtual time: each moment is the one that the mode's rules give, and callbacks are as late as
/// others make them.
class VirtualRunsTest : public RehearsedTest {
protected:
    /// Runs a timer, whose second callback of four takes 0.35 s and the others 0.02 s, at a period of 0.1 s.
    void expectRun(const std::string& settings, const std::string& output, const std::string& err = "")
    {
        const Outcome outcome = run(R"(
local function show(t, event)
  print(string.format("%.2f %s due %.2f late %.2f missed %d", now(), event.Type, event.Due, event.Lateness, event.Missed))
end
local t = timer {
  Name = "t", Period = 0.1, TasksToExecute = 4, StartFcn = show, StopFcn = show, ErrorFcn = show,
  TimerFcn = function(t, event) show(t, event) busy(t.TasksExecuted == 2 and 0.35 or 0.02) end, )"
            + settings + R"(
}
t:start():wait()
local s, late = t:statistics(), t:statistics().Lateness
print(string.format("period %.4f %.4f", t.InstantPeriod, t.AveragePeriod))
print(string.format("runs %d drops %d errors %d busy %.4f", s.Runs, s.Drops, s.Errors, s.Busy))
print(string.format("late %.2f %.2f %.2f %.2f", late.Median, late.P99, late.Max, late.Last))
)");
        EXPECT_EQ(outcome.out, output);
        EXPECT_EQ(outcome.err, err);
    }
};

TEST_F(VirtualRunsTest, FixedRateDrop)
{
    expectRun("ExecutionMode = 'FixedRate'",
        "0.00 StartFcn due 0.00 late 0.00 missed 0\n"
        "0.00 TimerFcn due 0.00 late 0.00 missed 0\n"
        "0.10 TimerFcn due 0.10 late 0.00 missed 0\n"
        "0.45 TimerFcn due 0.45 late 0.00 missed 3\n"
        "0.55 TimerFcn due 0.55 late 0.00 missed 0\n"
        "0.57 StopFcn due 0.55 late 0.02 missed 0\n"
        "period 0.1000 0.1625\n"
        "runs 4 drops 3 errors 0 busy 0.7193\n"
        "late 0.00 0.00 0.00 0.00\n");
}

TEST_F(VirtualRunsTest, FixedRateQueue)
{
    expectRun("ExecutionMode = 'FixedRate', BusyMode = 'Queue'",
        "0.00 StartFcn due 0.00 late 0.00 missed 0\n"
        "0.00 TimerFcn due 0.00 late 0.00 missed 0\n"
        "0.10 TimerFcn due 0.10 late 0.00 missed 0\n"
        "0.45 TimerFcn due 0.20 late 0.25 missed 0\n"
        "0.47 TimerFcn due 0.30 late 0.17 missed 0\n"
        "0.49 StopFcn due 0.30 late 0.19 missed 0\n"
        "period 0.0200 0.1425\n"
        "runs 4 drops 0 errors 0 busy 0.8367\n"
        "late 0.00 0.25 0.25 0.17\n");
}

TEST_F(VirtualRunsTest, FixedRateError)
{
    expectRun("ExecutionMode = 'FixedRate', BusyMode = 'Error'",
        "0.00 StartFcn due 0.00 late 0.00 missed 0\n"
        "0.00 TimerFcn due 0.00 late 0.00 missed 0\n"
        "0.10 TimerFcn due 0.10 late 0.00 missed 0\n"
        "0.45 StopFcn due 0.20 late 0.25 missed 0\n"
        "0.45 ErrorFcn due 0.45 late 0.00 missed 0\n"
        "period 0.1000 0.1000\n"
        "runs 2 drops 0 errors 0 busy 0.8222\n"
        "late 0.00 0.00 0.00 0.00\n",
        "tovrin: error in timer \"t\": callback of timer \"t\" was still running when its next run fell due\n");
}

TEST_F(VirtualRunsTest, FixedDelay)
{
    expectRun("ExecutionMode = 'FixedDelay'",
        "0.00 StartFcn due 0.00 late 0.00 missed 0\n"
        "0.00 TimerFcn due 0.00 late 0.00 missed 0\n"
        "0.10 TimerFcn due 0.10 late 0.00 missed 0\n"
        "0.45 TimerFcn due 0.20 late 0.25 missed 0\n"
        "0.55 TimerFcn due 0.55 late 0.00 missed 0\n"
        "0.57 StopFcn due 0.55 late 0.02 missed 0\n"
        "period 0.1000 0.1625\n"
        "runs 4 drops 0 errors 0 busy 0.7193\n"
        "late 0.00 0.25 0.25 0.00\n");
}

TEST_F(VirtualRunsTest, FixedSpacing)
{
    expectRun("ExecutionMode = 'FixedSpacing'",
        "0.00 StartFcn due 0.00 late 0.00 missed 0\n"
        "0.00 TimerFcn due 0.00 late 0.00 missed 0\n"
        "0.12 TimerFcn due 0.12 late 0.00 missed 0\n"
        "0.57 TimerFcn due 0.57 late 0.00 missed 0\n"
        "0.69 TimerFcn due 0.69 late 0.00 missed 0\n"
        "0.71 StopFcn due 0.71 late 0.00 missed 0\n"
        "period 0.1200 0.2025\n"
        "runs 4 drops 0 errors 0 busy 0.5775\n"
        "late 0.00 0.00 0.00 0.00\n");
}

TEST_F(VirtualRunsTest, ACallbackIsAsLateAsTheOneInItsWayMakesIt)
{
    expectOutput(R"(timer { Name = "hog", StartDelay = 0.05, TimerFcn = function() busy(0.25) end }:start()
local poll = timer { Name = "poll", ExecutionMode = "FixedRate", Period = 0.1, TasksToExecute = 2, TimerFcn = function() end }
poll:start():wait()
print(poll:explain(1))
print(poll:explain(2))
)",
        "poll run 1 (FixedRate, Drop, 0.1 s) due 0.000 started 0.000 late 0.0 ms\n"
        "poll run 2 (FixedRate, Drop, 0.1 s) due 0.100 started 0.300 late 200.0 ms\n"
        "      200.000 ms 100.0 %  behind run 1 of hog (script.lua:1)\n");
}

TEST_F(VirtualRunsTest, WhatIsDueAtTheSameMomentComesInTheOrderInWhichItWasStarted)
{
    expectOutput(R"(
local order = {}
for i = 1, 9 do timer { ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.5, TasksToExecute = 3, StartDelay = 1,
  TimerFcn = function() order[#order + 1] = i end }:start() end
pause(60)
print(table.concat(order, " "), now())
)",
        "1 2 3 4 5 6 7 8 9 1 2 3 4 5 6 7 8 9 1 2 3 4 5 6 7 8 9\t60.0\n");
}

} // namespace

} // namespace scripts
