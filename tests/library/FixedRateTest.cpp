#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/FixedRateTimerFcnWorkItemHandlerStrategy.hpp"

#include <regex>

namespace tovrintimer {

namespace {

static_assert(std::is_empty_v<FixedRateTimerFcnWorkItemHandlerStrategy>);

/// Runs whose callbacks do not overlap, and runs that queue those that do.
class FixedRateTest : public PeriodicTest {
protected:
    std::shared_ptr<TimerInfo> makeRateTimer(
        size_t tasks, double period = aLongPeriod, BusyMode busyMode = BusyMode::Drop)
    {
        auto timer = makePeriodicTimer(ExecutionMode::FixedRate, tasks, period);
        timer->setBusyMode(static_cast<size_t>(busyMode));
        return timer;
    }

    const FixedRateTimerFcnWorkItemHandlerStrategy m_handler {};
};

TEST_F(FixedRateTest, TheNextCallbackIsQueuedAtTheDispatchAfterTheHandOver)
{
    keepQueueStill();
    const auto timer = makeRateTimer(3);
    timer->setActivationStatus(true);

    m_handler.handle(periodicItem(timer, 3, 3), *timer);
    EXPECT_EQ(story(), std::vector<std::string> { handOver } + queueing("TimerFcn"));

    journal().clearEvents();
    timerTasks().runNext();
    EXPECT_THAT(story(), ElementsAre(evaluateTimerFcn));
}

TEST_F(FixedRateTest, TheThirdOfThreeDispatchesQueuesTheStopFcnAtOnce)
{
    keepQueueStill();
    const auto timer = makeRateTimer(3);
    timer->setStopFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);
    timerTasks().runNext();
    dispatchNext();
    timerTasks().runNext();
    journal().clearEvents();
    const DueTime before = now();

    dispatchNext();

    EXPECT_EQ(story(), std::vector<std::string>({ freeOfContention, handOver }) + queueing("StopFcn"));
    ASSERT_EQ(queue().size(), 1U);
    EXPECT_EQ(queue()[0].kind, StopFcnWork);
    EXPECT_GE(queue()[0].due, before);
    EXPECT_LE(queue()[0].due, now());
    EXPECT_EQ(timer->getTasksExecuted(), 2.0);
    EXPECT_TRUE(timer->getIsRunning());
}

TEST_F(FixedRateTest, ThePeriodIsReadAfterTheHandOver)
{
    keepQueueStill();
    const auto timer = makeRateTimer(3);
    timer->setActivationStatus(true);
    DueTime handedOver {};
    journal().once(handOver, [&] {
        passTime(10ms);
        handedOver = now();
        timer->setPeriod(1000.0);
    });

    m_handler.handle(periodicItem(timer, 3, 3), *timer);

    EXPECT_GE(nextTimerFcn().m_executeAt, handedOver + 1000ms);
    EXPECT_LE(nextTimerFcn().m_executeAt, now() + 1000ms);
}

TEST_F(FixedRateTest, TheRecordOfTheNextItemTellsWhetherTheCallbackHasReturned)
{
    keepQueueStill();
    const auto timer = makeRateTimer(3);
    timer->setActivationStatus(true);
    const auto item = periodicItem(timer, 3, 3);
    m_handler.handle(WorkItem(item), *timer);
    const auto record = nextTimerFcn().m_prevCallBackStatus;
    EXPECT_NE(record, item.m_prevCallBackStatus);
    EXPECT_FALSE(record->hasCompleted);
    bool completedInCallback = true;
    journal().once(evaluateTimerFcn, [&] { completedInCallback = record->hasCompleted; });

    timerTasks().runNext();

    EXPECT_FALSE(completedInCallback);
    EXPECT_TRUE(record->hasCompleted);
    EXPECT_FALSE(record->hasStarted);
    EXPECT_FALSE(item.m_prevCallBackStatus->hasCompleted);
}

TEST_F(FixedRateTest, ACallbackThatRaisesAnErrorOrFindsItsTimerGoneIsNeverRecordedAsReturned)
{
    keepQueueStill();
    auto timer = makeRateTimer(5);
    scheduler().createAndStartWork(timer);
    const auto failed = nextTimerFcn().m_prevCallBackStatus;
    m_engine->setOutcome(Outcome::Error);
    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);
    timer->setBusyMode(static_cast<size_t>(BusyMode::Queue));
    dispatchNext();
    const auto gone = nextTimerFcn().m_prevCallBackStatus;
    timer.reset();
    timerTasks().runNext();

    EXPECT_FALSE(failed->hasCompleted);
    EXPECT_FALSE(gone->hasCompleted);
    EXPECT_EQ(journal().count("feval"), 1U);
}

TEST_F(FixedRateTest, EachDispatchMakesANewRecordAndForAChangedTotalANewCounter)
{
    keepQueueStill();
    const auto timer = makeRateTimer(3);
    scheduler().createAndStartWork(timer);
    timerTasks().runNext();
    const auto second = nextTimerFcn();
    dispatchNext();
    const auto third = nextTimerFcn();

    EXPECT_NE(second.m_prevCallBackStatus, third.m_prevCallBackStatus);
    EXPECT_TRUE(second.m_prevCallBackStatus->hasCompleted);
    EXPECT_FALSE(third.m_prevCallBackStatus->hasCompleted);
    EXPECT_EQ(second.m_taskCount, 2U);
    EXPECT_EQ(third.m_taskCount, 1U);
    EXPECT_EQ(second.m_sharedTaskCounter, third.m_sharedTaskCounter);

    timer->setNumOfTasksToExecute(5);
    timerTasks().runNext();
    dispatchNext();
    const auto fourth = nextTimerFcn();

    EXPECT_EQ(fourth.m_taskCount, 2U);
    EXPECT_EQ(*fourth.m_sharedTaskCounter, 5U);
    EXPECT_EQ(*third.m_sharedTaskCounter, 3U);
}

TEST_F(FixedRateTest, TheFirstOfARunIsNeverTestedForContentionWhateverTheBusyMode)
{
    keepQueueStill();
    for (const size_t busyMode : { size_t { 0 }, size_t { 1 }, size_t { 2 }, size_t { 3 } }) {
        const auto timer = makeRateTimer(3);
        timer->setBusyMode(busyMode);
        journal().clearEvents();

        scheduler().createAndStartWork(timer);

        EXPECT_THAT(calls(), ElementsAre(handOver));
        EXPECT_THAT(logs("tovrintimer::workHandler"), IsEmpty());
    }
}

TEST_F(FixedRateTest, EveryLaterOneIsTracedWithTheTimeToTheMillisecond)
{
    keepQueueStill();
    const auto timer = makeRateTimer(3);
    scheduler().createAndStartWork(timer);
    timerTasks().runNext();
    journal().clearEvents();

    dispatchNext();

    const recording::Event record = journal().events().front();
    EXPECT_EQ(record.channel, "tovrintimer::workHandler");
    EXPECT_EQ(record.severity, 4U);
    const std::regex shape("fetching m_prevCallBackStatus->hasStarted, which is 0 and "
                           "m_prevCallBackStatus->hasCompleted, which is 1 @"
                           "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}");
    EXPECT_TRUE(std::regex_match(record.text, shape)) << record.text;
}

TEST_F(FixedRateTest, QueueingCallbacksPileUpInTheHostWithoutATrace)
{
    const auto timer = makeRateTimer(5, 1.0, BusyMode::Queue);
    timer->setStopFcnIsEmpty(false);

    scheduler().createAndStartWork(timer);
    journal().waitFor(handOver, 6);
    waitForDispatches(5);

    EXPECT_EQ(timerTasks().pending(), 6U);
    EXPECT_EQ(timer->getTasksExecuted(), 0.0);
    EXPECT_THAT(logs("tovrintimer::workHandler"), ElementsAre("Requesting StopFcn Processing"));
    timerTasks().runAll();
    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "TimerFcn", "TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(FixedRateTest, QueuedCallbacksWithoutStopFcnAllRunAndTheLastOneEndsTheRun)
{
    const auto timer = makeRateTimer(3, 1.0, BusyMode::Queue);
    scheduler().createAndStartWork(timer);
    journal().waitFor(handOver, 3);
    waitForDispatches(2);

    timerTasks().runNext();
    timerTasks().runNext();
    EXPECT_TRUE(timer->getIsRunning());
    timerTasks().runNext();

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
}

TEST_F(FixedRateTest, DispatchesAreNeverLessThanAPeriodApart)
{
    const auto timer = makeRateTimer(4, 5.0, BusyMode::Queue);
    std::vector<DueTime> handedOver;
    journal().when(handOver, [&] { handedOver.push_back(now()); });

    scheduler().createAndStartWork(timer);
    waitForDispatches(3);

    ASSERT_EQ(handedOver.size(), 4U);
    for (std::size_t i = 1; i < handedOver.size(); ++i) {
        EXPECT_GE(handedOver[i], handedOver[i - 1] + 5ms);
    }
}

TEST_F(FixedRateTest, TheNextItemIsQueuedByTheThreadThatDispatches)
{
    const auto timer = makeRateTimer(3, 1.0, BusyMode::Queue);
    std::vector<std::thread::id> queueing;
    journal().when("Request to Start Work with Id: ", [&] { queueing.push_back(std::this_thread::get_id()); });

    scheduler().createAndStartWork(timer);
    waitForDispatches(2);

    EXPECT_THAT(queueing, ElementsAre(std::this_thread::get_id(), schedulerThread()));
}

} // namespace

} // namespace tovrintimer
