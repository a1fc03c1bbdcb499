#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/Dispatch.hpp"

#include <limits>

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
        EXPECT_EQ(calls().back(), wakeUp);
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

TEST_P(PeriodicModesTest, TheItemOfADestroyedTimerIsDroppedSilently)
{
    auto timer = makeTimerOfMode(3);
    const auto item = periodicItem(timer, 3, 2);
    timer.reset();
    journal().clearEvents();

    dispatch(item, nullptr);

    EXPECT_THAT(everything(), IsEmpty());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_P(PeriodicModesTest, ATimerDestroyedBetweenHandOverAndRunIsNotEvaluated)
{
    auto timer = makeTimerOfMode(3);
    scheduler().createAndStartWork(timer);
    timer.reset();
    journal().clearEvents();

    timerTasks().runAll();

    EXPECT_THAT(everything(), IsEmpty());
}

TEST_P(PeriodicModesTest, ATimerDestroyedInItsCallbackLivesUntilTheTaskEnds)
{
    auto timer = makeTimerOfMode(3);
    const std::weak_ptr<TimerInfo> handle = timer;
    scheduler().createAndStartWork(timer);
    bool alive = false;
    journal().once(evaluateTimerFcn, [&] {
        timer.reset();
        alive = !handle.expired();
    });

    timerTasks().runNext();

    EXPECT_TRUE(alive);
    EXPECT_TRUE(handle.expired());
    // What was queued while it lived finds it gone.
    ASSERT_EQ(queue().size(), 1U);
    journal().clearEvents();
    dispatchNext();
    EXPECT_THAT(everything(), IsEmpty());
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

TEST_P(PeriodicModesTest, AnEndlessPeriodMakesAnItemThatIsNeverDue)
{
    const auto timer = makeTimerOfMode(3);
    timer->setPeriod(std::numeric_limits<double>::infinity());

    scheduler().createAndStartWork(timer);
    timerTasks().runAll();

    EXPECT_EQ(nextTimerFcn().m_executeAt,
        DueTime(DueTime::duration(std::numeric_limits<std::int64_t>::max() / 1'000'000)));
}

INSTANTIATE_TEST_SUITE_P(All, PeriodicModesTest,
    testing::Values(ExecutionMode::FixedSpacing, ExecutionMode::FixedDelay, ExecutionMode::FixedRate),
    [](const auto& mode) {
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
    });

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
