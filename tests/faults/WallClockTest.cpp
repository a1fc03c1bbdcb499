#include "tests/faults/WallClock.hpp"
#include "host/foundation/tovrindata/StructArray.hpp"
#include "host/foundation/tovrindata/TypedArray.hpp"
#include "tests/faults/World.hpp"
#include "timer_src/main/platform/Platform.hpp"

#include <ctime>

namespace faults {

namespace {

using namespace tovrintimer;

// More than a wait that goes by the wall clock could be off by unnoticed.
constexpr std::chrono::hours twoDays { 48 };

class WallClockTest : public testing::TestWithParam<std::chrono::hours> {
protected:
    WallClock m_clock;
    World m_world;
};

/// By the local calendar, without std::mktime: that must not run beside the scheduler thread's own calls.
std::chrono::local_seconds momentOf(int year, int month, int dayOfMonth, int hour, int minute, int second)
{
    const auto date = std::chrono::year(year) / month / dayOfMonth;
    return std::chrono::local_days(date) + std::chrono::hours(hour) + std::chrono::minutes(minute)
        + std::chrono::seconds(second);
}

/// The moment that an event shows.
std::chrono::local_seconds momentOf(const recording::Engine::Evaluation& evaluation)
{
    using foundation::tovrindata::StructArray;
    using foundation::tovrindata::TypedArray;
    const TypedArray<double> data(StructArray(evaluation.arguments.at(3)).getField(0, "Data"));
    const auto field = [&](std::size_t index) { return static_cast<int>(data.at(index)); };
    return momentOf(field(0), field(1), field(2), field(3), field(4), field(5));
}

std::chrono::local_seconds wallTime()
{
    const std::tm local
        = platform::localTime(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
    return momentOf(
        local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
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
    const auto timer = m_world.makeTimer(ExecutionMode::FixedRate, BusyMode::Drop, 5.0, 10);
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
    const auto before = wallTime();

    m_clock.step(GetParam());
    const auto earliest = wallTime();
    timerTasks().runNext();

    const auto shown = momentOf(m_world.engine()->evaluations().at(0));
    // The distance of the two clocks is taken in whole seconds, truncated.
    EXPECT_GE(shown, earliest - 1s);
    EXPECT_LE(shown, wallTime());
    EXPECT_GE(std::chrono::abs(shown - before), 46h); // summer time may have begun or ended
}

INSTANTIATE_TEST_SUITE_P(Steps, WallClockTest, testing::Values(twoDays, -twoDays),
    [](const auto& step) { return step.param > std::chrono::hours(0) ? "Forward" : "Back"; });

} // namespace

} // namespace faults
