#include "tests/scripts/ScriptTest.hpp"

#include <regex>

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

/// Why a callback has not run, and how many have.
using DiagnosisTest = RehearsedTest;

/// Why callbacks were late, and how late: by the real clock.
using LatenessTest = ScriptTest;

/// Numbers that hang on the machine, written as N.
std::string withoutNumbers(const std::string& text)
{
    return std::regex_replace(text, std::regex(" *[0-9]+\\.[0-9]+"), " N");
}

/// A timer that keeps the others waiting, and a script that lets it.
const std::string hog = R"(
local hog = timer { Name = "hog", StartDelay = 0.05, TimerFcn = function() busy(0.2) end }
hog:start()
)";

TEST_F(LatenessTest, AnEventTellsWhenItWasDueHowLateItIsAndWhatWasMissed)
{
    const std::string script = R"(
local t = timer {
  ExecutionMode = "FixedRate", Period = period, TasksToExecute = 3, StartDelay = 0.1,
  TimerFcn = function(t, event)
    local moment = now()
    assert(event.Lateness >= 0)
    assert(math.abs(event.Due + event.Lateness - moment) < 0.02, event.Due .. " " .. event.Lateness .. " " .. moment)
    assert(math.type(event.Missed) == "integer")
    print(t.TasksExecuted, event.Missed)
    if t.TasksExecuted == 2 then
      busy(event.Due + 3.5 * period - now())
    end
  end,
  StopFcn = function(_, event) print(event.Type, event.Missed) assert(event.Due <= now()) end,
}
t:start()
t:wait()
)";
    // How many are missed hangs on when the second one was dispatched, too: by half a period.
    const std::string expected = "1\t0\n2\t0\n3\t3\nStopFcn\t0\n";
    std::string out;
    for (const char* period : { "0.1", "0.4", "1.6" }) {
        const Outcome outcome = run("local period = " + std::string(period) + script);
        EXPECT_EQ(outcome.err, "");
        out = outcome.out;
        if (out == expected) {
            break;
        }
    }
    EXPECT_EQ(out, expected);
}

TEST_F(LatenessTest, AnExplanationNamesTheTimerTheRunAndTheLineThatWereInTheWay)
{
    const Outcome outcome = run(hog + R"(
local poll = timer { Name = "poll", ExecutionMode = "FixedRate", Period = 0.1, TasksToExecute = 2, TimerFcn = print }
poll.TimerFcn = function() end
poll:start()
poll:wait()
local text = poll:explain(2)
print(text)
print(text == poll:explain())
)");
    EXPECT_EQ(outcome.err, "");
    const auto all = lines(withoutNumbers(outcome.out));
    ASSERT_GE(all.size(), 3U) << outcome.out;
    EXPECT_EQ(all.front(), "poll run 2 (FixedRate, Drop, N s) due N started N late N ms");
    EXPECT_THAT(linesWith(withoutNumbers(outcome.out), "behind run 1 of hog"),
        ElementsAre(" N ms N %  behind run 1 of hog (script.lua:2)"));
    EXPECT_EQ(all.back(), "true");
    const std::regex share("ms *([0-9.]+) %  behind run 1 of hog");
    std::smatch found;
    ASSERT_TRUE(std::regex_search(outcome.out, found, share)) << outcome.out;
    EXPECT_GT(std::stod(found[1]), 50) << outcome.out;
}

TEST_F(DiagnosisTest, ACallbackThatWaitsForTheScriptsOwnCodeIsToldSoBeforeAndAfterItRan)
{
    const Outcome outcome = run(R"(
local t = timer { Name = "t", TimerFcn = function() end }
print(t:explain())
t:start()
print(t:explain())
busy(0.1)
pause(0)
print(t:explain())
)");
    EXPECT_EQ(outcome.err, "");
    const auto all = lines(withoutNumbers(outcome.out));
    EXPECT_EQ(all[0], "t has not been started: nothing of it is due");
    EXPECT_EQ(all[1],
        "t next run (SingleShot) due N has not started: the script has been running its own code since N, and "
        "neither "
        "pauses nor waits");
    EXPECT_THAT(outcome.out, HasSubstr("behind the script's own code, which paused or waited next at line 7"));
}

TEST_F(DiagnosisTest, AFiringThatHasNotComeTellsWhatItWaitsFor)
{
    const Outcome outcome = run(hog + R"(
hog:delete()
local delayed = timer { Name = "delayed", StartDelay = 60, TimerFcn = print }
delayed:start()
print(delayed:explain())
local dropping
dropping = timer {
  Name = "dropping", ExecutionMode = "FixedRate", Period = 0.1, TasksToExecute = 2,
  TimerFcn = function(t) if t.TasksExecuted == 1 then pause(0.35) print(dropping:explain()) end end,
}
dropping:start()
dropping:wait()
delayed:stop()
print(delayed:explain())
)");
    EXPECT_EQ(outcome.err, "");
    const auto all = lines(withoutNumbers(outcome.out));
    EXPECT_THAT(all,
        ElementsAre("delayed next run (SingleShot) due N has not started: start delay until N",
            "dropping next run (FixedRate, Drop, N s) due N has not started: run 1 had not ended; 3 firings "
            "in a "
            "row missed so far",
            "delayed next run (SingleShot) due N never ran: its timer was stopped, or had an error"));
}

TEST_F(DiagnosisTest, StatisticsTellWhatHasBecomeOfATimersFiringsInAllItsRuns)
{
    const Outcome outcome = run(R"(
local t = timer {
  ExecutionMode = "FixedRate", Period = 0.05, TasksToExecute = 3,
  TimerFcn = function(t)
    if t.TasksExecuted == 1 then pause(0.12) end
  end,
  StopFcn = function() error("wanted") end,
}
local nothing = t:statistics()
assert(nothing.Runs == 0 and nothing.Busy == 0 and nothing.Lateness.Max == 0)
t:start() t:wait()
t:start() t:wait()
local s = t:statistics()
print(s.Runs, s.Drops, s.Errors)
local late = s.Lateness
assert(0 <= late.Median and late.Median <= late.P99 and late.P99 <= late.Max and late.Last <= late.Max)
assert(0.3 < s.Busy and s.Busy < 1, s.Busy)
)");
    EXPECT_EQ(outcome.out, "6\t4\t2\n");
    EXPECT_THAT(linesWith(outcome.err, "error in script"), testing::IsEmpty());
}

TEST_F(DiagnosisTest, ATimerWhoseStartFcnHasFailedHasNotRunForThat)
{
    const Outcome outcome = run(R"(
local t = timer {
  Name = "poll", ExecutionMode = "FixedRate", StartDelay = 0.01, StopFcn = function() end,
  StartFcn = function() error("no such file", 0) end, TimerFcn = function() end,
}
t:start()
t:wait()
print(t:explain())
)");

    EXPECT_EQ(outcome.out, "poll has not run since it was started: its StartFcn failed: no such file\n");
}

TEST_F(DiagnosisTest, ARunThatThereIsNotIsRefused)
{
    const Outcome outcome = run(R"(
local t = timer { Name = "t", TimerFcn = function() end }
t:start() t:wait()
for _, run in ipairs { 0, -1, 1.5, "1", 2 } do
  print(select(2, pcall(t.explain, t, run)))
end
print(select(2, pcall(t.explain)))
print(t:explain(nil) == t:explain(1))
)");
    const std::string allowed = ", but must be a whole number, at least 1";
    EXPECT_THAT(lines(outcome.out),
        ElementsAre("timer \"t\": the run of explain is 0" + allowed,
            "timer \"t\": the run of explain is -1" + allowed, "timer \"t\": the run of explain is 1.5" + allowed,
            "timer \"t\": the run of explain is \"1\"" + allowed,
            "timer \"t\": the run of explain is 2, but the timer has had 1 since it was started",
            "explain: call it with a colon, t:explain()", "true"));
}

} // namespace

} // namespace scripts
