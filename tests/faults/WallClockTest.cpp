#include "tests/faults/WallClock.hpp"
#include "host/foundation/tovrindata/StructArray.hpp"
#include "host/foundation/tovrindata/TypedArray.hpp"
#include "tests/faults/World.hpp"

#include <ctime>

namespace faults {

namespace {

using namespace tovrintimer;

// More than a wait that goes by the wall clock could be off by unnoticed.
constexpr std::chrono::hours day { 24 };

class WallClockTest : public testing::TestWithParam<std::chrono::hours> {
protected:
    WallClock m_clock;
    World m_world;
};

/// Seconds since the epoch, of an event's year, month, day, hour, minute and seconds.
std::time_t timeOf(const recording::Engine::Evaluation& evaluation)
{
    using foundation::tovrindata::StructArray;
    using foundation::tovrindata::TypedArray;
    const TypedArray<double> data(StructArray(evaluation.arguments.at(3)).getField(0, "Data"));
    std::tm local {};
    local.tm_year = static_cast<int>(data.at(0)) - 1900;
    local.tm_mon = static_cast<int>(data.at(1)) - 1;
    local.tm_mday = static_cast<int>(data.at(2));
    local.tm_hour = static_cast<int>(data.at(3));
    local.tm_min = static_cast<int>(data.at(4));
    local.tm_sec = static_cast<int>(data.at(5));
    local.tm_isdst = -1;
    return std::mktime(&local);
}

std::time_t wallTime()
{
    return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

TEST_P(WallClockTest, AStepUnderAWaitChangesNoDueTime)
{
    const auto timer = m_world.makeTimer(ExecutionMode::SingleShot);
    timer->setStartDelay(50.0);
    const DueTime due = now() + 50ms;
    m_world.scheduler().createAndStartWork(timer);
    journal().waitFor("Found Work on WorkQueue ");

    m_clock.step(GetParam());
    journal().waitFor("processTovrinTimerTask");

    EXPECT_GE(now(), due);
    EXPECT_EQ(m_clock.waits(), 0);
}

TEST_P(WallClockTest, StepsWithinARunKeepItsPeriods)
{
    timerTasks().setRun(TaskRun::Inline);
    std::vector<DueTime> moments;
    journal().when("feval timercb TimerFcn", [&] {
        moments.push_back(now());
        m_clock.step(GetParam());
    });
    const auto timer = m_world.makeTimer(ExecutionMode::FixedRate);
    timer->setPeriod(5.0);
    timer->setNumOfTasksToExecute(10);
    m_world.scheduler().createAndStartWork(timer);
    journal().waitFor("feval timercb StopFcn");

    ASSERT_EQ(moments.size(), 10U);
    for (std::size_t run = 1; run < moments.size(); ++run) {
        EXPECT_GE(moments[run] - moments[run - 1], 5ms);
    }
    EXPECT_GE(timer->getAveragePeriod(), 0.005 - 1e-9);
    EXPECT_EQ(m_clock.waits(), 0);
}

TEST_P(WallClockTest, AnEventShowsTheClockAsItIsSetNow)
{
    const auto timer = m_world.makeTimer(ExecutionMode::SingleShot);
    m_world.scheduler().createAndStartWork(timer);
    const std::time_t before = wallTime();

    m_clock.step(GetParam());
    const std::time_t earliest = wallTime();
    timerTasks().runNext();

    const std::time_t shown = timeOf(m_world.engine()->evaluations().at(0));
    // The distance of the two clocks is taken in whole seconds, truncated.
    EXPECT_GE(shown, earliest - 1);
    EXPECT_LE(shown, wallTime());
    EXPECT_GE(std::abs(shown - before), 3600 * 23);
}

INSTANTIATE_TEST_SUITE_P(Steps, WallClockTest, testing::Values(day, -day),
    [](const auto& step) { return step.param > std::chrono::hours(0) ? "Forward" : "Back"; });

} // namespace

} // namespace faults
