#include "tests/scripts/PeriodicTest.hpp"

#include <algorithm>

namespace scripts {

namespace {

/// Each periodic mode in real time: never early; and hardly late, where the machine lets it.
using RealPeriodsTest = PeriodicTest;

TEST_F(RealPeriodsTest, FixedDelayCountsFromStartToStart)
{
    retrySlower([&](double factor) {
        const double period = 0.1 * factor;
        const PeriodicRun run = runTimer(settings("FixedDelay", period, 4), 0.03 * factor);
        EXPECT_EQ(run.order, wholeRun(4));
        std::string wrong;
        for (std::size_t i = 1; i < run.callbacks.size(); ++i) {
            // From the first start on: the script sees each one a little later than the engine that counts from
            // it.
            EXPECT_GE(run.callbacks[i].start, static_cast<double>(i) * (period - resolution));
            const double distance = run.callbacks[i].start - run.callbacks[i - 1].start;
            const bool isNear = distance >= period - 0.02 * factor && distance <= period + 0.02 * factor;
            wrong += isNear ? "" : "distance of " + std::to_string(distance) + "; ";
        }
        return wrong;
    });
}

TEST_F(RealPeriodsTest, FixedSpacingCountsFromEndToStart)
{
    retrySlower([&](double factor) {
        const double period = 0.05 * factor;
        const PeriodicRun run = runTimer(settings("FixedSpacing", period, 4), 0.08 * factor);
        EXPECT_EQ(run.order, wholeRun(4));
        for (std::size_t i = 1; i < run.callbacks.size(); ++i) {
            EXPECT_GE(run.callbacks[i].start - run.callbacks[i - 1].end, period - resolution);
        }
        return gapsBeyond(run.callbacks, period + 0.03 * factor);
    });
}

TEST_F(RealPeriodsTest, FixedRateRunsOncePerPeriod)
{
    retrySlower([&](double factor) -> std::string {
        const double period = 0.1 * factor;
        const PeriodicRun run = runTimer(settings("FixedRate", period, 5), 0);
        EXPECT_EQ(run.order, wholeRun(5));
        for (std::size_t i = 0; i < run.callbacks.size(); ++i) {
            EXPECT_GE(run.callbacks[i].start, static_cast<double>(i) * (period - resolution));
        }
        const bool isNear = run.averagePeriod >= period * 0.9 && run.averagePeriod <= period * 1.2;
        return isNear ? "" : "average period " + std::to_string(run.averagePeriod);
    });
}

TEST_F(RealPeriodsTest, DispatchesOfAFixedRateAreNeverCloserThanAPeriod)
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

TEST_F(RealPeriodsTest, QueueDispatchesEveryPeriodAndTheCallbacksFollowEachOther)
{
    retrySlower([&](double factor) {
        const double period = 0.05 * factor;
        const PeriodicRun run = runTimer(settings("FixedRate", period, 4, "Queue"), 0.12 * factor,
            { "--log", "tovrintimer::workHandler=4", "--log", "tovrintimer::TimerScheduler=4" });
        EXPECT_EQ(run.order, wholeRun(4));
        EXPECT_THAT(linesWith(run.err, "fetching"), testing::IsEmpty());

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

TEST_F(RealPeriodsTest, ErrorWithoutStopFcnStillBringsItsErrorFcnBeforeTheProgramEnds)
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
