#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

using testing::ElementsAre;

const char* const delayedTimer = R"(
local begin
local function say(obj, event) print(event.Type) end
local t = timer {
  Name = "delayed", StartDelay = 0.2, StartFcn = say, StopFcn = say, ErrorFcn = say,
  TimerFcn = function(obj, event)
    io.write("elapsed ", now() - begin, "\n")
    say(obj, event)
  end,
}
begin = now()
t:start()
print("started", t.Running)
print("wait", t:wait())
print(t.Running, t.TasksExecuted)
)";

class SingleShotTest : public ScriptTest, public testing::WithParamInterface<const char*> { };

TEST_P(SingleShotTest, RunsItsCallbacksInOrderAndNeverBeforeItsDelay)
{
    const Outcome outcome = run(delayedTimer, { "--feature", GetParam() });

    const auto elapsed = numbersAfter(outcome.out, "elapsed");
    ASSERT_EQ(elapsed.size(), 1U) << outcome.out << outcome.err;
    EXPECT_GE(elapsed[0], 0.2);
    auto rest = lines(outcome.out);
    std::erase_if(rest, [](const std::string& line) { return line.rfind("elapsed", 0) == 0; });
    EXPECT_THAT(rest,
        ElementsAre("started\ttrue", "StartFcn", "TimerFcn", "StopFcn", "wait\ttrue\ttasks done", "false\t1"));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

INSTANTIATE_TEST_SUITE_P(BothWays, SingleShotTest, testing::Values("TIMER_PPE=on", "TIMER_PPE=off"),
    [](const auto& way) { return std::string(way.param) == "TIMER_PPE=on" ? "Ppe" : "LineHook"; });

class WaitTest : public RehearsedTest { };

TEST_F(WaitTest, AWaitThatIsTooShortSaysSoAndTheTimerGoesOn)
{
    expectOutput(R"(
local t = timer { StartDelay = 0.3, TimerFcn = function() print("TimerFcn") end }
t:start()
local begin = now()
print(t:wait(0.05), now() - begin >= 0.05, t.Running)
print((t:wait()))
print(t:wait(0), (t:wait(math.huge)))
)",
        "false\ttrue\ttrue\nTimerFcn\ntrue\ntrue\ttrue\n");
}

TEST_F(WaitTest, TheProgramServesTimersAfterTheScriptHasEnded)
{
    expectOutput(R"(
timer { StartDelay = 0.1, TimerFcn = function() print("TimerFcn") end, StopFcn = function() print("StopFcn") end }:start()
print("end of script")
)",
        "end of script\nTimerFcn\nStopFcn\n");
}

TEST_F(WaitTest, PauseIsNeverEarlyAndRunsWhatFallsDue)
{
    expectOutput(R"(
timer { Name = "a", StartDelay = 0.02, TimerFcn = function(t) print(t.Name) end }:start()
local begin = now()
pause(0.2)
print(now() - begin >= 0.2)
)",
        "a\ntrue\n");
}

TEST_F(WaitTest, WaitingInsideACallbackRunsOtherTimersButNeverTheSameOne)
{
    const std::string once = "outer begins\t1\ninner runs\ninner ended\ttrue\n";
    expectOutput(R"(
local inner = timer { Name = "inner", TimerFcn = function(t) print("inner runs") end }
local depth = 0
local outer
outer = timer {
  Name = "outer", ExecutionMode = "FixedDelay", Period = 0.001, TasksToExecute = 3,
  TimerFcn = function(t)
    depth = depth + 1
    print("outer begins", depth)
    inner:start()
    print("inner ended", (inner:wait()))
    pause(0.02)
    depth = depth - 1
  end,
}
outer:start()
outer:wait()
)",
        once + once + once);
}

TEST_F(WaitTest, ACoroutineMayPauseAndWait)
{
    expectOutput(R"(
local t = timer { StartDelay = 0.02, TimerFcn = function() print("TimerFcn") end }
local co = coroutine.wrap(function()
  t:start()
  print("waited", (t:wait()))
  coroutine.yield("yielded")
end)
print(co())
)",
        "TimerFcn\nwaited\ttrue\nyielded\n");
}

} // namespace

} // namespace scripts
