#include "tests/library/LibraryTest.hpp"

namespace tovrintimer {

namespace {

/// forceStopWorkAndScheduleStopFcn and forceScheduleOfErrorFcn
class StopAndErrorTest : public LibraryTest {
protected:
    static std::vector<std::string> removal()
    {
        return { "Requesting lk @removeWorkMatchingId", "Acquiring lk @removeWorkMatchingId",
            "Request to Stop Work with Id: <A>", "Found and Stopped Work with Id: <A>",
            "Unlocking lk @removeWorkMatchingId" };
    }

    static std::vector<std::string> afterRemoval(const std::vector<std::string>& rest)
    {
        auto all = removal();
        all.insert(all.end(), rest.begin(), rest.end());
        return all;
    }
};

TEST_F(StopAndErrorTest, ADestroyedTimerIsNeitherStoppedNorFailed)
{
    scheduler().forceStopWorkAndScheduleStopFcn({});
    scheduler().forceScheduleOfErrorFcn({}, true);

    EXPECT_THAT(everything(), IsEmpty());
}

TEST_F(StopAndErrorTest, StoppingDiscardsTheTimersWorkAndHandsTheStopFcnOver)
{
    keepQueueStill();
    const auto timer = makeFullTimer();
    const auto other = makeTimer("B");
    timer->setActivationStatus(true);
    const DueTime due = farOff();
    scheduler().insertAscendingSorted(timerFcn(timer, due));
    scheduler().insertAscendingSorted(timerFcn(other, due));
    scheduler().insertAscendingSorted(timerFcn(timer, due + 1ms));
    journal().clearEvents();

    scheduler().forceStopWorkAndScheduleStopFcn(timer);

    EXPECT_EQ(story(),
        afterRemoval({ "Bypassing Scheduler by Forcing Work with Id: <A> for StopFcn to execute @<time>",
            "Requesting StopFcn Processing", "processTovrinTimerTask", "End of life for  lk @stopWork" }));
    EXPECT_THAT(queue(), ElementsAre(Queued { TimerFcnWork, "<B>", due }));
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_EQ(journal().events().back().severity, 4U);
}

TEST_F(StopAndErrorTest, StoppingATimerWithoutStopFcnEndsItsRunAtOnce)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);

    scheduler().forceStopWorkAndScheduleStopFcn(timer);

    EXPECT_EQ(story(),
        afterRemoval({ "Bypassing Scheduler by Forcing Work with Id: <A> for StopFcn to execute @<time>",
            "evalAsync if(1==1), end", "Skipping StopFcn scheduling, since it's empty",
            "End of life for  lk @stopWork" }));
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(StopAndErrorTest, FailingHandsTheErrorFcnOverAndNothingElse)
{
    keepQueueStill();
    const auto timer = makeFullTimer();
    timer->setActivationStatus(true);
    scheduler().insertAscendingSorted(timerFcn(timer, farOff()));
    journal().clearEvents();

    scheduler().forceScheduleOfErrorFcn(timer, false);

    EXPECT_EQ(story(),
        afterRemoval({ "Bypassing Scheduler by Forcing Work with Id: <A> for ErrorFcn to execute @<time>",
            "Requesting ErrorFcn Processing", "processTovrinTimerTask" }));
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_TRUE(timer->getIsRunning());
}

TEST_F(StopAndErrorTest, FailingWithStopHandsTheErrorFcnOverAndThenTheStopFcn)
{
    const auto timer = makeFullTimer();

    scheduler().forceScheduleOfErrorFcn(timer, true);

    EXPECT_EQ(story(),
        afterRemoval({ "Bypassing Scheduler by Forcing Work with Id: <A> for ErrorFcn to execute @<time>",
            "Requesting ErrorFcn Processing", "processTovrinTimerTask",
            "Bypassing Scheduler by Forcing Work with Id: <A> for StopFcn to execute @<time>",
            "Requesting StopFcn Processing", "processTovrinTimerTask" }));
    timerTasks().runAll();
    EXPECT_EQ(journal().count("feval timercb ErrorFcn"), 1U);
    EXPECT_EQ(journal().count("feval timercb StopFcn"), 1U);
}

TEST_F(StopAndErrorTest, FailingATimerWithoutAnyCallbackStillAsksBothHandlers)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);

    scheduler().forceScheduleOfErrorFcn(timer, true);

    EXPECT_EQ(story(),
        afterRemoval({ "Bypassing Scheduler by Forcing Work with Id: <A> for ErrorFcn to execute @<time>",
            "Skipping ErrorFcn scheduling, since it's empty",
            "Bypassing Scheduler by Forcing Work with Id: <A> for StopFcn to execute @<time>",
            "evalAsync if(1==1), end", "Skipping StopFcn scheduling, since it's empty" }));
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(StopAndErrorTest, AStopDoesNotWaitForTheHandlerThatRuns)
{
    startThread();
    const auto timer = makeFullTimer();
    Gate gate;
    journal().once("processTovrinTimerTask", [&] { gate.pass(); });
    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    gate.waitUntilReached();

    scheduler().forceStopWorkAndScheduleStopFcn(timer);

    EXPECT_EQ(journal().count("End of life for  lk @stopWork"), 1U);
    EXPECT_EQ(journal().count("Consumer got a chance to poke at queue"), 0U);
    gate.open();
    waitForDispatches();
}

TEST_F(StopAndErrorTest, WhatAStoppedTimersHandlerQueuesAfterwardsIsDropped)
{
    startThread();
    const auto timer = makeFullTimer();
    timer->setStopFcnIsEmpty(true);
    timer->setActivationStatus(true);
    Gate gate;
    journal().once("processTovrinTimerTask", [&] { gate.pass(); });
    // The StartFcn's handler queues the first TimerFcn after its hand-over.
    scheduler().insertAscendingSorted(startFcn(timer, past()));
    gate.waitUntilReached();

    scheduler().forceStopWorkAndScheduleStopFcn(timer);
    gate.open();
    waitForDispatches();

    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(StopAndErrorTest, ATimerThatIsStoppedAndStartedAgainRunsAgain)
{
    const auto timer = makeTimer();
    scheduler().createAndStartWork(timer);
    timerTasks().runAll();
    scheduler().forceStopWorkAndScheduleStopFcn(timer);
    journal().clearEvents();

    scheduler().createAndStartWork(timer);
    EXPECT_TRUE(timer->getIsRunning());
    timerTasks().runAll();

    EXPECT_EQ(journal().count("feval timercb TimerFcn"), 1U);
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
    EXPECT_FALSE(timer->getIsRunning());
}

} // namespace

} // namespace tovrintimer
