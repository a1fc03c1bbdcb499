#include "tests/library/LibraryTest.hpp"

#include <limits>

namespace tovrintimer {

namespace {

/// createAndStartWork
class StartTest : public LibraryTest {
protected:
    static constexpr auto requesting = "Requesting lk @insertAscendingSorted";
    static constexpr auto inserted = "End of life for lk @insertAscendingSorted";

    /// The due time that a start of the timer gives to its first TimerFcn, and that it should give.
    void expectFirstTimerFcnAfter(std::chrono::milliseconds delay, const std::shared_ptr<TimerInfo>& timer)
    {
        const DueTime before = now();
        scheduler().createAndStartWork(timer);
        const DueTime after = now();

        const auto queued = queue();
        ASSERT_EQ(queued.size(), 1U);
        EXPECT_EQ(queued[0].kind, TimerFcnWork);
        EXPECT_GE(queued[0].due, before + delay);
        EXPECT_LE(queued[0].due, after + delay);
    }
};

TEST_F(StartTest, ADestroyedTimerIsNotStarted)
{
    scheduler().createAndStartWork({});

    EXPECT_THAT(everything(), IsEmpty());
}

TEST_F(StartTest, WithoutStartFcnAndDelayTheFirstTimerFcnIsHandedOverBeforeTheCallReturns)
{
    const auto timer = makeTimer();

    scheduler().createAndStartWork(timer);

    EXPECT_THAT(story(),
        ElementsAre("Bypassing Scheduler by Forcing Work with Id: <A> for TimerFcn to execute @<time>",
            "Requesting SingleShot Processing", "processTovrinTimerTask"));
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(StartTest, WithoutStartFcnTheFirstTimerFcnWaitsForTheStartDelay)
{
    keepQueueStill();
    const auto timer = makeTimer();
    timer->setStartDelay(5000.0);

    expectFirstTimerFcnAfter(5000ms, timer);

    EXPECT_THAT(story(),
        ElementsAre("Request to Start Work with Id: <A> for TimerFcn to execute @<time>", requesting, inserted));
    EXPECT_TRUE(timer->getIsRunning());
}

TEST_F(StartTest, TheStartFcnRunsAtOnceAndTheDelayAppliesToTheFirstTimerFcn)
{
    keepQueueStill();
    const auto timer = makeTimer();
    timer->setStartFcnIsEmpty(false);
    timer->setStartDelay(5000.0);

    expectFirstTimerFcnAfter(5000ms, timer);

    EXPECT_THAT(story(),
        ElementsAre("Bypassing Scheduler by Forcing Work with Id: <A> for StartFcn to execute @<time>",
            "Requesting StartFcn Processing", "processTovrinTimerTask",
            "Request to Start Work with Id: <A> for TimerFcn to execute @<time>", requesting, inserted));
}

TEST_F(StartTest, AfterAStartFcnTheFirstTimerFcnIsQueuedEvenWithoutADelay)
{
    keepQueueStill();
    const auto timer = makeTimer();
    timer->setStartFcnIsEmpty(false);

    expectFirstTimerFcnAfter(0ms, timer);
}

TEST_F(StartTest, FractionsOfAMillisecondAreDropped)
{
    keepQueueStill();
    const auto timer = makeTimer();
    for (const auto& [delay, whole] : { std::pair(5002.9, 5002ms), std::pair(0.9, 0ms) }) {
        timer->setStartDelay(delay);
        expectFirstTimerFcnAfter(whole, timer);
        TimerSchedulerPeer::workQueue(scheduler()).clear();
    }
}

TEST_F(StartTest, ADelayThatIsNotPositiveIsBypassedLikeNone)
{
    using Limits = std::numeric_limits<double>;
    const auto timer = makeTimer();
    for (const double delay : { -1000.0, -Limits::infinity(), Limits::quiet_NaN() }) {
        timer->setStartDelay(delay);
        journal().clearEvents();

        scheduler().createAndStartWork(timer);

        EXPECT_THAT(calls(), ElementsAre("processTovrinTimerTask"));
        EXPECT_THAT(queue(), IsEmpty());
    }
}

TEST_F(StartTest, AfterAStartFcnADelayOfMinusInfinityMeansDueSinceEver)
{
    keepQueueStill();
    const auto timer = makeTimer();
    timer->setStartDelay(-std::numeric_limits<double>::infinity());
    timer->setStartFcnIsEmpty(false);

    scheduler().createAndStartWork(timer);

    ASSERT_EQ(queue().size(), 1U);
    EXPECT_LT(queue()[0].due, now());
}

TEST_F(StartTest, AnEndlessDelayIsQueuedAtTheEndOfTimeAndTheThreadSleeps)
{
    const std::string sleepsOn = "@wait_until got notified and doesBackOfQueueHaveSmallerWork then intended ? 0";
    startThread();
    for (const double endless : { std::numeric_limits<double>::infinity(), 1e300, 1e19 }) {
        const auto timer = makeTimer();
        timer->setStartDelay(endless);
        scheduler().createAndStartWork(timer);
        journal().waitFor(sleepsOn);
        const auto looks = journal().count(sleepsOn);
        TimerSchedulerPeer::wake(scheduler());
        journal().waitFor(sleepsOn, looks + 1);

        const DueTime endOfTime(DueTime::duration(std::numeric_limits<std::int64_t>::max() / 1'000'000));
        EXPECT_THAT(queue(), ElementsAre(Queued { TimerFcnWork, "<A>", endOfTime }));
        EXPECT_THAT(calls(), IsEmpty());
        scheduler().forceStopWorkAndScheduleStopFcn(timer);
        EXPECT_THAT(queue(), IsEmpty());
        journal().clearEvents();
    }
}

TEST_F(StartTest, TheFirstTimerFcnCountsAllTasksOfTheRun)
{
    keepQueueStill();
    const auto timer = makeTimer();
    timer->setStartDelay(5000.0);
    timer->setNumOfTasksToExecute(17);

    scheduler().createAndStartWork(timer);
    timer->setStartFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);

    const auto queued = TimerSchedulerPeer::queue(scheduler());
    ASSERT_EQ(queued.size(), 2U);
    const auto& second = boost::get<WorkItem<TimerFcnWork>>(queued[0]);
    const auto& first = boost::get<WorkItem<TimerFcnWork>>(queued[1]);
    for (const auto* item : { &first, &second }) {
        EXPECT_EQ(item->m_taskCount, 17U);
        EXPECT_EQ(*item->m_sharedTaskCounter, 17U);
        EXPECT_FALSE(item->m_prevCallBackStatus->hasStarted);
        EXPECT_FALSE(item->m_prevCallBackStatus->hasCompleted);
        EXPECT_EQ(item->m_timerInfo.lock(), timer);
    }
    EXPECT_NE(first.m_sharedTaskCounter, second.m_sharedTaskCounter);
    EXPECT_NE(first.m_prevCallBackStatus, second.m_prevCallBackStatus);
}

TEST_F(StartTest, TheStatisticsAreResetBeforeTheFirstHandOver)
{
    const auto timer = makeTimer();
    timer->updateTimerFunRunStatus();
    double atHandOver = -1;
    journal().once("processTovrinTimerTask", [&] { atHandOver = timer->getTasksExecuted(); });

    scheduler().createAndStartWork(timer);

    EXPECT_EQ(atHandOver, 0.0);
}

TEST_F(StartTest, StartingPostsNoWakeUp)
{
    const auto timer = makeTimer();

    scheduler().createAndStartWork(timer);

    EXPECT_EQ(journal().count("evalAsync"), 0U);
}

TEST_F(StartTest, ABypassedItemShowsItsDueTimeAsLocalTime)
{
    const auto timer = makeTimer();
    const auto text = [&timer] {
        std::ostringstream all;
        all << "Bypassing Scheduler by Forcing Work with Id: " << timer->getId() << " for TimerFcn to execute @"
            << ToTheSecond { now() };
        return all.str();
    };

    const std::string before = text();
    scheduler().createAndStartWork(timer);
    const std::string after = text();

    const auto record = journal().events().front();
    EXPECT_GE(record.text, before);
    EXPECT_LE(record.text, after);
    EXPECT_EQ(record.text.size(), before.size());
    EXPECT_EQ(record.severity, 4U);
    EXPECT_EQ(record.channel, "tovrintimer::TimerScheduler");
}

TEST_F(StartTest, BypassingTakesNoLockOfTheQueue)
{
    const auto timer = makeTimer();
    const Lock lock = TimerSchedulerPeer::lock(scheduler());

    scheduler().createAndStartWork(timer);

    EXPECT_THAT(calls(), ElementsAre("processTovrinTimerTask"));
}

} // namespace

} // namespace tovrintimer
