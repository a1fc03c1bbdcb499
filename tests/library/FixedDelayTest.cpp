#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/FixedDelayTimerFcnWorkItemHandlerStrategy.hpp"

#include <future>

namespace tovrintimer {

namespace {

static_assert(std::is_empty_v<FixedDelayTimerFcnWorkItemHandlerStrategy>);

class FixedDelayTest : public PeriodicTest {
protected:
    std::shared_ptr<TimerInfo> makeDelayTimer(size_t tasks, double period = aLongPeriod)
    {
        return makePeriodicTimer(ExecutionMode::FixedDelay, tasks, period);
    }
};

TEST_F(FixedDelayTest, TheNextCallbackIsQueuedBeforeThisOneIsEvaluated)
{
    keepQueueStill();
    const auto timer = makeDelayTimer(2);
    scheduler().createAndStartWork(timer);
    journal().clearEvents();

    timerTasks().runNext();

    EXPECT_EQ(story(), queueing("TimerFcn") + std::vector<std::string> { evaluateTimerFcn });
}

TEST_F(FixedDelayTest, TheLastCallbackQueuesTheStopFcnBeforeItIsEvaluated)
{
    keepQueueStill();
    const auto timer = makeDelayTimer(1);
    timer->setStopFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);
    journal().clearEvents();
    const DueTime before = now();

    timerTasks().runNext();

    EXPECT_EQ(story(), queueing("StopFcn") + std::vector<std::string> { evaluateTimerFcn });
    ASSERT_EQ(queue().size(), 1U);
    EXPECT_EQ(queue()[0].kind, StopFcnWork);
    EXPECT_GE(queue()[0].due, before);
    EXPECT_LE(queue()[0].due, now());
    EXPECT_TRUE(timer->getIsRunning());
}

TEST_F(FixedDelayTest, ThePeriodIsMeasuredFromTheStartOfTheCallback)
{
    keepQueueStill();
    const auto timer = makeDelayTimer(2);
    scheduler().createAndStartWork(timer);
    passTime(20ms);
    const DueTime before = now();
    DueTime atCallback {};
    journal().once(evaluateTimerFcn, [&] {
        atCallback = now();
        passTime(20ms);
    });

    timerTasks().runNext();

    EXPECT_GE(nextTimerFcn().m_executeAt, before + 1h);
    EXPECT_LE(nextTimerFcn().m_executeAt, atCallback + 1h);
}

TEST_F(FixedDelayTest, ACallbackLongerThanThePeriodIsFollowedByOneThatWaitsInTheHost)
{
    const auto timer = makeDelayTimer(3, 20.0);
    scheduler().createAndStartWork(timer);
    Gate gate;
    journal().once(evaluateTimerFcn, [&] { gate.pass(); });
    DueTime handedOver {};
    journal().once(handOver, [&] { handedOver = now(); });
    const DueTime before = now();

    auto first = std::async(std::launch::async, [] { timerTasks().runNext(); });
    gate.waitUntilReached();
    journal().waitFor("Consumer got a chance to poke at queue");

    EXPECT_GE(handedOver, before + 20ms);
    EXPECT_EQ(timerTasks().pending(), 1U);
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
    // The third is not even queued: it follows from the start of the second.
    EXPECT_THAT(queue(), IsEmpty());
    gate.open();
    first.get();
    timerTasks().runNext();
    journal().waitFor(handOver, 3);
    timerTasks().runNext();
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "TimerFcn", "TimerFcn"));
}

TEST_F(FixedDelayTest, AnErrorDoesNotEndTheRun)
{
    keepQueueStill();
    const auto timer = makeDelayTimer(3);
    timer->setStopFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);
    m_engine->setOutcome(Outcome::Error);

    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);
    dispatchNext();
    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);
    dispatchNext();
    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);
    m_engine->setOutcome(Outcome::Ready);
    dispatchNext();
    timerTasks().runNext();

    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(FixedDelayTest, AWholeRunOnTheSchedulerThreadKeepsItsPeriods)
{
    const auto timer = makeDelayTimer(3, 5.0);
    timer->setStopFcnIsEmpty(false);
    std::vector<DueTime> handedOver;
    std::vector<DueTime> started;
    journal().when(handOver, [&] { handedOver.push_back(now()); });

    scheduler().createAndStartWork(timer);
    for (std::size_t task = 1; task <= 4; ++task) {
        journal().waitFor(handOver, task);
        started.push_back(now());
        timerTasks().runNext();
    }
    waitForDispatches(3);

    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
    EXPECT_FALSE(timer->getIsRunning());
    ASSERT_EQ(handedOver.size(), 4U);
    EXPECT_GE(handedOver[1], started[0] + 5ms);
    EXPECT_GE(handedOver[2], started[1] + 5ms);
}

} // namespace

} // namespace tovrintimer
