#include "tests/library/EngineThread.hpp"
#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/Dispatch.hpp"

#include <future>
#include <stdexcept>

namespace tovrintimer {

namespace {

struct WakeUpError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// How a run without StopFcn ends: the callback that returns last and the dispatch that counts it meet in either
/// order.
class FixedRateEndTest : public PeriodicTest {
protected:
    std::shared_ptr<TimerInfo> makeRateTimer(size_t tasks, double period = aLongPeriod)
    {
        auto timer = makePeriodicTimer(ExecutionMode::FixedRate, tasks, period);
        timer->setBusyMode(static_cast<size_t>(BusyMode::Queue));
        return timer;
    }
};

TEST_F(FixedRateEndTest, ACallbackThatReturnsBeforeTheDispatchHasCountedItEndsTheRunItself)
{
    const auto timer = makeRateTimer(1);
    timerTasks().setRun(TaskRun::OtherThread);
    bool running = false;
    std::size_t evaluations = 0;
    std::thread::id evaluating;
    // The wake-up is posted by whoever ends the run.
    std::thread::id ending;
    journal().once(wakeUp, [&] {
        evaluations = journal().count(evaluateTimerFcn);
        ending = std::this_thread::get_id();
    });
    journal().once(evaluateTimerFcn, [&] {
        running = timer->getIsRunning();
        evaluating = std::this_thread::get_id();
    });

    scheduler().createAndStartWork(timer);

    EXPECT_TRUE(running);
    EXPECT_EQ(evaluations, 1U);
    EXPECT_EQ(ending, evaluating);
    EXPECT_NE(ending, std::this_thread::get_id());
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(journal().count(wakeUp), 1U);
    EXPECT_THAT(timerTasks().errors(), IsEmpty());
}

TEST_F(FixedRateEndTest, AnErrorOfTheWakeUpLeavesTheTaskWhicheverComesFirst)
{
    journal().when(wakeUp, [] { throw WakeUpError("the engine takes no statement"); });
    const auto early = makeRateTimer(1);
    timerTasks().setRun(TaskRun::OtherThread);

    scheduler().createAndStartWork(early);

    ASSERT_EQ(timerTasks().errors().size(), 1U);
    EXPECT_THROW(std::rethrow_exception(timerTasks().errors().front()), WakeUpError);
    EXPECT_FALSE(early->getIsRunning());

    const auto late = makeRateTimer(1);
    timerTasks().setRun(TaskRun::Keep);
    scheduler().createAndStartWork(late);

    EXPECT_THROW(timerTasks().runNext(), WakeUpError);
    EXPECT_FALSE(late->getIsRunning());
}

TEST_F(FixedRateEndTest, TheCountOfACallbackThatHasReturnedStandsWhateverIsSetBeforeItsDispatchGoesOn)
{
    keepQueueStill();
    timerTasks().setRun(TaskRun::OtherThread);
    const auto one = makeRateTimer(1);
    const auto two = makeRateTimer(2);
    for (const auto& timer : { one, two }) {
        // The dispatch reads the switch between the hand-over and the count.
        journal().once("Feature::get", [&] { timer->setNumOfTasksToExecute(5); });

        scheduler().createAndStartWork(timer);

        EXPECT_EQ(timer->getIsRunning(), timer == two);
        EXPECT_EQ(queue().size(), timer == two ? 1U : 0U);
    }
    // The new number is honoured by the next callback.
    while (!queue().empty()) {
        dispatchNext();
    }
    EXPECT_EQ(evaluated().size(), 1U + 5U);
}

TEST_F(FixedRateEndTest, AChangedNumberIsReportedOnceWhoeverCounts)
{
    keepQueueStill();
    for (const TaskRun run : { TaskRun::Keep, TaskRun::OtherThread }) {
        const auto timer = makeRateTimer(3);
        timerTasks().setRun(run);
        journal().clearEvents();
        journal().once(handOver, [&] { timer->setNumOfTasksToExecute(2); });

        scheduler().createAndStartWork(timer);

        EXPECT_EQ(journal().count("TasksToExecute changed, affecting callback ctr 3"), 1U);
        EXPECT_EQ(journal().count("TasksToExecute changed, affecting callback ctr "), 1U);
        TimerSchedulerPeer::remove(scheduler(), timer->getId());
    }
}

TEST_F(FixedRateEndTest, AfterACallbackThatHasEndedTheRunItsDispatchQueuesNothing)
{
    keepQueueStill();
    timerTasks().setRun(TaskRun::OtherThread);
    const auto timer = makeRateTimer(1);
    // The run has ended, and the host starts the next one, which has a StopFcn.
    journal().once("Feature::get", [&] {
        timer->setStopFcnIsEmpty(false);
        timer->setActivationStatus(true);
    });

    scheduler().createAndStartWork(timer);

    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_TRUE(timer->getIsRunning());
}

TEST_F(FixedRateEndTest, TheSameHoldsForTheLastOfSeveralCallbacks)
{
    keepQueueStill();
    const auto timer = makeRateTimer(3);
    timerTasks().setRun(TaskRun::OtherThread);

    scheduler().createAndStartWork(timer);
    dispatchNext();
    EXPECT_TRUE(timer->getIsRunning());
    dispatchNext();

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(journal().count(wakeUp), 1U);
    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
}

TEST_F(FixedRateEndTest, ACallbackThatReturnsAfterItIsCountedEndsTheRunItself)
{
    const auto timer = makeRateTimer(1);
    scheduler().createAndStartWork(timer);
    EXPECT_TRUE(timer->getIsRunning());
    std::thread::id ending;
    journal().once(wakeUp, [&] { ending = std::this_thread::get_id(); });
    std::thread::id running;

    std::thread([&] {
        running = std::this_thread::get_id();
        timerTasks().runNext();
    }).join();

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(ending, running);
    EXPECT_EQ(journal().count(wakeUp), 1U);
}

TEST_F(FixedRateEndTest, ACallbackThatIsCountedWhileItRunsEndsTheRunAsItReturns)
{
    const auto timer = makeRateTimer(1);
    Gate gate;
    journal().once(evaluateTimerFcn, [&] { gate.pass(); });
    std::future<void> callback;
    journal().once(handOver, [&] {
        callback = std::async(std::launch::async, [] { timerTasks().runNext(); });
        gate.waitUntilReached();
    });

    scheduler().createAndStartWork(timer);
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_EQ(journal().count(wakeUp), 0U);
    gate.open();
    callback.get();

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(journal().count(wakeUp), 1U);
}

TEST_F(FixedRateEndTest, ACallbackInsideTheHandOverSeesTheCountBeforeTheDecrement)
{
    keepQueueStill();
    timerTasks().setRun(TaskRun::Inline);
    for (const size_t tasks : { size_t { 1 }, size_t { 2 } }) {
        const auto timer = makeRateTimer(tasks);
        scheduler().createAndStartWork(timer);
        while (!queue().empty()) {
            dispatchNext();
        }

        EXPECT_EQ(timer->getTasksExecuted(), static_cast<double>(tasks));
        EXPECT_TRUE(timer->getIsRunning());
        EXPECT_EQ(journal().count(wakeUp), 0U);
    }
}

TEST_F(FixedRateEndTest, InsideTheHandOverARunOfNoTasksSeesItsCountOfNoneAndEnds)
{
    keepQueueStill();
    timerTasks().setRun(TaskRun::Inline);
    const auto timer = makeRateTimer(0);

    scheduler().createAndStartWork(timer);

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(FixedRateEndTest, WithAStopFcnNeitherSideEndsTheRun)
{
    keepQueueStill();
    for (const TaskRun run : { TaskRun::Inline, TaskRun::OtherThread }) {
        const auto timer = makeRateTimer(1);
        timer->setStopFcnIsEmpty(false);
        timerTasks().setRun(run);

        scheduler().createAndStartWork(timer);
        EXPECT_TRUE(timer->getIsRunning());
        EXPECT_EQ(queue().size(), 1U);
        dispatchNext();

        EXPECT_FALSE(timer->getIsRunning());
    }
    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "StopFcn", "TimerFcn", "StopFcn"));
}

TEST_F(FixedRateEndTest, ACallbackThatRaisesAnErrorBeforeItIsCountedLeavesTheRunRunning)
{
    const auto timer = makeRateTimer(1);
    timerTasks().setRun(TaskRun::OtherThread);
    m_engine->setOutcome(Outcome::Error);

    scheduler().createAndStartWork(timer);

    EXPECT_EQ(timerTasks().errors().size(), 1U);
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_EQ(journal().count(wakeUp), 0U);
}

TEST_F(FixedRateEndTest, AHandOverThatFailsLeavesTheRunUncounted)
{
    keepQueueStill();
    const auto timer = makeRateTimer(2);
    timerTasks().setRun(TaskRun::Refuse);

    EXPECT_THROW(scheduler().createAndStartWork(timer), recording::HandOverError);

    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
}

/// Thousands of short runs, with an engine thread as fast as it can be.
class FixedRateManyRunsTest : public FixedRateEndTest, public testing::WithParamInterface<BusyMode> { };

TEST_P(FixedRateManyRunsTest, EveryRunEndsWithTheFlagCleared)
{
    setLogMasks(0);
    constexpr int runs = 2000;
    EngineThread engineThread;
    const auto timer = makeRateTimer(1, 0.0);
    timer->setBusyMode(static_cast<size_t>(GetParam()));
    for (int run = 0; run < runs; ++run) {
        const size_t tasks = run % 2 == 0 ? 1 : 2;
        timer->setNumOfTasksToExecute(tasks);
        journal().clearEvents();

        scheduler().createAndStartWork(timer);
        journal().waitFor(wakeUp);

        ASSERT_FALSE(timer->getIsRunning()) << "run " << run;
        ASSERT_EQ(timer->getTasksExecuted(), static_cast<double>(tasks)) << "run " << run;
    }
    EXPECT_EQ(engineThread.finish(), runs / 2 * 3);
    EXPECT_THAT(queue(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(BusyModes, FixedRateManyRunsTest, testing::Values(BusyMode::Drop, BusyMode::Queue));

} // namespace

} // namespace tovrintimer
