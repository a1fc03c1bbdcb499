#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/FixedSpacingTimerFcnWorkItemHandlerStrategy.hpp"

namespace tovrintimer {

namespace {

static_assert(std::is_empty_v<FixedSpacingTimerFcnWorkItemHandlerStrategy>);

class FixedSpacingTest : public PeriodicTest {
protected:
    std::shared_ptr<TimerInfo> makeSpacingTimer(size_t tasks, double period = aLongPeriod)
    {
        return makePeriodicTimer(ExecutionMode::FixedSpacing, tasks, period);
    }
};

TEST_F(FixedSpacingTest, TheNextCallbackIsQueuedAfterThisOneHasReturned)
{
    keepQueueStill();
    const auto timer = makeSpacingTimer(2);
    scheduler().createAndStartWork(timer);
    journal().clearEvents();

    timerTasks().runNext();

    EXPECT_EQ(story(), std::vector<std::string> { evaluateTimerFcn } + queueing("TimerFcn"));
}

TEST_F(FixedSpacingTest, TheStopFcnIsQueuedAfterTheSecondOfTwoCallbacksHasReturned)
{
    keepQueueStill();
    const auto timer = makeSpacingTimer(2);
    timer->setStopFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);
    timerTasks().runNext();
    dispatchNext();
    journal().clearEvents();
    const DueTime before = now();

    timerTasks().runNext();

    EXPECT_EQ(story(), std::vector<std::string> { evaluateTimerFcn } + queueing("StopFcn"));
    ASSERT_EQ(queue().size(), 1U);
    EXPECT_EQ(queue()[0].kind, StopFcnWork);
    EXPECT_GE(queue()[0].due, before);
    EXPECT_LE(queue()[0].due, now());
    EXPECT_TRUE(timer->getIsRunning());
}

TEST_F(FixedSpacingTest, ThePeriodIsMeasuredFromTheEndOfTheCallback)
{
    keepQueueStill();
    const auto timer = makeSpacingTimer(2, 1000.0);
    scheduler().createAndStartWork(timer);
    DueTime started {};
    DueTime ended {};
    journal().once(evaluateTimerFcn, [&] {
        started = now();
        passTime(400ms);
        ended = now();
    });

    timerTasks().runNext();

    EXPECT_GE(nextTimerFcn().m_executeAt, ended + 1000ms);
    EXPECT_GE(nextTimerFcn().m_executeAt, started + 1400ms);
    EXPECT_LE(nextTimerFcn().m_executeAt, now() + 1000ms);
}

TEST_F(FixedSpacingTest, CallbacksLongerThanThePeriodNeitherOverlapNorPileUp)
{
    const auto timer = makeSpacingTimer(3, 2.0);
    journal().when(evaluateTimerFcn, [&] {
        const DueTime end = now() + 10ms;
        while (now() < end) {
            EXPECT_EQ(timerTasks().pending(), 0U);
            EXPECT_THAT(queue(), IsEmpty());
        }
    });

    scheduler().createAndStartWork(timer);
    for (std::size_t task = 1; task <= 3; ++task) {
        journal().waitFor(handOver, task);
        EXPECT_EQ(timerTasks().pending(), 1U);
        timerTasks().runNext();
    }

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "TimerFcn", "TimerFcn"));
}

TEST_F(FixedSpacingTest, AnErrorEndsTheRunWithTheFlagSetAndWithoutStopFcn)
{
    keepQueueStill();
    const auto timer = makeSpacingTimer(3);
    timer->setStopFcnIsEmpty(false);
    timer->setErrorFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);
    m_engine->setOutcome(Outcome::Error);
    journal().clearEvents();

    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);

    EXPECT_THAT(story(), ElementsAre(evaluateTimerFcn));
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
}

TEST_F(FixedSpacingTest, ATimerStoppedInItsCallbackGetsNoFurtherOne)
{
    keepQueueStill();
    const auto timer = makeSpacingTimer(3);
    scheduler().createAndStartWork(timer);
    journal().once(evaluateTimerFcn, [&] { scheduler().forceStopWorkAndScheduleStopFcn(timer); });

    timerTasks().runAll();

    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn"));
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(FixedSpacingTest, ANumberOfTasksThatIsRaisedInTheLastCallbackStillCounts)
{
    keepQueueStill();
    const auto timer = makeSpacingTimer(1);
    scheduler().createAndStartWork(timer);
    journal().once(evaluateTimerFcn, [&] { timer->setNumOfTasksToExecute(3); });

    runToEnd();

    EXPECT_THAT(logs("tovrintimer::WorkItem"), ElementsAre("TasksToExecute changed, affecting callback ctr 1"));
    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
    EXPECT_FALSE(timer->getIsRunning());
}

} // namespace

} // namespace tovrintimer
