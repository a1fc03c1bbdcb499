#include "tests/library/LibraryTest.hpp"

namespace tovrintimer {

namespace {

/// What is dispatched is told by the order of the timers' identities in the records of the scheduler thread.
class RunLoopTest : public LibraryTest {
protected:
    std::vector<std::string> dispatched() const
    {
        const std::string transfer = "Transfering WorkItem callback, with ID ";
        std::vector<std::string> timers;
        for (const std::string& text : logs("tovrintimer::TimerScheduler")) {
            if (text.starts_with(transfer)) {
                timers.push_back(text.substr(transfer.size()));
            }
        }
        return timers;
    }
};

TEST_F(RunLoopTest, AnItemIsNeverDispatchedEarly)
{
    startThread();
    const auto timer = makeTimer();
    DueTime handedOver {};
    journal().once("processTovrinTimerTask", [&] { handedOver = now(); });
    const DueTime due = now() + 40ms;

    scheduler().insertAscendingSorted(timerFcn(timer, due));
    waitForDispatches();

    EXPECT_GE(handedOver, due);
    EXPECT_THAT(dispatched(), ElementsAre("<A>"));
}

TEST_F(RunLoopTest, AnItemThatWasDueInThePastRunsAtOnce)
{
    startThread();
    const auto timer = makeTimer();

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    scheduler().insertAscendingSorted(timerFcn(timer, DueTime::min()));
    waitForDispatches(2);

    EXPECT_THAT(calls(), ElementsAre("processTovrinTimerTask", "processTovrinTimerTask"));
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(RunLoopTest, ItemsRunInTheOrderOfTheQueueAndNotOfTheirArrival)
{
    startThread();
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    const auto c = makeTimer("C");
    const auto d = makeTimer("D");
    Gate gate;
    journal().once("processTovrinTimerTask", [&] { gate.pass(); });
    const DueTime due = past(1ms);

    // The thread stands in the first dispatch while the others arrive.
    scheduler().insertAscendingSorted(timerFcn(a, past()));
    gate.waitUntilReached();
    scheduler().insertAscendingSorted(timerFcn(c, due));
    scheduler().insertAscendingSorted(timerFcn(d, due));
    scheduler().insertAscendingSorted(timerFcn(b, due - 200ms));
    gate.open();
    waitForDispatches(4);

    EXPECT_THAT(dispatched(), ElementsAre("<A>", "<B>", "<C>", "<D>"));
}

TEST_F(RunLoopTest, OneItemIsDispatchedAtATimeOnTheOneSchedulerThread)
{
    std::thread::id first;
    std::thread::id second;
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    journal().once("processTovrinTimerTask", [&] {
        first = std::this_thread::get_id();
        journal().once("processTovrinTimerTask", [&] { second = std::this_thread::get_id(); });
    });

    scheduler().insertAscendingSorted(timerFcn(a, past()));
    scheduler().insertAscendingSorted(timerFcn(b, past()));
    waitForDispatches(2);

    EXPECT_EQ(first, schedulerThread());
    EXPECT_EQ(second, first);
    EXPECT_NE(first, std::this_thread::get_id());
}

TEST_F(RunLoopTest, AnEarlierInsertIsWaitedForInsteadOfTheOldItem)
{
    startThread();
    const auto late = makeTimer("late");
    const auto soon = makeTimer("soon");
    const DueTime due = farOff();
    scheduler().insertAscendingSorted(timerFcn(late, due));
    waitUntilAsleepWithWork();

    scheduler().insertAscendingSorted(timerFcn(soon, past()));
    waitForDispatches();

    EXPECT_THAT(dispatched(), ElementsAre("<soon>"));
    EXPECT_THAT(queue(), ElementsAre(Queued { TimerFcnWork, "<late>", due }));
}

TEST_F(RunLoopTest, RemovingTheItemThatIsWaitedForMakesTheThreadWaitForTheNext)
{
    startThread();
    const auto removed = makeTimer("removed");
    const auto next = makeTimer("next");
    const DueTime due = now() + 60ms;
    scheduler().insertAscendingSorted(timerFcn(removed, due - 30ms));
    scheduler().insertAscendingSorted(timerFcn(next, due));
    DueTime handedOver {};
    journal().once("processTovrinTimerTask", [&] { handedOver = now(); });

    TimerSchedulerPeer::remove(scheduler(), removed->getId());
    waitForDispatches();

    EXPECT_GE(handedOver, due);
    EXPECT_THAT(dispatched(), ElementsAre("<next>"));
}

TEST_F(RunLoopTest, HandlersMayQueueAndRemoveWorkBecauseTheQueueIsFreeDuringADispatch)
{
    startThread();
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    const auto c = makeTimer("C");
    scheduler().insertAscendingSorted(timerFcn(c, farOff()));
    const DueTime due = farOff(7ms);
    journal().once("processTovrinTimerTask", [&] {
        scheduler().insertAscendingSorted(timerFcn(b, due));
        TimerSchedulerPeer::remove(scheduler(), c->getId());
    });

    scheduler().insertAscendingSorted(timerFcn(a, past()));
    waitForDispatches();

    EXPECT_THAT(queue(), ElementsAre(Queued { TimerFcnWork, "<B>", due }));
}

TEST_F(RunLoopTest, EachDispatchIsAnnouncedToAConsumer)
{
    startThread();
    const auto timer = makeTimer();
    Gate gate;
    journal().once("processTovrinTimerTask", [&] {
        gate.pass();
        // Free only once the consumer waits.
        const Lock own = TimerSchedulerPeer::lock(scheduler());
    });

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    gate.waitUntilReached();
    Lock lock = TimerSchedulerPeer::lock(scheduler());
    gate.open();
    const auto tooLate = SteadyClock::now() + 30s;
    bool isAwake = false; // when it is asked again
    TimerSchedulerPeer::consumerCondition(scheduler()).wait_until(lock, tooLate, [&] {
        return std::exchange(isAwake, true);
    });

    EXPECT_LT(SteadyClock::now(), tooLate);
    EXPECT_EQ(journal().count("processTovrinTimerTask"), 1U);
}

TEST_F(RunLoopTest, ATimersResolutionIsAdoptedBeforeEachWait)
{
    startThread();
    const auto timer = makeTimer();
    const auto before = recording::timerResolutionAdoptions();

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    waitUntilAsleepWithoutWork();

    // Once for the item that woke the thread, once for the sleep after it.
    EXPECT_EQ(recording::timerResolutionAdoptions(), before + 2);
}

} // namespace

} // namespace tovrintimer
