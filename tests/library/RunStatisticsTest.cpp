#include "tests/StartLine.hpp"
#include "tests/library/LibraryTest.hpp"
#include "tests/library/TimerInfoPeer.hpp"

#include <cmath>
#include <initializer_list>
#include <thread>

namespace tovrintimer {

namespace {

class RunStatisticsTest : public LibraryTest {
protected:
    /// A timer whose runs were counted exactly at these moments of one clock, in milliseconds from the first.
    std::shared_ptr<TimerInfo> timerWithRunsAt(std::initializer_list<int> moments)
    {
        constexpr int attempts = 200;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            auto timer = makeTimer("A" + std::to_string(attempt));
            if (runAt(*timer, moments)) {
                return timer;
            }
        }
        throw std::runtime_error("the machine is too busy to keep to a millisecond");
    }

private:
    // The clock must show the same millisecond before the run is counted and after it.
    static bool runAt(TimerInfo& timer, std::initializer_list<int> moments)
    {
        const DueTime start = now() + 2ms;
        for (const int moment : moments) {
            const DueTime due = start + std::chrono::milliseconds(moment);
            // The time itself is what is waited for: nothing else happens at these moments.
            std::this_thread::sleep_until(due - 1ms);
            while (now() < due) { }
            timer.updateTimerFunRunStatus();
            if (now() != due) {
                return false;
            }
        }
        return true;
    }
};

TEST_F(RunStatisticsTest, OneRunMakesNoPeriod)
{
    const auto timer = makeTimer();

    timer->updateTimerFunRunStatus();

    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
    EXPECT_TRUE(std::isnan(timer->getInstantPeriod()));
    EXPECT_TRUE(std::isnan(timer->getAveragePeriod()));
}

TEST_F(RunStatisticsTest, TheSecondRunSetsBothPeriods)
{
    const auto timer = timerWithRunsAt({ 0, 250 });

    EXPECT_EQ(timer->getTasksExecuted(), 2.0);
    EXPECT_EQ(timer->getInstantPeriod(), 0.25);
    EXPECT_EQ(timer->getAveragePeriod(), 0.25);
}

TEST_F(RunStatisticsTest, TheAverageWeighsRunsAndNotPeriods)
{
    const auto timer = timerWithRunsAt({ 0, 100, 300 });

    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
    EXPECT_EQ(timer->getInstantPeriod(), 0.2);
    EXPECT_DOUBLE_EQ(timer->getAveragePeriod(), (2 * 0.1 + 0.2) / 3);
}

TEST_F(RunStatisticsTest, EachLaterRunWeighsTheAverageBeforeItAnew)
{
    const auto timer = timerWithRunsAt({ 0, 20, 50, 60 });

    const double third = (2 * 0.02 + 0.03) / 3;
    EXPECT_EQ(timer->getInstantPeriod(), 0.01);
    EXPECT_DOUBLE_EQ(timer->getAveragePeriod(), (3 * third + 0.01) / 4);
}

TEST_F(RunStatisticsTest, TwoRunsWithinOneMillisecondAreNoTimeApart)
{
    const auto timer = timerWithRunsAt({ 0, 0 });

    EXPECT_EQ(timer->getInstantPeriod(), 0.0);
    EXPECT_EQ(timer->getAveragePeriod(), 0.0);
}

TEST_F(RunStatisticsTest, AResetLeavesTheTimesOfTheLatestRuns)
{
    const auto timer = timerWithRunsAt({ 0, 20 });
    const auto times = TimerInfoPeer::runTimes(*timer);

    timer->reset();

    EXPECT_EQ(times.second - times.first, 20);
    EXPECT_EQ(TimerInfoPeer::runTimes(*timer), times);
}

TEST_F(RunStatisticsTest, TheTimeOfARunIsReadUnderTheLock)
{
    // Else one that is held at the lock, while another is counted, would be later than that by a negative period.
    const auto timer = makeTimer();
    timer->updateTimerFunRunStatus();
    Lock held = TimerInfoPeer::lock(*timer);
    StartLine nearTheLock(2);
    std::jthread counting([&] {
        nearTheLock.arriveAndWait();
        timer->updateTimerFunRunStatus();
    });
    nearTheLock.arriveAndWait();
    // Nothing tells that it stands at the lock. What is asserted holds wherever it stands.
    std::this_thread::sleep_for(20ms);
    const DueTime released = now();
    held.unlock();
    counting.join();

    EXPECT_GE(TimerInfoPeer::runTimes(*timer).second, released.time_since_epoch().count());
    EXPECT_GE(timer->getInstantPeriod(), 0.02);
}

TEST_F(RunStatisticsTest, RunsAreCountedOnSeveralThreadsWhileOthersRead)
{
    const auto timer = makeTimer();
    constexpr int runs = 1000;

    {
        const auto count = [&] {
            for (int run = 0; run < runs; ++run) {
                timer->updateTimerFunRunStatus();
            }
        };
        const std::jthread first(count);
        const std::jthread second(count);
        for (double seen = 0; seen < 2 * runs;) {
            const double next = timer->getTasksExecuted();
            ASSERT_GE(next, seen);
            seen = next;
            if (seen >= 2) {
                ASSERT_GE(timer->getInstantPeriod(), 0.0);
                ASSERT_GE(timer->getAveragePeriod(), 0.0);
            }
        }
    }

    EXPECT_EQ(timer->getTasksExecuted(), 2.0 * runs);
}

} // namespace

} // namespace tovrintimer
