#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/FixedRateTimerFcnWorkItemHandlerStrategy.hpp"

namespace tovrintimer {

namespace {

constexpr auto inContention = "fetching m_prevCallBackStatus->hasStarted, which is 0 and "
                              "m_prevCallBackStatus->hasCompleted, which is 0 @<time>";
constexpr auto dropped = "Contention With previous timerFcn callback, dropping current TimerFcn, and setting next "
                         "TimerFcn to fire immediately";
constexpr auto endedInError = "Contention With previous timerFcn callback, dropping current TimerFcn, and setting "
                              "errorFcn to fire immediately";

/// Runs in which a callback falls due while the one before it has not returned.
class FixedRateContentionTest : public PeriodicTest {
protected:
    std::shared_ptr<TimerInfo> makeFixedRateTimer(BusyMode busyMode, size_t tasks, double period)
    {
        auto timer = makePeriodicTimer(ExecutionMode::FixedRate, tasks, period);
        timer->setBusyMode(static_cast<size_t>(busyMode));
        return timer;
    }

    /// A started timer whose first callback waits in the host, with the second one queued. For a queue that is
    /// kept still: what the scheduler thread writes could fall on either side of the journal's clearing.
    std::shared_ptr<TimerInfo> startBusy(BusyMode busyMode, size_t tasks = 3, double period = 0.0)
    {
        auto timer = makeFixedRateTimer(busyMode, tasks, period);
        scheduler().createAndStartWork(timer);
        journal().clearEvents();
        return timer;
    }

    /// Has the soonest queued item, a TimerFcn, be due far off. \returns it as it is then
    WorkItem<TimerFcnWork> putOff() const
    {
        auto item = boost::get<WorkItem<TimerFcnWork>>(TimerSchedulerPeer::workQueue(scheduler()).take());
        item.m_executeAt = farOff();
        TimerSchedulerPeer::workQueue(scheduler()).insert(WorkItem(item));
        return item;
    }

    static std::vector<std::string> poll()
    {
        return std::vector<std::string>({ inContention, dropped }) + queueing("TimerFcn");
    }
};

TEST_F(FixedRateContentionTest, ADroppedItemIsQueuedAgainForTheNextMillisecondAndOtherwiseUnchanged)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Drop, 3, aLongPeriod);
    const auto item = nextTimerFcn();
    const DueTime before = now();

    dispatchNext();

    EXPECT_EQ(story(), poll());
    ASSERT_EQ(queue().size(), 1U);
    const auto again = nextTimerFcn();
    EXPECT_GT(again.m_executeAt, before);
    EXPECT_LE(again.m_executeAt, now() + 1ms);
    EXPECT_EQ(again.m_prevCallBackStatus, item.m_prevCallBackStatus);
    EXPECT_EQ(again.m_sharedTaskCounter, item.m_sharedTaskCounter);
    EXPECT_EQ(again.m_taskCount, item.m_taskCount);
    EXPECT_EQ(again.m_timerInfo.lock(), timer);
    EXPECT_EQ(timer->getTasksExecuted(), 0.0);
}

TEST_F(FixedRateContentionTest, EveryPollIsTracedUntilTheCallbackHasReturned)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Drop);

    dispatchNext();
    dispatchNext();
    dispatchNext();
    EXPECT_EQ(story(), poll() + poll() + poll());

    timerTasks().runNext();
    journal().clearEvents();
    dispatchNext();
    EXPECT_EQ(story(), std::vector<std::string>({ freeOfContention, handOver }) + queueing("TimerFcn"));
    EXPECT_EQ(nextTimerFcn().m_taskCount, 1U);
}

TEST_F(FixedRateContentionTest, DroppedFiringsAreNotTakenOffTheNumberOfTasks)
{
    const auto timer = makeFixedRateTimer(BusyMode::Drop, 3, 1.0);
    timer->setStopFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);
    for (std::size_t callback = 1; callback <= 2; ++callback) {
        journal().waitFor(dropped, journal().count(dropped) + 5);
        timerTasks().runNext();
        journal().waitFor(handOver, callback + 1);
    }
    journal().waitFor(handOver, 4);
    timerTasks().runAll();

    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(FixedRateContentionTest, TheSchedulerThreadPollsAndFiresAsSoonAsTheCallbackHasReturned)
{
    startThread();
    const auto timer = makeFixedRateTimer(BusyMode::Drop, 2, 1.0);
    scheduler().createAndStartWork(timer);
    journal().waitFor(dropped, 5);

    timerTasks().runNext();
    journal().waitFor(handOver, 2);
    waitUntilAsleepWithoutWork();

    // Polls, and one dispatch at their end.
    std::vector<std::string> expected;
    const std::size_t polls = journal().count(dropped);
    for (std::size_t i = 0; i < polls; ++i) {
        expected = expected + std::vector<std::string>({ inContention, dropped });
    }
    expected.emplace_back(freeOfContention);
    EXPECT_EQ(logs("tovrintimer::workHandler"), expected);
    EXPECT_EQ(journal().count("Request to Start Work with Id: "), 1 + polls);
    EXPECT_EQ(timerTasks().pending(), 1U);
    timerTasks().runNext();
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(timer->getTasksExecuted(), 2.0);
}

TEST_F(FixedRateContentionTest, AnItemThatWaitsForACallbackIsPolledAtMostOnceInEachMillisecond)
{
    startThread();
    const auto timer = makeFixedRateTimer(BusyMode::Drop, 2, 1.0);
    const DueTime start = now();
    scheduler().createAndStartWork(timer);
    journal().waitFor(dropped, 30);
    scheduler().forceStopWorkAndScheduleStopFcn(timer);
    waitUntilAsleepWithoutWork();

    EXPECT_LE(journal().count(dropped), static_cast<std::size_t>((now() - start) / 1ms));
}

TEST_F(FixedRateContentionTest, TheItemThatWaitsIsDueAtOnceAsTheCallbackReturns)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Drop);
    dispatchNext();
    // Put off, so that it is due by no other reason.
    const auto waiting = putOff();

    timerTasks().runNext();

    const auto hastened = nextTimerFcn();
    EXPECT_LE(hastened.m_executeAt, now());
    EXPECT_EQ(hastened.m_prevCallBackStatus, waiting.m_prevCallBackStatus);
    EXPECT_EQ(hastened.m_taskCount, waiting.m_taskCount);
    EXPECT_EQ(queue().size(), 1U);
}

TEST_F(FixedRateContentionTest, TheSchedulerThreadIsWokenForTheItemThatWaits)
{
    startThread();
    const auto timer = makeTimer();
    const auto item = periodicItem(timer, 2, 1, farOff());
    scheduler().insertAscendingSorted(item);
    waitUntilAsleepWithWork();

    hasten(timer->getId(), *item.m_prevCallBackStatus);
    waitForDispatches();

    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(FixedRateContentionTest, ACallbackThatReturnsWhileItsItemIsBeingQueuedAgainIsNotMissed)
{
    keepQueueStill();
    // Where the clock goes on meanwhile, nothing can be told.
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const auto timer = startBusy(BusyMode::Drop);
        journal().once("Request to Start Work with Id: ", [] { timerTasks().runNext(); });
        const DueTime before = now();
        dispatchNext();
        const DueTime due = nextTimerFcn().m_executeAt;
        const DueTime after = now();
        scheduler().forceStopWorkAndScheduleStopFcn(timer);
        if (before == after) {
            EXPECT_EQ(due, before);
            return;
        }
    }
    FAIL() << "the clock was never slow enough";
}

TEST_F(FixedRateContentionTest, AnItemThatHasNotMetItsCallbackStaysDueAPeriodLater)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Drop, 3, aLongPeriod);
    const DueTime due = nextTimerFcn().m_executeAt;

    timerTasks().runNext();

    EXPECT_EQ(nextTimerFcn().m_executeAt, due);
}

TEST_F(FixedRateContentionTest, ACallbackOfAnEarlierRunHastensNothingOfTheNext)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Drop);
    dispatchNext();
    scheduler().forceStopWorkAndScheduleStopFcn(timer);
    scheduler().createAndStartWork(timer);
    const auto waiting = putOff();

    timerTasks().runNext();

    EXPECT_EQ(nextTimerFcn().m_executeAt, waiting.m_executeAt);
}

TEST_F(FixedRateContentionTest, AfterACallbackThatRaisedAnErrorADroppingTimerPollsUntilItIsStopped)
{
    const auto timer = makeFixedRateTimer(BusyMode::Drop, 3, 1.0);
    const DueTime start = now();
    scheduler().createAndStartWork(timer);
    m_engine->setOutcome(Outcome::Error);
    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);
    const std::size_t polls = journal().count(dropped);
    journal().waitFor(dropped, polls + 5);
    EXPECT_LE(journal().count(dropped), static_cast<std::size_t>((now() - start) / 1ms));
    EXPECT_EQ(timerTasks().pending(), 0U);
    journal().clearEvents();

    scheduler().forceStopWorkAndScheduleStopFcn(timer);
    waitUntilAsleepWithoutWork();

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_EQ(timerTasks().pending(), 0U);
}

TEST_F(FixedRateContentionTest, AStoppedTimerIsDroppedWithoutBeingQueuedAgain)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Drop);
    timer->setActivationStatus(false);
    journal().clearEvents();

    dispatchNext();

    EXPECT_THAT(story(), ElementsAre(inContention, dropped));
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(FixedRateContentionTest, ATimerDestroyedWhileItIsContendedIsPolledNoMore)
{
    keepQueueStill();
    auto timer = startBusy(BusyMode::Drop);
    journal().once("fetching", [&] { timer.reset(); });

    // The dispatch holds it to its end: the item is queued once more, and then finds it gone.
    dispatchNext();
    EXPECT_EQ(queue().size(), 1U);
    EXPECT_EQ(recording::expectedObjects(), 0U);
    journal().clearEvents();
    dispatchNext();

    EXPECT_THAT(everything(), IsEmpty());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(FixedRateContentionTest, AnErrorQueuesTheStopFcnAndThenTheErrorFcn)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Error);
    timer->setStopFcnIsEmpty(false);
    timer->setErrorFcnIsEmpty(false);
    const DueTime before = now();

    dispatchNext();

    EXPECT_EQ(story(),
        std::vector<std::string>({ inContention, endedInError }) + queueing("StopFcn") + queueing("ErrorFcn"));
    const auto queued = queue();
    ASSERT_EQ(queued.size(), 2U);
    // Last due first.
    EXPECT_EQ(queued[0].kind, ErrorFcnWork);
    EXPECT_EQ(queued[1].kind, StopFcnWork);
    EXPECT_GE(queued[1].due, before);
    EXPECT_GE(queued[0].due, queued[1].due);
    EXPECT_LE(queued[0].due, now());
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_EQ(timerTasks().pending(), 1U);
}

TEST_F(FixedRateContentionTest, AFailingRunEndsWithItsStopFcnAndItsErrorFcnInThisOrder)
{
    const auto timer = makeFixedRateTimer(BusyMode::Error, 3, 1.0);
    timer->setStopFcnIsEmpty(false);
    timer->setErrorFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);

    journal().waitFor(handOver, 3);
    waitForDispatches(3);

    EXPECT_THAT(logs("tovrintimer::workHandler"),
        ElementsAre(
            inContention, endedInError, "Requesting StopFcn Processing", "Requesting ErrorFcn Processing"));
    timerTasks().runAll();
    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "StopFcn", "ErrorFcn"));
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(FixedRateContentionTest, WithoutStopFcnTheFlagIsClearedBeforeTheErrorFcnIsQueued)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Error);
    timer->setErrorFcnIsEmpty(false);
    bool running = true;
    journal().once("Request to Start Work with Id: ", [&] { running = timer->getIsRunning(); });

    dispatchNext();

    EXPECT_EQ(story(), std::vector<std::string>({ inContention, endedInError, wakeUp }) + queueing("ErrorFcn"));
    EXPECT_FALSE(running);
    ASSERT_EQ(queue().size(), 1U);
    EXPECT_EQ(queue()[0].kind, ErrorFcnWork);
}

TEST_F(FixedRateContentionTest, AnErrorQueuesWhatThereIsToRunAndAStopFcnOnlyWhileTheTimerRuns)
{
    keepQueueStill();
    struct Case {
        bool hasStopFcn, hasErrorFcn, isRunning;
        std::vector<std::string> afterTheFailure;
        std::vector<int> queued;
    };
    const Case cases[] = {
        { true, false, true, queueing("StopFcn"), { StopFcnWork } },
        { false, false, true, { wakeUp }, {} },
        { true, true, false, queueing("ErrorFcn"), { ErrorFcnWork } },
    };
    for (const Case& given : cases) {
        const auto timer = startBusy(BusyMode::Error);
        timer->setStopFcnIsEmpty(!given.hasStopFcn);
        timer->setErrorFcnIsEmpty(!given.hasErrorFcn);
        timer->setActivationStatus(given.isRunning);
        journal().clearEvents();

        dispatchNext();

        EXPECT_EQ(story(), std::vector<std::string>({ inContention, endedInError }) + given.afterTheFailure);
        std::vector<int> kinds;
        for (const Queued& queued : queue()) {
            kinds.push_back(queued.kind);
        }
        EXPECT_EQ(kinds, given.queued);
        EXPECT_EQ(timer->getIsRunning(), given.isRunning && given.hasStopFcn);
        TimerSchedulerPeer::workQueue(scheduler()).clear();
    }
}

TEST_F(FixedRateContentionTest, AfterACallbackThatRaisedAnErrorAFailingTimerEndsAtItsNextItem)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode::Error);
    timer->setStopFcnIsEmpty(false);
    timer->setErrorFcnIsEmpty(false);
    m_engine->setOutcome(Outcome::Error);
    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);
    m_engine->setOutcome(Outcome::Ready);

    runToEnd();

    EXPECT_THAT(evaluated(), ElementsAre("TimerFcn", "StopFcn", "ErrorFcn"));
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(FixedRateContentionTest, ABusyModeThatDoesNotExistIsTestedAndLosesTheItem)
{
    keepQueueStill();
    for (const size_t busyMode : { size_t { 3 }, size_t { 4 }, size_t { 0xffff'ffff } }) {
        const auto timer = startBusy(BusyMode::Drop);
        timer->setStopFcnIsEmpty(false);
        timer->setErrorFcnIsEmpty(false);
        timer->setBusyMode(busyMode);

        dispatchNext();

        EXPECT_THAT(story(), ElementsAre(inContention));
        EXPECT_THAT(queue(), IsEmpty());
        EXPECT_TRUE(timer->getIsRunning());
    }
}

TEST_F(FixedRateContentionTest, ABusyModeThatDoesNotExistGoesOnWhereThereIsNoContention)
{
    keepQueueStill();
    const auto timer = startBusy(BusyMode { 3 });

    runToEnd();

    EXPECT_EQ(timer->getTasksExecuted(), 3.0);
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(FixedRateContentionTest, TheBusyModeIsAskedForAgainOnceContentionIsKnown)
{
    keepQueueStill();
    const auto toQueue = startBusy(BusyMode::Drop);
    journal().once("fetching", [&] { toQueue->setBusyMode(static_cast<size_t>(BusyMode::Queue)); });
    dispatchNext();
    EXPECT_THAT(story(), ElementsAre(inContention));
    EXPECT_THAT(queue(), IsEmpty());

    const auto toError = startBusy(BusyMode::Drop);
    journal().once("fetching", [&] { toError->setBusyMode(static_cast<size_t>(BusyMode::Error)); });
    dispatchNext();
    EXPECT_THAT(story(), ElementsAre(inContention, endedInError, wakeUp));
    EXPECT_FALSE(toError->getIsRunning());
}

} // namespace

} // namespace tovrintimer
