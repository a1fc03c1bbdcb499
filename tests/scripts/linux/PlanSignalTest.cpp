#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

using testing::EndsWith;
using testing::HasSubstr;

/// Signals while a plan is made, and output that cannot be written. The scripts send the signals by a shell.
class PlanSignalTest : public ScriptTest {
protected:
    Outcome plan(const std::string& script)
    {
        write("script.lua", script);
        return tovrin({ "plan", "--for", "366d", "script.lua" });
    }
};

TEST_F(PlanSignalTest, ASignalEndsThePlanWithWhatThereIsOfIt)
{
    const Outcome outcome = plan(R"(
timer {
  Name = "beat", ExecutionMode = "FixedRate", Period = 1,
  TimerFcn = function(t) if t.TasksExecuted == 3 then os.execute("kill -INT $PPID") end end,
}:start()
)");

    EXPECT_THAT(outcome.out, HasSubstr("       2.000  "));
    EXPECT_THAT(lines(outcome.out).back(), testing::StartsWith("Interrupted after "));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 130);
}

TEST_F(PlanSignalTest, ASecondOneLeavesACallbackThatNeverEndsAndTheRowsBeforeAreThere)
{
    const Outcome outcome = plan(R"(
timer { Name = "before", TimerFcn = function() end }:start()
timer {
  StartDelay = 1,
  TimerFcn = function() os.execute("kill -INT $PPID; sleep 0.2; kill -INT $PPID") while true do end end,
}:start()
)");

    EXPECT_THAT(outcome.out, HasSubstr("       0.000  "));
    EXPECT_THAT(outcome.err, EndsWith("tovrin: interrupted again, leaving at once\n"));
    EXPECT_EQ(outcome.status, 130);
}

TEST_F(PlanSignalTest, APlanThatCannotBeWrittenIsToldSo)
{
    write("script.lua", "timer { TimerFcn = function() end }:start()");
    const Outcome outcome = shell("\"$TOVRIN\" plan script.lua >/dev/full");

    EXPECT_EQ(outcome.err, "tovrin: the plan cannot be written: No space left on device\n");
    EXPECT_EQ(outcome.status, 1);
}

} // namespace

} // namespace scripts
