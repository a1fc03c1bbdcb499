#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/Dispatch.hpp"

#include <limits>
#include <thread>

namespace tovrintimer {

namespace {

using testing::Each;

/// What the three periodic modes have in common.
class PeriodicModesTest : public PeriodicTest, public testing::WithParamInterface<ExecutionMode> {
protected:
    void SetUp() override
    {
        PeriodicTest::SetUp();
        keepQueueStill();
    }

    std::shared_ptr<TimerInfo> makeTimerOfMode(size_t tasks) { return makePeriodicTimer(GetParam(), tasks); }

    /// Runs callbacks until so many have been made.
    void runUntilMade(const TimerInfo& timer, double callbacks)
    {
        while (timer.getTasksExecuted() < callbacks) {
            if (timerTasks().pending() == 0) {
                dispatchNext();
            }
            timerTasks().runNext();
        }
    }
};

TEST_P(PeriodicModesTest, ARunHasAsManyCallbacksAsTasksAndThenItsStopFcn)
{
    for (const size_t tasks : { size_t { 1 }, size_t { 2 }, size_t { 3 }, size_t { 10 } }) {
        const auto timer = makeTimerOfMode(tasks);
        timer->setStopFcnIsEmpty(false);
        journal().clearEvents();

        scheduler().createAndStartWork(timer);
        runToEnd();

        EXPECT_THAT(
            evaluated(), std::vector<std::string>(tasks, "TimerFcn") + std::vector<std::string> { "StopFcn" });
        EXPECT_EQ(timer->getTasksExecuted(), static_cast<double>(tasks));
        EXPECT_FALSE(timer->getIsRunning());
        EXPECT_EQ(journal().count(wakeUp), 1U);
    }
}

TEST_P(PeriodicModesTest, WithoutStopFcnTheRunEndsOnceItsLastCallbackHasReturned)
{
    for (const size_t tasks : { size_t { 1 }, size_t { 2 }, size_t { 3 }, size_t { 10 } }) {
        const auto timer = makeTimerOfMode(tasks);
        std::vector<bool> running;
        journal().clear();
        journal().when(evaluateTimerFcn, [&] { running.push_back(timer->getIsRunning()); });

        scheduler().createAndStartWork(timer);
        runToEnd();

        EXPECT_THAT(evaluated(), std::vector<std::string>(tasks, "TimerFcn"));
        EXPECT_THAT(running, Each(true));
        EXPECT_FALSE(timer->getIsRunning());
        const auto end = story();
        ASSERT_GE(end.size(), 2U);
        EXPECT_EQ(end[end.size() - 2], evaluateTimerFcn);
        EXPECT_EQ(end.back(), wakeUp);
        EXPECT_EQ(journal().count(wakeUp), 1U);
        journal().clear();
    }
}

TEST_P(PeriodicModesTest, TheItemsOfARunCountDownFromTheNumberOfTasks)
{
    const auto timer = makeTimerOfMode(4);
    scheduler().createAndStartWork(timer);
    std::vector<std::uint64_t> left;

    for (timerTasks().runAll(); !queue().empty(); timerTasks().runAll()) {
        left.push_back(nextTimerFcn().m_taskCount);
        EXPECT_EQ(*nextTimerFcn().m_sharedTaskCounter, 4U);
        dispatchNext();
    }

    EXPECT_THAT(left, ElementsAre(3, 2, 1));
}

TEST_P(PeriodicModesTest, ARunOfNoTasksIsPracticallyEndless)
{
    const auto timer = makeTimerOfMode(0);
    timer->setStopFcnIsEmpty(false);

    scheduler().createAndStartWork(timer);
    runUntilMade(*timer, 3);

    ASSERT_EQ(queue().size(), 1U);
    EXPECT_EQ(nextTimerFcn().m_taskCount, std::numeric_limits<std::uint64_t>::max() - 2);
    EXPECT_EQ(*nextTimerFcn().m_sharedTaskCounter, 0U);
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(logs("tovrintimer::WorkItem"), IsEmpty());
}

TEST_P(PeriodicModesTest, ARaisedNumberOfTasksIsReportedOnceAndReached)
{
    const auto timer = makeTimerOfMode(5);
    timer->setStopFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);
    runUntilMade(*timer, 2);

    timer->setNumOfTasksToExecute(8);
    runToEnd();

    EXPECT_THAT(logs("tovrintimer::WorkItem"), ElementsAre("TasksToExecute changed, affecting callback ctr 3"));
    EXPECT_THAT(evaluated(), std::vector<std::string>(8, "TimerFcn") + std::vector<std::string> { "StopFcn" });
}

TEST_P(PeriodicModesTest, ALoweredNumberOfTasksEndsTheRunEarlier)
{
    const auto timer = makeTimerOfMode(10);
    scheduler().createAndStartWork(timer);
    runUntilMade(*timer, 3);

    timer->setNumOfTasksToExecute(5);
    runToEnd();

    EXPECT_THAT(logs("tovrintimer::WorkItem"), ElementsAre("TasksToExecute changed, affecting callback ctr 7"));
    EXPECT_EQ(timer->getTasksExecuted(), 5.0);
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_P(PeriodicModesTest, ANumberOfTasksThatIsReachedAlreadyIsIgnored)
{
    const auto timer = makeTimerOfMode(10);
    scheduler().createAndStartWork(timer);
    runUntilMade(*timer, 3);

    timer->setNumOfTasksToExecute(4);
    runToEnd();

    EXPECT_THAT(logs("tovrintimer::WorkItem"), IsEmpty());
    EXPECT_EQ(timer->getTasksExecuted(), 10.0);
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_P(PeriodicModesTest, ThePeriodIsNotMeasuredFromTheDueTimeOfTheItem)
{
    const auto timer = makeTimerOfMode(3);
    timer->setActivationStatus(true);

    for (const DueTime due : { past(), farOff(1h) }) {
        const DueTime before = now();
        dispatch(periodicItem(timer, 3, 3, due), nullptr);
        timerTasks().runNext();
        const DueTime next = dueTime(TimerSchedulerPeer::workQueue(scheduler()).take());

        EXPECT_GE(next, before + 1h);
        EXPECT_LE(next, now() + 1h);
    }
}

TEST_P(PeriodicModesTest, TheRunIsCountedBeforeTheRequestIsMade)
{
    const auto timer = makeTimerOfMode(2);
    scheduler().createAndStartWork(timer);
    double atRequest = -1;
    journal().once("createRequestID", [&] { atRequest = timer->getTasksExecuted(); });

    timerTasks().runNext();

    EXPECT_EQ(atRequest, 1.0);
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
}

TEST_P(PeriodicModesTest, HandlingOneOfTwoTimersLeavesTheOther)
{
    const auto timer = makeTimerOfMode(1);
    const auto other = makeTimerOfMode(3);
    scheduler().createAndStartWork(other);
    timerTasks().runAll();
    const auto before = queue();

    scheduler().createAndStartWork(timer);
    timerTasks().runAll();

    EXPECT_EQ(queue(), before);
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_TRUE(other->getIsRunning());
}

TEST_P(PeriodicModesTest, AStoppedTimerIsHandedOverButNothingFollows)
{
    const auto timer = makeTimerOfMode(3);
    timer->setStopFcnIsEmpty(false);

    dispatch(periodicItem(timer, 3, 3), nullptr);
    dispatch(periodicItem(timer, 1, 1), nullptr);
    timerTasks().runAll();

    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "TimerFcn"));
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_P(PeriodicModesTest, ATimerStoppedInItsCallbackGetsItsStopFcnAndNothingElse)
{
    const auto timer = makeTimerOfMode(3);
    timer->setStopFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);
    journal().once(evaluateTimerFcn, [&] { scheduler().forceStopWorkAndScheduleStopFcn(timer); });

    runToEnd();

    // The fixed-spacing callback ends before the StopFcn has cleared the flag: a last item follows.
    const bool oneMore = GetParam() == ExecutionMode::FixedSpacing;
    EXPECT_THAT(evaluated(),
        std::vector<std::string>({ "TimerFcn", "StopFcn" })
            + std::vector<std::string>(oneMore ? 1 : 0, "TimerFcn"));
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_P(PeriodicModesTest, AnErrorOfTheLastCallbackLeavesARunWithoutStopFcnRunning)
{
    const auto timer = makeTimerOfMode(1);
    m_engine->setOutcome(Outcome::Error);
    scheduler().createAndStartWork(timer);

    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);

    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_EQ(journal().count(wakeUp), 0U);
}

const auto nameOfMode = [](const testing::TestParamInfo<ExecutionMode>& mode) {
    switch (mode.param) {
    case ExecutionMode::SingleShot:
        return "SingleShot";
    case ExecutionMode::FixedSpacing:
        return "FixedSpacing";
    case ExecutionMode::FixedDelay:
        return "FixedDelay";
    case ExecutionMode::FixedRate:
        return "FixedRate";
    }
    return "Unknown";
};

INSTANTIATE_TEST_SUITE_P(All, PeriodicModesTest,
    testing::Values(ExecutionMode::FixedSpacing, ExecutionMode::FixedDelay, ExecutionMode::FixedRate), nameOfMode);

/// The two modes whose tasks count and queue.
class SelfCountingModesTest : public PeriodicModesTest { };

TEST_P(SelfCountingModesTest, TheDispatchHandsTheCallbackOverAndQueuesNothing)
{
    const auto timer = makeTimerOfMode(3);
    timer->setActivationStatus(true);

    dispatch(periodicItem(timer, 3, 3), nullptr);

    EXPECT_THAT(story(), ElementsAre(handOver));
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_EQ(timer->getTasksExecuted(), 0.0);
}

TEST_P(SelfCountingModesTest, TheBusyModePlaysNoPartAndNothingIsTraced)
{
    for (const size_t busyMode : { size_t { 0 }, size_t { 1 }, size_t { 2 }, size_t { 3 } }) {
        const auto timer = makeTimerOfMode(3);
        timer->setBusyMode(busyMode);
        journal().clearEvents();

        scheduler().createAndStartWork(timer);
        runToEnd();

        EXPECT_EQ(timer->getTasksExecuted(), 3.0);
        EXPECT_THAT(logs("tovrintimer::workHandler"), IsEmpty());
    }
}

TEST_P(SelfCountingModesTest, TheNextItemIsQueuedByTheThreadOfTheCallbackWithARecordOfItsOwn)
{
    const auto timer = makeTimerOfMode(2);
    timer->setActivationStatus(true);
    const auto item = periodicItem(timer, 2, 2);
    dispatch(WorkItem(item), nullptr);
    std::thread::id queueing;
    journal().once("Request to Start Work with Id: ", [&] { queueing = std::this_thread::get_id(); });
    std::thread::id running;

    std::thread([&] {
        running = std::this_thread::get_id();
        timerTasks().runNext();
    }).join();

    EXPECT_EQ(queueing, running);
    EXPECT_NE(nextTimerFcn().m_prevCallBackStatus, item.m_prevCallBackStatus);
    EXPECT_FALSE(nextTimerFcn().m_prevCallBackStatus->hasCompleted);
    EXPECT_NE(nextTimerFcn().m_sharedTaskCounter, item.m_sharedTaskCounter);
}

INSTANTIATE_TEST_SUITE_P(All, SelfCountingModesTest,
    testing::Values(ExecutionMode::FixedSpacing, ExecutionMode::FixedDelay), nameOfMode);

using UnknownModeTest = PeriodicTest;

TEST_F(UnknownModeTest, AStartHandsNothingOverAndLeavesTheFlagSet)
{
    const auto timer = makePeriodicTimer(ExecutionMode { 4 }, 3);

    scheduler().createAndStartWork(timer);

    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(
        logs(), ElementsAre("Bypassing Scheduler by Forcing Work with Id: <A> for TimerFcn to execute @<time>"));
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
}

} // namespace

} // namespace tovrintimer
