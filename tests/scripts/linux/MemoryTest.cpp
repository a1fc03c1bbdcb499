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
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer needs more addresses than the limit leaves";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
        GTEST_SKIP() << "a sanitizer needs more addresses than the limit leaves";
#endif
#endif
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

} // namespace

} // namespace scripts
