#include "tests/scripts/ScriptTest.hpp"

#include <fstream>
#include <sstream>

namespace scripts {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class TraceFaultTest : public ScriptTest { };

TEST_F(TraceFaultTest, AFullDiskIsToldOfOnceAndLosesNoCallback)
{
    const Outcome outcome = run(R"(
local t = timer { ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.01, TasksToExecute = 20, TimerFcn = function() end }
t:start() t:wait()
print(t.TasksExecuted)
)",
        { "--trace", "/dev/full" });

    EXPECT_EQ(outcome.out, "20\n");
    EXPECT_EQ(outcome.err,
        "tovrin: cannot write the trace \"/dev/full\": No space left on device; the rest of it is lost\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(TraceFaultTest, AKilledProgramLeavesATraceThatCanBeRead)
{
    write("script.lua", R"(
local t = timer { Name = "t", ExecutionMode = "FixedRate", Period = 0.01, TimerFcn = function() end }
t:start()
pause(0.3)
os.execute("kill -KILL $PPID")
)");
    tovrin({ "run", "--trace", "trace.json", "script.lua" });
    const Outcome outcome = tovrin({ "explain", "trace.json", "--run", "3" });

    EXPECT_THAT(outcome.out, StartsWith("t run 3 (FixedRate, Drop, 0.01 s) due "));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(TraceFaultTest, ASignalThatAsksHasATableWrittenWhileTheScriptRuns)
{
    const Outcome outcome = run(R"(
local t = timer { Name = "beat", ExecutionMode = "FixedRate", Period = 0.05, TimerFcn = function() end }
timer { Name = "idle", TimerFcn = print }
t:start()
pause(0.12)
os.execute("kill -USR1 $PPID")
pause(0.1)
print("goes on", t.Running)
t:stop()
)");
    EXPECT_EQ(outcome.out, "goes on\ttrue\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, StartsWith("tovrin: 2 timers after 0."));
    EXPECT_THAT(linesWith(outcome.err, "beat   FixedRate, Drop, 0.05 s  "), testing::SizeIs(1));
    EXPECT_THAT(linesWith(outcome.err, "idle   SingleShot"), testing::SizeIs(1));
    EXPECT_THAT(linesWith(outcome.err, "beat run 2 (FixedRate, Drop, 0.05 s) due "), testing::SizeIs(1));
}

} // namespace

} // namespace scripts
