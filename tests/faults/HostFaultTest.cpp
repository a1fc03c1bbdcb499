#include "tests/faults/World.hpp"

#include <algorithm>
#include <ostream>
#include <thread>

// Hosts that do with a task what the host interfaces leave open.

namespace faults {

namespace {

using namespace tovrintimer;

constexpr const char* timerFcn = "feval timercb TimerFcn";
constexpr const char* stopFcn = "feval timercb StopFcn";

struct Mode {
    const char* name;
    ExecutionMode execution;
    BusyMode busy;
    std::size_t runsOfThree; ///< how many TimerFcn a run of three tasks has
    std::size_t unasked; ///< how many tasks are handed over where none of them is ever run

    friend std::ostream& operator<<(std::ostream& stream, const Mode& mode) { return stream << mode.name; }
};

class HostFaultTest : public testing::TestWithParam<Mode> {
protected:
    /// A timer of this mode with three tasks, a short period and a StopFcn.
    Timer start()
    {
        auto timer = m_world.makeTimer(GetParam().execution, GetParam().busy, 1.0, 3);
        if (GetParam().execution == ExecutionMode::FixedDelay) {
            // All callbacks on the scheduler's thread: between two threads one may overtake the other, see below.
            timer->setStartDelay(1.0);
        }
        m_world.scheduler().createAndStartWork(timer);
        return timer;
    }

    void expectAWholeRun(TaskRun run)
    {
        timerTasks().setRun(run);
        const auto timer = start();
        journal().waitFor(stopFcn);
        std::vector<std::string> whole(GetParam().runsOfThree, timerFcn);
        whole.emplace_back(stopFcn);

        // Nothing comes after the StopFcn.
        m_world.scheduler().cleanup();
        EXPECT_EQ(World::evaluated(), whole);
        EXPECT_FALSE(timer->getIsRunning());
        EXPECT_EQ(timer->getTasksExecuted(), static_cast<double>(GetParam().runsOfThree));
        EXPECT_THAT(timerTasks().errors(), IsEmpty());
    }

    World m_world;
};

TEST_P(HostFaultTest, TasksThatRunInsideTheHandOverMakeAWholeRun)
{
    expectAWholeRun(TaskRun::Inline);
}

TEST_P(HostFaultTest, TasksThatRunOnAnotherThreadBeforeTheHandOverReturnsMakeAWholeRun)
{
    expectAWholeRun(TaskRun::OtherThread);
}

TEST_P(HostFaultTest, TasksThatAreNeverRunLeaveTheTimerRunningUntilItIsStopped)
{
    auto timer = start();
    journal().waitFor("processTovrinTimerTask", GetParam().unasked);

    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_EQ(timer->getTasksExecuted(), 0.0);
    m_world.scheduler().forceStopWorkAndScheduleStopFcn(timer);
    // With the thread joined nothing comes any more: the stop's own StopFcn was the last.
    m_world.scheduler().cleanup();
    EXPECT_EQ(timerTasks().pending(), GetParam().unasked + 1);
    EXPECT_THAT(World::evaluated(), IsEmpty());

    const std::weak_ptr<TimerInfo> handle = timer;
    timer.reset();
    EXPECT_TRUE(handle.expired());
    timerTasks().runAll();
    EXPECT_THAT(World::evaluated(), IsEmpty());
}

TEST_P(HostFaultTest, TasksThatAreNeverRunDoNotKeepOtherTimersWaiting)
{
    const auto timer = start();

    m_world.serveAnother();

    m_world.scheduler().forceStopWorkAndScheduleStopFcn(timer);
}

INSTANTIATE_TEST_SUITE_P(Modes, HostFaultTest,
    testing::Values(Mode { "SingleShot", ExecutionMode::SingleShot, BusyMode::Drop, 1, 1 },
        Mode { "FixedSpacing", ExecutionMode::FixedSpacing, BusyMode::Drop, 3, 1 },
        Mode { "FixedDelay", ExecutionMode::FixedDelay, BusyMode::Drop, 3, 1 },
        Mode { "Drop", ExecutionMode::FixedRate, BusyMode::Drop, 3, 1 },
        Mode { "Queue", ExecutionMode::FixedRate, BusyMode::Queue, 3, 4 },
        Mode { "Error", ExecutionMode::FixedRate, BusyMode::Error, 3, 2 }),
    [](const auto& mode) { return std::string(mode.param.name); });

// Each callback asks for the next one before it is evaluated, and the first is evaluated by the starting thread.
TEST(InlineHostTest, TheFirstCallbackOfAFixedDelayCanBeOvertakenByAllOthersAndCounts)
{
    const World world;
    timerTasks().setRun(TaskRun::Inline);
    journal().when("createRequestID", [starter = std::this_thread::get_id()](const recording::Event& event) {
        if (event.thread == starter) {
            journal().waitFor(stopFcn);
        }
    });
    const auto timer = world.makeTimer(ExecutionMode::FixedDelay, BusyMode::Drop, 1.0, 3);

    world.scheduler().createAndStartWork(timer);
    world.scheduler().cleanup();

    EXPECT_THAT(World::evaluated(), ElementsAre(timerFcn, timerFcn, stopFcn, timerFcn));
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
}

TEST(ReorderingHostTest, TasksThatRunInReverseAllRunAndTheStopFcnStaysTheOnlyOne)
{
    const World world;
    const auto timer = world.makeTimer(ExecutionMode::FixedRate, BusyMode::Queue, 1.0, 3);
    world.scheduler().createAndStartWork(timer);
    journal().waitFor("processTovrinTimerTask", 4);

    while (timerTasks().pending() > 0) {
        timerTasks().runLatest();
    }

    EXPECT_THAT(World::evaluated(), ElementsAre(stopFcn, timerFcn, timerFcn, timerFcn));
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
    world.serveAnother();
}

} // namespace

} // namespace faults
