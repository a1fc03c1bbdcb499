#include "tests/scripts/PeriodicTest.hpp"

#include <algorithm>

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using FixedRateTest = PeriodicTest;

TEST_F(FixedRateTest, RunsOncePerPeriod)
{
    retrySlower([&](double factor) -> std::string {
        const double period = 0.1 * factor;
        const PeriodicRun run = runTimer(settings("FixedRate", period, 5), 0);
        EXPECT_EQ(run.order, wholeRun(5));
        const bool isNear = run.averagePeriod >= period * 0.9 && run.averagePeriod <= period * 1.2;
        return isNear ? "" : "average period " + std::to_string(run.averagePeriod);
    });
}

TEST_F(FixedRateTest, NoCallbackIsEarly)
{
    const double period = 0.05;
    const PeriodicRun run = runTimer(settings("FixedRate", period, 5), 0);

    ASSERT_EQ(run.callbacks.size(), 5U);
    for (std::size_t i = 0; i < run.callbacks.size(); ++i) {
        EXPECT_GE(run.callbacks[i].start, static_cast<double>(i) * (period - resolution));
    }
}

TEST_F(FixedRateTest, DispatchesAreNeverCloserThanAPeriod)
{
    const PeriodicRun run
        = runTimer(settings("FixedRate", 0.1, 4), 0, { "--log", "tovrintimer::TimerScheduler=4" });

    const auto dispatches = dispatchTimes(run.err);
    // Four TimerFcn, then the StopFcn, then the program's own.
    ASSERT_GE(dispatches.size(), 5U);
    for (std::size_t i = 1; i < 4; ++i) {
        EXPECT_GE(dispatches[i] - dispatches[i - 1], 0.099);
    }
}

TEST_F(FixedRateTest, DropFiresRightAfterTheCallbackThatWasTooLong)
{
    retrySlower([&](double factor) {
        const PeriodicRun run = runTimer(settings("FixedRate", 0.05 * factor, 4), 0.12 * factor);
        EXPECT_EQ(run.order, wholeRun(4));
        return gapsBeyond(run.callbacks, 0.03 * factor);
    });
}

TEST_F(FixedRateTest, QueueDispatchesEveryPeriodAndTheCallbacksFollowEachOther)
{
    retrySlower([&](double factor) {
        const double period = 0.05 * factor;
        const PeriodicRun run = runTimer(settings("FixedRate", period, 4, "Queue"), 0.12 * factor,
            { "--log", "tovrintimer::workHandler=4", "--log", "tovrintimer::TimerScheduler=4" });
        EXPECT_EQ(run.order, wholeRun(4));
        EXPECT_THAT(linesWith(run.err, "fetching"), IsEmpty());

        std::string wrong = gapsBeyond(run.callbacks, 0.03 * factor);
        const auto dispatches = dispatchTimes(run.err);
        EXPECT_GE(dispatches.size(), 4U);
        for (std::size_t i = 1; i < std::min<std::size_t>(dispatches.size(), 4); ++i) {
            const double distance = dispatches[i] - dispatches[i - 1];
            EXPECT_GE(distance, period - resolution);
            // Far less than a callback takes.
            wrong += distance <= 1.6 * period ? "" : "dispatches " + std::to_string(distance) + " s apart; ";
        }
        return wrong;
    });
}

TEST_F(FixedRateTest, ErrorEndsTheRunWithStopFcnThenErrorFcn)
{
    for (int i = 0; i < 5; ++i) {
        retrySlower([&](double factor) -> std::string {
            const PeriodicRun run = runTimer(settings("FixedRate", 0.02 * factor, 5, "Error"), 0.06 * factor);
            if (run.callbacks.size() > 1) {
                return "the second run fell due after the first had ended";
            }
            EXPECT_THAT(run.order, ElementsAre("StartFcn", "TimerFcn", "StopFcn", "ErrorFcn"));
            return "";
        });
    }
}

TEST_F(FixedRateTest, ErrorWithoutStopFcnStillBringsItsErrorFcnBeforeTheProgramEnds)
{
    for (int i = 0; i < 20; ++i) {
        const Outcome outcome = run(R"(
timer {
  ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.002,
  TimerFcn = function(t) while t.Running do end print("TimerFcn") end,
  ErrorFcn = function() print("ErrorFcn") end,
}:start()
)");
        EXPECT_EQ(outcome.out, "TimerFcn\nErrorFcn\n");
        EXPECT_EQ(outcome.err,
            "tovrin: error in timer \"timer-1\": callback of timer \"timer-1\" was still running when its next "
            "run "
            "fell due\n");
        EXPECT_EQ(outcome.status, 1);
    }
}

} // namespace

} // namespace scripts
