#include "tests/scripts/ScriptTest.hpp"

#include <regex>

namespace scripts {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// Files of tests, in virtual time.
class TestFilesTest : public ScriptTest {
protected:
    /// Runs a file of tests; with N for the milliseconds in what is told.
    Outcome runTests(const std::string& text, const Words& options = {})
    {
        write("t.lua", text);
        Words words { "test" };
        words.insert(words.end(), options.begin(), options.end());
        words.emplace_back("t.lua");
        Outcome outcome = tovrin(words);
        outcome.out = std::regex_replace(outcome.out, std::regex("[0-9]+\\.[0-9] ms"), "N ms");
        return outcome;
    }

    /// What a test that does this tells between its name and the sum; empty if all is well.
    std::string told(const std::string& statements, const Words& options = {})
    {
        const Outcome outcome = runTests("test('t', function()\n" + statements + "\nend)", options);
        EXPECT_EQ(outcome.err, "");
        const std::string begin = "t.lua\n  FAILED  t (N ms), ";
        const std::string end = "1 test, 1 failed (N ms)\n";
        if (outcome.out.starts_with(begin)) {
            EXPECT_EQ(outcome.status, 1);
            EXPECT_TRUE(outcome.out.ends_with(end)) << outcome.out;
            return outcome.out.substr(begin.size(), outcome.out.size() - begin.size() - end.size());
        }
        EXPECT_EQ(outcome.out, "t.lua\n  ok      t (N ms)\n1 test, 0 failed (N ms)\n");
        EXPECT_EQ(outcome.status, 0);
        return "";
    }
};

// ---- The clock

TEST_F(TestFilesTest, AdvanceRunsWhatIsDueUpToAndAtTheEndAndNothingElse)
{
    EXPECT_EQ(told(R"(
local runs = {}
local t = timer { ExecutionMode = "FixedRate", Period = 10, TimerFcn = function() runs[#runs + 1] = clock.now() end }
t:start()
clock.advance(9.999)
expect(runs):toEqual { 0.0 }
clock.advance(0.001)
expect(runs):toEqual { 0.0, 10.0 }
clock.advance(25)
expect(runs):toEqual { 0.0, 10.0, 20.0, 30.0 }
expect(clock.now()):toBe(35.0)
expect(now()):toBe(35.0)
t:stop()
clock.advance(100)
expect(#runs):toBe(4)
)"),
        "");
}

TEST_F(TestFilesTest, AdvanceRunsTimersInTheOrderOfTheirDueTimes)
{
    EXPECT_EQ(told(R"(
local order = {}
for _, seconds in ipairs { 3, 1, 2 } do
  after(seconds, function() order[#order + 1] = seconds end)
end
after(2, function() after(0.5, function() order[#order + 1] = "within" end) end)
clock.advance(3.5)
expect(order):toEqual { 1, 2, "within", 3 }
)"),
        "");
}

TEST_F(TestFilesTest, AdvanceEndsLaterWhereACallbackTakesLonger)
{
    EXPECT_EQ(told(R"(
after(1, function() pause(5) end)
clock.advance(2)
expect(clock.now()):toBeNear(6, 0.01)
)"),
        "");
}

TEST_F(TestFilesTest, NextGoesFromOneDueMomentToTheNextAndTellsWhenNothingIsEverDue)
{
    EXPECT_EQ(told(R"(
expect(clock.next()):toBeNil()
local runs = 0
local t = timer { ExecutionMode = "FixedRate", Period = 3600, TasksToExecute = 3, TimerFcn = function() runs = runs + 1 end }
t:start()
expect(clock.next()):toBe(0.0)
expect(runs):toBe(1)
expect(clock.next()):toBe(3600.0)
expect(runs):toBe(2)
expect(clock.next()):toBe(7200.0)
expect(runs):toBe(3)
expect(clock.next()):toBeNil()
expect(t.Running):toBeFalse()
expect(clock.now()):toBe(7200.0)
)"),
        "");
}

TEST_F(TestFilesTest, NextRunsWhatIsDueAtThisMomentFirst)
{
    EXPECT_EQ(told(R"(
local order = {}
timer { StartDelay = 1, StartFcn = function() order[1] = clock.now() end,
  TimerFcn = function() order[2] = clock.now() end }:start()
expect(clock.next()):toBe(0.0)
expect(order):toEqual { 0.0 }
expect(clock.next()):toBeNear(1, 0.01)
expect(order):toHaveLength(2)
)"),
        "");
}

TEST_F(TestFilesTest, SettleRunsWhatIsDueNowAndWhatThatStartsWithoutADelay)
{
    EXPECT_EQ(told(R"(
local depth = 0
local function down()
  depth = depth + 1
  if depth < 20 then after(0, down) end
end
after(0, down)
local later = after(0.001, error)
clock.settle()
expect(depth):toBe(20)
expect(clock.now()):toBe(0.0)
later:stop()
)"),
        "");
}

TEST_F(TestFilesTest, WhatIsDueWithoutEndIsAnError)
{
    const std::string endless = "local function again() after(0, again) end again() ";
    EXPECT_THAT(told(endless + "clock.settle()"),
        HasSubstr(
            "t.lua:2: clock.settle: after 10000 rounds of callbacks at one moment, something is due at it still"));
}

TEST_F(TestFilesTest, WrongTimesAreErrors)
{
    EXPECT_THAT(told("clock.advance(-1)"),
        StartsWith(
            "seed 0\n      t.lua:2: clock.advance: the time is -1, but must be a number of seconds, at least 0 "
            "and at most 9000000000\n"));
    EXPECT_THAT(told("clock.advance('1')"), HasSubstr("clock.advance: the time is \"1\", but must be"));
    EXPECT_THAT(told("clock.advance(0/0)"), HasSubstr("clock.advance: the time is nan, but must be"));
    EXPECT_THAT(told("clock.advance(math.huge)"), HasSubstr("clock.advance: the time is inf, but must be"));
    EXPECT_THAT(told("clock:advance(1)"), HasSubstr("clock.advance: the time is a table, but must be"));
}

TEST_F(TestFilesTest, TheClockCanBeMovedInACallback)
{
    EXPECT_EQ(told(R"(
local order = {}
after(1, function()
  after(1, function() order[#order + 1] = "within" end)
  clock.advance(1.5)
  order[#order + 1] = "outer"
end)
clock.advance(1.5)
expect(order):toEqual { "within", "outer" }
)"),
        "");
}

TEST_F(TestFilesTest, ADayPassesAtOnce)
{
    EXPECT_EQ(told(R"(
local runs = 0
local t = every(1, function() runs = runs + 1 end)
pause(3600)
t:stop()
expect(runs):toBeNear(3600, 1)
)"),
        "");
}

// ---- What fails

TEST_F(TestFilesTest, WhatNothingEndsIsADeadlockAndTheOtherTestsAreRun)
{
    const Outcome outcome
        = runTests("test('waits', function() pause(math.huge) end)\ntest('good', function() end)");

    const std::string told = std::regex_replace(outcome.out, std::regex("condition [0-9]+"), "condition C");
    EXPECT_EQ(told,
        "t.lua\n"
        "  FAILED  waits (N ms), seed 0\n"
        "      t.lua:1: deadlock: each thread waits, and nothing is ever due\n"
        "        main: wait for condition C\n"
        "        interpreter: wait for condition C\n"
        "  ok      good (N ms)\n"
        "2 tests, 1 failed (N ms)\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(TestFilesTest, ADeadlockIsToldWhereverItIsAndWhateverIsCaught)
{
    EXPECT_THAT(told("after(1, function()\npause(math.huge) end)\npause(5)"),
        StartsWith("seed 0\n      t.lua:3: deadlock: each thread waits, and nothing is ever due\n"));
    EXPECT_THAT(
        told("pcall(pause, math.huge)\npause(math.huge)"), StartsWith("seed 0\n      t.lua:2: deadlock: "));
    // Once more as the timer is stopped, at the end.
    EXPECT_THAT(told("timer { TimerFcn = function() pause(math.huge) end,\n"
                     "StopFcn = function() pause(math.huge) end }:start():wait()"),
        StartsWith("seed 0\n      t.lua:2: deadlock: "));
}

TEST_F(TestFilesTest, WhatATestPrintsStandsInFrontOfItsRow)
{
    const Outcome outcome = runTests("test('a', function() print('hello') end)\ntest('b', function() end)");

    EXPECT_EQ(outcome.out, "t.lua\nhello\n  ok      a (N ms)\n  ok      b (N ms)\n2 tests, 0 failed (N ms)\n");
    EXPECT_EQ(outcome.err, "");
}

// ---- Schedules

/// A callback ends at the very moment at which its next run falls due: which of the two is first is nobody's
/// promise.
const std::string race = R"(
local t = timer { ExecutionMode = "FixedRate", Period = 1, TasksToExecute = 4, TimerFcn = function() pause(1) end }
t:start()
t:wait()
expect(t:statistics().Drops):toBe(0)
)";

TEST_F(TestFilesTest, ARaceIsFoundUnderASeedAndFailsAgainUnderIt)
{
    const std::string found = told(race, { "--seeds", "200" });
    std::smatch seed;
    ASSERT_TRUE(std::regex_search(found, seed, std::regex("^seed ([0-9]+)\n"))) << found;

    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(told(race, { "--seed", seed.str(1) }), found);
    }
}

TEST_F(TestFilesTest, TheClockGoesByDueMomentsUnderEachSchedule)
{
    EXPECT_EQ(told(R"(
local order = {}
after(5, function() after(0.5, function() order[#order + 1] = "b" end) order[#order + 1] = "a" end)
expect(clock.next()):toBe(5.0)
expect(clock.next()):toBe(5.5)
expect(clock.next()):toBeNil()
local t = every(1, function() order[#order + 1] = clock.now() end)
clock.advance(3)
t:stop()
expect(order):toEqual { "a", "b", 6.5, 7.5, 8.5 }
)",
                  { "--seeds", "300" }),
        "");
}

TEST_F(TestFilesTest, TheCalmScheduleIsAlwaysTheSame)
{
    const std::string first = told(race);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(told(race), first);
    }
}

TEST_F(TestFilesTest, TheExampleIsFineUnderTheCalmScheduleAndHasARaceUnderAnother)
{
    const std::string example = TOVRIN_EXAMPLES "/overlap_test.lua";
    const Outcome calm = tovrin({ "test", example });
    EXPECT_THAT(calm.out, HasSubstr("\n5 tests, 0 failed ("));
    EXPECT_EQ(calm.status, 0);

    const Outcome outcome = tovrin({ "test", "--seeds", "20", example });
    EXPECT_THAT(outcome.out, HasSubstr("\n  FAILED  Error: a callback that is just in time ("));
    EXPECT_THAT(outcome.out, HasSubstr("\n5 tests, 1 failed ("));
    EXPECT_EQ(outcome.status, 1);
}

// ---- The command line

TEST_F(TestFilesTest, WrongUsageIsRefusedBeforeAnythingIsRun)
{
    const auto refused = [&](const Words& options, const std::string& complaint) {
        const Outcome outcome = runTests("print('loaded')", options);
        EXPECT_EQ(outcome.err, "tovrin: " + complaint + "\nTry 'tovrin test --help'.\n");
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.status, 2);
    };
    refused({ "--seeds", "0" },
        "--seeds: \"0\" is not allowed: it must be a whole number from 1 to 18446744073709551615");
    refused({ "--seed", "-1" },
        "--seed: \"-1\" is not allowed: it must be a whole number from 0 to 18446744073709551615");
    refused({ "--seed", "1", "--seeds", "2" }, "--seeds excludes --seed");
    EXPECT_EQ(tovrin({ "test" }).status, 2);
}

} // namespace

} // namespace scripts
