#include "tests/scripts/ScriptTest.hpp"
#include "tests/scripts/platform/Platform.hpp"

namespace scripts {

namespace {

class InterruptTest : public ScriptTest {
protected:
    void SetUp() override
    {
        if (const char* reason = platform::whyNoControlC(); reason != nullptr) {
            GTEST_SKIP() << reason;
        }
    }

    void expectOrderlyEnd(const std::string& script, const std::string& output)
    {
        const Outcome outcome = runAndInterrupt(script, { "ready" });
        EXPECT_EQ(outcome.out, output);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 130);
    }
};

const std::string runningTimer = R"(
local t = timer {
  ExecutionMode = "FixedRate", Period = 60, TimerFcn = function() end,
  StartFcn = function() print("StartFcn") end, StopFcn = function() print("StopFcn") end,
}
t:start()
pause(0)
)";

/// Stopped as the script ends, however it ends.
std::string timerWithStopFcn(const std::string& body)
{
    return "timer { StartDelay = 60, TimerFcn = print, StopFcn = function() " + body + " end }:start() ";
}

TEST_F(InterruptTest, OutputComesLineByLine)
{
    // Ctrl-C is pressed when the line has come, so it has not waited for the end of the program.
    const Outcome outcome = runAndInterrupt("io.write('ready\\n') pause(60)", { "ready" });

    EXPECT_EQ(outcome.status, 130);
}

TEST_F(InterruptTest, IsTheReasonThatStopFcnsAreTold)
{
    expectOrderlyEnd(
        "timer { StartDelay = 60, TimerFcn = print, StopFcn = function(_, event) print(event.Reason) end }"
        ":start() print('ready') pause(60)",
        "ready\ninterrupted\n");
}

TEST_F(InterruptTest, StopsTimersThatAreServed)
{
    expectOrderlyEnd(runningTimer + "print('ready')", "StartFcn\nready\nStopFcn\n");
}

TEST_F(InterruptTest, EndsAPauseAndAWait)
{
    expectOrderlyEnd(runningTimer + "print('ready') pause(60)", "StartFcn\nready\nStopFcn\n");
    expectOrderlyEnd(runningTimer + "print('ready') t:wait()", "StartFcn\nready\nStopFcn\n");
}

TEST_F(InterruptTest, GivesUpABusyScriptAlsoInProtectedCalls)
{
    expectOrderlyEnd(runningTimer + "print('ready') while true do end", "StartFcn\nready\nStopFcn\n");
    expectOrderlyEnd(runningTimer + "print('ready') while true do pcall(function() while true do end end) end",
        "StartFcn\nready\nStopFcn\n");
}

TEST_F(InterruptTest, ASecondOneDoesNotWaitForAFinalizer)
{
    const Outcome outcome = runAndInterrupt(R"(
setmetatable({}, { __gc = function()
  print("finalizing")
  local begin = now()
  while now() - begin < 0.2 do end
  print("still finalizing")
  while true do end
end })
collectgarbage()
)",
        { "finalizing", "still finalizing" });

    EXPECT_EQ(outcome.out, "finalizing\nstill finalizing\n");
    EXPECT_EQ(outcome.err, "tovrin: interrupted again, leaving at once\n");
    EXPECT_EQ(outcome.status, 130);
}

TEST_F(InterruptTest, GivesUpABusyCallbackWithoutCallingItAnError)
{
    expectOrderlyEnd(R"(
local function say(t, event) print(event.Type) end
timer { TimerFcn = function() print("ready") while true do end end, StopFcn = say, ErrorFcn = say }:start()
)",
        "ready\nStopFcn\n");
}

TEST_F(InterruptTest, EndsAPauseInACallback)
{
    expectOrderlyEnd(R"(
local function say(t, event) print(event.Type) end
timer { TimerFcn = function() print("ready") pause(60) print("not reached") end, StopFcn = say, ErrorFcn = say }:start()
)",
        "ready\nStopFcn\n");
}

TEST_F(InterruptTest, ASecondOneDoesNotWaitForAStopFcn)
{
    const Outcome outcome = runAndInterrupt(R"(
timer { StartDelay = 60, TimerFcn = print, StopFcn = function() print("stopping") while true do end end }:start()
print("ready")
)",
        { "ready", "stopping" });

    EXPECT_EQ(outcome.out, "ready\nstopping\n");
    EXPECT_EQ(outcome.err, "tovrin: interrupted again, leaving at once\n");
    EXPECT_EQ(outcome.status, 130);
}

TEST_F(InterruptTest, WhateverTheScriptDoesAfterwardsTheStatusTellsOfIt)
{
    for (const char* body : { "os.exit(0)", "os.exit(7)", "error('boom')", "print('StopFcn')" }) {
        const Outcome outcome = runAndInterrupt(timerWithStopFcn(body) + "print('ready') pause(60)", { "ready" });
        EXPECT_EQ(outcome.status, 130) << body;
    }
}

TEST_F(InterruptTest, AfterAnErrorOrACodeTheStatusTellsOfItToo)
{
    const std::string busy = timerWithStopFcn("print('ready') while true do end");

    EXPECT_EQ(runAndInterrupt(busy + "error('boom')", { "ready" }).status, 130);
    EXPECT_EQ(runAndInterrupt(busy + "os.exit(7)", { "ready" }).status, 130);
}

} // namespace

} // namespace scripts
