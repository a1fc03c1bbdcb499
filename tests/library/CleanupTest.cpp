#include "tests/library/LibraryTest.hpp"

#include "embedded_host/services/ProcessScope.hpp"

#include <optional>
#include <system_error>
#include <thread>

namespace tovrintimer {

namespace {

using recording::Kind;

class CleanupTest : public LibraryTest { };

TEST_F(CleanupTest, CleanupDiscardsPendingWorkWithoutRunningIt)
{
    startThread();
    const auto timer = makeFullTimer();
    scheduler().insertAscendingSorted(timerFcn(timer, farOff()));
    scheduler().insertAscendingSorted(stopFcn(timer, farOff()));

    scheduler().cleanup();

    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_TRUE(TimerSchedulerPeer::isFinishing(scheduler()));
    EXPECT_FALSE(TimerSchedulerPeer::hasThread(scheduler()));
}

TEST_F(CleanupTest, CleanupWritesItsLockSteps)
{
    startThread();

    scheduler().cleanup();

    EXPECT_THAT(story(), ElementsAre("Requesting lock @cleanup", "unlocking lock @cleanup"));
}

TEST_F(CleanupTest, TheFlagIsRaisedBeforeTheLockIsGivenBack)
{
    // Raised later, it could come between the scheduler thread's look at it and that thread's wait.
    startThread();
    bool raised = false;
    journal().once("unlocking lock @cleanup", [&] { raised = TimerSchedulerPeer::isFinishing(scheduler()); });

    scheduler().cleanup();

    EXPECT_TRUE(raised);
}

TEST_F(CleanupTest, WhatIsQueuedAfterCleanupStaysAndNeverRuns)
{
    startThread();
    scheduler().cleanup();
    const auto timer = makeTimer();
    const DueTime due = past();

    scheduler().insertAscendingSorted(timerFcn(timer, due));

    EXPECT_THAT(queue(), ElementsAre(Queued { TimerFcnWork, "<A>", due }));
    EXPECT_FALSE(TimerSchedulerPeer::hasThread(scheduler()));
    EXPECT_EQ(journal().count("setCurrentThreadName"), 0U);
}

TEST_F(CleanupTest, CleanupBeforeAnythingWasQueuedIsFinalToo)
{
    scheduler().cleanup();
    const auto timer = makeTimer();

    scheduler().insertAscendingSorted(timerFcn(timer, past()));

    EXPECT_EQ(queue().size(), 1U);
    EXPECT_FALSE(TimerSchedulerPeer::hasThread(scheduler()));
    EXPECT_EQ(journal().count("setCurrentThreadName"), 0U);
}

TEST_F(CleanupTest, ASecondCleanupEmptiesTheQueueAgain)
{
    startThread();
    const auto timer = makeTimer();
    scheduler().cleanup();
    scheduler().insertAscendingSorted(timerFcn(timer, past()));

    scheduler().cleanup();

    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(CleanupTest, CleanupDuringAHandlerEmptiesTheQueueAndWaitsForTheHandler)
{
    startThread();
    const auto timer = makeTimer();
    Gate gate;
    journal().once("processTovrinTimerTask", [&] { gate.pass(); });
    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    gate.waitUntilReached();
    scheduler().insertAscendingSorted(timerFcn(timer, farOff()));

    std::jthread cleaner([] {
        scheduler().cleanup();
        journal().add({ Kind::Call, "cleanup has returned" });
    });
    journal().waitFor("unlocking lock @cleanup");
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_TRUE(TimerSchedulerPeer::isFinishing(scheduler()));
    journal().add({ Kind::Call, "the handler goes on" });
    gate.open();
    cleaner.join();

    EXPECT_THAT(calls(), ElementsAre("processTovrinTimerTask", "the handler goes on", "cleanup has returned"));
    EXPECT_EQ(journal().count("Consumer got a chance to poke at queue"), 1U);
}

TEST_F(CleanupTest, CleanupFromAHandlerIsAnErrorThoughItEmptiesTheQueue)
{
    startThread();
    const auto timer = makeTimer();
    scheduler().insertAscendingSorted(timerFcn(timer, farOff()));
    std::optional<std::error_code> error;
    std::size_t left = 1;
    bool finishing = false;
    journal().once("processTovrinTimerTask", [&] {
        try {
            scheduler().cleanup();
        } catch (const std::system_error& thrown) {
            error = thrown.code();
        }
        left = queue().size();
        finishing = TimerSchedulerPeer::isFinishing(scheduler());
    });

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    waitForDispatches();
    journal().waitFor("void __cdecl tovrintimer::TimerScheduler::run(void)");

    EXPECT_EQ(error, std::make_error_code(std::errc::resource_deadlock_would_occur));
    EXPECT_EQ(left, 0U);
    EXPECT_TRUE(finishing);
    // The thread has ended by itself, and waits to be joined.
    EXPECT_TRUE(TimerSchedulerPeer::hasThread(scheduler()));
    scheduler().cleanup();
    EXPECT_FALSE(TimerSchedulerPeer::hasThread(scheduler()));
}

TEST_F(CleanupTest, CleanupMeetingTheFirstInsertLeavesNoThreadBehind)
{
    setLogMasks(0);
    const auto timer = makeTimer();
    constexpr int rounds = 50;
    for (int round = 0; round < rounds; ++round) {
        TimerScheduler own;
        {
            const std::jthread inserts([&] { own.insertAscendingSorted(timerFcn(timer, farOff())); });
            own.cleanup();
        }
        EXPECT_FALSE(TimerSchedulerPeer::hasThread(own));
    }
}

TEST_F(CleanupTest, DestructionTellsOfShutdownCleanupAndJoin)
{
    {
        TimerScheduler own;
        own.insertAscendingSorted(WorkItem<StartFcnWork>(farOff(), IDType(), {}));
        waitUntilAsleepWithWork();
        journal().clearEvents();
    }

    EXPECT_THAT(story(),
        ElementsAre("Scheduler shutdown Work", "Requesting lock @cleanup", "unlocking lock @cleanup",
            "Successful thread join"));
    for (const auto& event : journal().events()) {
        if (event.thread == std::this_thread::get_id()) {
            EXPECT_EQ(event.severity, 4U) << event.text;
        }
    }
}

TEST_F(CleanupTest, DestructionGivesTheTimerResolutionBackFirst)
{
    auto timer = makeTimer();
    timer->setPeriod(1.0);
    scheduler().createAndStartWork(timer);
    std::vector<std::string> everything;
    journal().clearEvents();

    tovrinhost::destroyProcessScope();

    for (const auto& event : journal().events()) {
        everything.push_back(event.text);
    }
    EXPECT_THAT(everything,
        ElementsAre("endTimerResolution", "Scheduler shutdown Work", "Requesting lock @cleanup",
            "unlocking lock @cleanup", "Successful thread join"));
}

TEST_F(CleanupTest, DestructionWithoutAFastTimerLeavesTheResolutionAlone)
{
    const auto timer = makeTimer();
    scheduler().createAndStartWork(timer);

    tovrinhost::destroyProcessScope();

    EXPECT_EQ(recording::timerResolutionEnds(), 0U);
}

} // namespace

} // namespace tovrintimer
