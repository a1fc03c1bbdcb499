#include "tests/library/LibraryTest.hpp"

namespace tovrintimer {

namespace {

/// A timer that is destroyed at each step of its work's road.
class DestroyedTimerTest : public LibraryTest { };

TEST_F(DestroyedTimerTest, QueuedWorkFindsItGoneAndMakesNoRecordOfItsOwn)
{
    startThread();
    auto timer = makeFullTimer();
    Gate gate;
    const auto blocker = makeTimer("B");
    journal().once("processTovrinTimerTask", [&] { gate.pass(); });
    scheduler().insertAscendingSorted(timerFcn(blocker, past()));
    gate.waitUntilReached();
    scheduler().insertAscendingSorted(startFcn(timer, past()));
    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    scheduler().insertAscendingSorted(stopFcn(timer, past()));
    scheduler().insertAscendingSorted(errorFcn(timer, past()));

    timer.reset();
    gate.open();
    waitForDispatches(5);

    EXPECT_THAT(calls(), ElementsAre("processTovrinTimerTask"));
    EXPECT_THAT(logs("tovrintimer::workHandler"), ElementsAre("Requesting SingleShot Processing"));
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(DestroyedTimerTest, QueuedWorkDoesNotKeepItAlive)
{
    auto timer = makeFullTimer();
    timer->setStartFcnIsEmpty(true);
    timer->setStartDelay(3'600'000.0);
    scheduler().createAndStartWork(timer);

    timer.reset();

    EXPECT_EQ(recording::expectedObjects(), 0U);
    EXPECT_EQ(queue().size(), 1U);
}

TEST_F(DestroyedTimerTest, BeingStoppedByItsLastOwnerItStillGetsItsStopFcnHandedOver)
{
    auto timer = makeFullTimer();
    const std::weak_ptr<TimerInfo> handle = timer;
    journal().once("Requesting lk @removeWorkMatchingId", [&] { timer.reset(); });

    scheduler().forceStopWorkAndScheduleStopFcn(handle);

    // The operation held it; the task that is left does nothing.
    EXPECT_EQ(journal().count("processTovrinTimerTask"), 1U);
    EXPECT_TRUE(handle.expired());
    timerTasks().runAll();
    EXPECT_EQ(journal().count("feval"), 0U);
}

TEST_F(DestroyedTimerTest, ADispatchThatIsItsLastOwnerRetractsItOnTheSchedulerThread)
{
    startThread();
    auto timer = makeFullTimer();
    std::thread::id retracting;
    std::thread::id dispatching;
    journal().once("retract", [&] { retracting = std::this_thread::get_id(); });
    journal().once("processTovrinTimerTask", [&] {
        dispatching = std::this_thread::get_id();
        timer.reset();
    });

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    waitForDispatches();

    EXPECT_EQ(retracting, dispatching);
    EXPECT_NE(retracting, std::this_thread::get_id());
}

TEST_F(DestroyedTimerTest, AStartThatIsItsLastOwnerFinishes)
{
    auto timer = makeFullTimer();
    const std::weak_ptr<TimerInfo> handle = timer;
    journal().once("processTovrinTimerTask", [&] { timer.reset(); });
    keepQueueStill();

    scheduler().createAndStartWork(handle);

    EXPECT_TRUE(handle.expired());
    EXPECT_EQ(queue().size(), 1U);
}

} // namespace

} // namespace tovrintimer
