#include "tests/Sanitizers.hpp"
#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

using testing::ElementsAre;

/// What a script does that takes all the memory that there is. The pieces become ever smaller, until nothing is
/// left.
const std::string takeAll = R"(
local kept
local function takeAll(keeps)
  local keep
  for power = 20, 0, -1 do
    pcall(function() while true do keep = { keep, ("x"):rep(2 ^ power) } kept = keeps and keep end end)
  end
  while true do keep = { keep } kept = keeps and keep end
end
local function say(t, event) print(event.Type) end
)";

class MemoryTest : public ScriptTest {
protected:
    void SetUp() override
    {
        if (tests::isWatched) {
            GTEST_SKIP() << "a sanitizer needs more addresses than the limit leaves";
        }
    }

    Outcome runInLittleMemory(const std::string& script)
    {
        write("script.lua", takeAll + script);
        return shell("ulimit -v 150000; exec \"$TOVRIN\" run script.lua");
    }
};

TEST_F(MemoryTest, AScriptThatTakesAllMemoryIsReportedAndItsTimersStopped)
{
    const Outcome outcome
        = runInLittleMemory("timer { StartDelay = 60, TimerFcn = say, StopFcn = say }:start()\ntakeAll()");

    EXPECT_EQ(outcome.out, "StopFcn\n");
    EXPECT_THAT(linesWith(outcome.err, "tovrin:"), ElementsAre("tovrin: error in script: not enough memory"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(MemoryTest, ACallbackThatTakesAllMemoryIsReportedAndTheRunEnds)
{
    for (const char* mode : { "SingleShot", "FixedSpacing", "FixedRate" }) {
        const Outcome outcome = runInLittleMemory(std::string("timer { Name = 't', ExecutionMode = '") + mode
            + "', Period = 0.01, TimerFcn = function() takeAll() end, ErrorFcn = say, StopFcn = say }:start()");

        EXPECT_EQ(outcome.out, "ErrorFcn\nStopFcn\n") << mode;
        EXPECT_THAT(linesWith(outcome.err, "tovrin:"),
            ElementsAre("tovrin: error in TimerFcn of timer \"t\": not enough memory"))
            << mode;
        EXPECT_EQ(outcome.status, 1) << mode;
    }
}

TEST_F(MemoryTest, ACallbackThatTakesAllMemoryAndKeepsItEndsTheProgramToo)
{
    for (const char* mode : { "SingleShot", "FixedSpacing", "FixedRate" }) {
        const Outcome outcome = runInLittleMemory(std::string("timer { Name = 't', ExecutionMode = '") + mode
            + "', Period = 0.01, TimerFcn = function() takeAll(true) end, ErrorFcn = say, StopFcn = say "
              "}:start()");

        const auto reports = linesWith(outcome.err, "tovrin:");
        ASSERT_FALSE(reports.empty()) << mode;
        EXPECT_EQ(reports.front(), "tovrin: error in TimerFcn of timer \"t\": not enough memory") << mode;
        EXPECT_EQ(outcome.status, 1) << mode;
    }
}

TEST_F(MemoryTest, AHundredThousandTimersThatNobodyHoldsNeedTheMemoryOfAFew)
{
    // What is measured begins once the tables of the latest timers are full, which hold 32,768 of them.
    const Outcome outcome = run(R"(
local function kilobytes()
  for line in io.lines("/proc/self/status") do
    local found = line:match("^VmRSS:%s*(%d+) kB")
    if found then return tonumber(found) end
  end
end
local ran = 0
local function f() ran = ran + 1 end
local before
for i = 1, 100000 do
  after(0.001, f)
  if i % 200 == 0 then pause(0.002) end
  if i == 40000 then collectgarbage() before = kilobytes() end
end
while #timers { Running = true } > 0 do pause(0.001) end
collectgarbage()
print(ran, #timers())
print("grown " .. kilobytes() - before)
print("lua " .. collectgarbage("count"))
)");

    EXPECT_THAT(lines(outcome.out), ElementsAre("100000\t0", testing::_, testing::_)) << outcome.err;
    EXPECT_THAT(numbersAfter(outcome.out, "grown"), ElementsAre(testing::Lt(3000.0))); // it was 140,000
    EXPECT_THAT(numbersAfter(outcome.out, "lua"), ElementsAre(testing::Lt(500.0)));
}

} // namespace

} // namespace scripts
