#include "tests/scripts/PeriodicTest.hpp"

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using FixedRateTest = Rehearsed<PeriodicTest>;

TEST_F(FixedRateTest, RunsOncePerPeriod)
{
    const PeriodicRun run = runTimer(settings("FixedRate", 0.1, 5), 0.02);
    EXPECT_EQ(run.order, wholeRun(5));
    expectStarts(run, 0.1, 0.02);
}

TEST_F(FixedRateTest, DropFiresRightAfterTheCallbackThatWasTooLong)
{
    const PeriodicRun run = runTimer(settings("FixedRate", 0.05, 4), 0.12);
    EXPECT_EQ(run.order, wholeRun(4));
    expectStarts(run, 0.12, 0.12);
}

TEST_F(FixedRateTest, TheCallbacksOfAQueueFollowEachOther)
{
    const PeriodicRun run
        = runTimer(settings("FixedRate", 0.05, 4, "Queue"), 0.12, { "--log", "tovrintimer::workHandler=4" });
    EXPECT_EQ(run.order, wholeRun(4));
    EXPECT_THAT(linesWith(run.err, "fetching"), IsEmpty());
    expectStarts(run, 0.12, 0.12);
}

TEST_F(FixedRateTest, ErrorEndsTheRunWithStopFcnThenErrorFcn)
{
    // Where time is real, the second one has to fall due while the first one runs, on however busy a machine.
    const PeriodicRun run = runTimer(settings("FixedRate", 0.02, 5, "Error"), 0.5);
    EXPECT_THAT(run.order, ElementsAre("StartFcn", "TimerFcn", "StopFcn", "ErrorFcn"));
}

} // namespace

} // namespace scripts
