#include "tests/library/LibraryTest.hpp"

#include <limits>
#include <thread>

namespace tovrintimer {

namespace {

using recording::timerResolutionBegins;
using recording::timerResolutionEnds;

class TimerResolutionTest : public LibraryTest {
protected:
    void startWithPeriod(double milliseconds)
    {
        const auto timer = makeTimer();
        timer->setPeriod(milliseconds);
        scheduler().createAndStartWork(timer);
    }
};

TEST_F(TimerResolutionTest, APeriodOfHalfASecondDoesNotRaiseIt)
{
    startWithPeriod(500.0);

    EXPECT_EQ(timerResolutionBegins(), 0U);
}

TEST_F(TimerResolutionTest, AShorterPeriodRaisesItOnce)
{
    startWithPeriod(499.9);
    EXPECT_EQ(timerResolutionBegins(), 1U);

    startWithPeriod(1.0);
    startWithPeriod(-1.0);
    EXPECT_EQ(timerResolutionBegins(), 1U);
}

TEST_F(TimerResolutionTest, AnotherFastTimerThatStartsWhileItIsBeingRaisedLeavesItAtThat)
{
    journal().once("beginTimerResolution", [this] { std::thread([this] { startWithPeriod(1.0); }).join(); });

    startWithPeriod(1.0);

    EXPECT_EQ(timerResolutionBegins(), 1U);
}

TEST_F(TimerResolutionTest, ANaNOrInfinitePeriodDoesNotRaiseIt)
{
    startWithPeriod(std::numeric_limits<double>::quiet_NaN());
    startWithPeriod(std::numeric_limits<double>::infinity());

    EXPECT_EQ(timerResolutionBegins(), 0U);
}

TEST_F(TimerResolutionTest, ItStaysRaisedWhenTheFastTimerHasStopped)
{
    const auto timer = makeTimer();
    timer->setPeriod(1.0);
    scheduler().createAndStartWork(timer);

    scheduler().forceStopWorkAndScheduleStopFcn(timer);

    EXPECT_EQ(timerResolutionEnds(), 0U);
}

TEST_F(TimerResolutionTest, AFastTimerAfterASlowOneRaisesIt)
{
    startWithPeriod(1000.0);
    EXPECT_EQ(timerResolutionBegins(), 0U);

    startWithPeriod(10.0);
    EXPECT_EQ(timerResolutionBegins(), 1U);
}

TEST_F(TimerResolutionTest, ItIsRaisedAfterTheRunningFlagAndBeforeTheFirstCallback)
{
    const auto timer = makeTimer();
    timer->setPeriod(1.0);
    bool running = false;
    std::size_t handOvers = 1;
    journal().once("beginTimerResolution", [&] {
        running = timer->getIsRunning();
        handOvers = journal().count("processTovrinTimerTask");
    });

    scheduler().createAndStartWork(timer);

    EXPECT_TRUE(running);
    EXPECT_EQ(handOvers, 0U);
}

} // namespace

} // namespace tovrintimer
