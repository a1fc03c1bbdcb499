#include "tests/library/LibraryTest.hpp"
#include "tests/library/NoThreads.hpp"

#include <iostream>
#include <system_error>
#include <thread>

namespace tovrintimer {

namespace {

class SchedulerThreadTest : public LibraryTest { };
using SchedulerThreadDeathTest = SchedulerThreadTest;

std::error_code errorOfInsert(TimerScheduler& scheduler, const WorkItem<TimerFcnWork>& item)
{
    try {
        scheduler.insertAscendingSorted(item);
    } catch (const std::system_error& error) {
        return error.code();
    }
    return {};
}

TEST_F(SchedulerThreadTest, ANewSchedulerHasNoThreadAndNoWork)
{
    TimerScheduler idle;

    EXPECT_FALSE(TimerSchedulerPeer::hasThread(idle));
    EXPECT_FALSE(TimerSchedulerPeer::isFinishing(idle));
    EXPECT_TRUE(TimerSchedulerPeer::queue(idle).empty());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(SchedulerThreadTest, TheFirstItemStartsTheThread)
{
    const auto timer = makeTimer();
    EXPECT_FALSE(TimerSchedulerPeer::hasThread(scheduler()));

    scheduler().insertAscendingSorted(timerFcn(timer, farOff()));

    EXPECT_TRUE(TimerSchedulerPeer::hasThread(scheduler()));
}

TEST_F(SchedulerThreadTest, WorkThatBypassesTheQueueStartsNone)
{
    const auto timer = makeTimer();
    timer->setStopFcnIsEmpty(false);

    scheduler().createAndStartWork(timer);
    scheduler().forceScheduleOfErrorFcn(timer, true);
    scheduler().forceStopWorkAndScheduleStopFcn(timer);

    EXPECT_FALSE(TimerSchedulerPeer::hasThread(scheduler()));
}

TEST_F(SchedulerThreadTest, TheThreadNamesItselfOnce)
{
    const auto timer = makeTimer();

    for (int item = 0; item < 3; ++item) {
        scheduler().insertAscendingSorted(timerFcn(timer, past()));
    }
    waitForDispatches(3);

    EXPECT_EQ(journal().count("setCurrentThreadName"), 1U);
    EXPECT_EQ(journal().count("setCurrentThreadName TimerScheduler"), 1U);
    EXPECT_NE(schedulerThread(), std::this_thread::get_id());
}

TEST_F(SchedulerThreadTest, FirstItemsFromManyThreadsStartOneThread)
{
    const auto timer = makeTimer();
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 8; ++thread) {
            threads.emplace_back([&] { scheduler().insertAscendingSorted(timerFcn(timer, past())); });
        }
    }
    waitForDispatches(8);

    EXPECT_EQ(journal().count("setCurrentThreadName"), 1U);
}

TEST_F(SchedulerThreadTest, AThreadThatCannotBeStartedIsTheCallersErrorAndTheNextInsertTriesAgain)
{
    const auto timer = makeTimer();
    {
        const NoThreads none;
        EXPECT_EQ(errorOfInsert(scheduler(), timerFcn(timer, past())), std::errc::resource_unavailable_try_again);
        EXPECT_EQ(errorOfInsert(scheduler(), timerFcn(timer, past())), std::errc::resource_unavailable_try_again);
    }
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_THAT(story(), IsEmpty());
    EXPECT_FALSE(TimerSchedulerPeer::hasThread(scheduler()));

    EXPECT_EQ(errorOfInsert(scheduler(), timerFcn(timer, past())), std::error_code());
    waitForDispatches();

    EXPECT_EQ(journal().count("processTovrinTimerTask"), 1U);
}

TEST_F(SchedulerThreadTest, StartingATimerReportsThatTheThreadCannotBeStarted)
{
    const auto timer = makeTimer();
    timer->setStartDelay(1.0);
    {
        const NoThreads none;
        EXPECT_THROW(scheduler().createAndStartWork(timer), std::system_error);
    }
    EXPECT_THAT(queue(), IsEmpty());

    scheduler().createAndStartWork(timer);
    waitForDispatches();

    EXPECT_EQ(timerTasks().pending(), 1U);
}

TEST_F(SchedulerThreadTest, ASchedulerWhoseThreadCouldNotBeStartedShutsDown)
{
    const auto timer = makeTimer();
    TimerScheduler idle;
    const NoThreads none;

    EXPECT_EQ(errorOfInsert(idle, timerFcn(timer)), std::errc::resource_unavailable_try_again);
    idle.cleanup();

    EXPECT_TRUE(TimerSchedulerPeer::isFinishing(idle));
}

// What the process says as it ends: its records go to standard error.
void sayRecordsOfTheThread()
{
    journal().when("void __cdecl", [](const recording::Event& event) {
        std::cerr << "record " << event.severity << ": " << event.text << std::endl;
    });
}

TEST_F(SchedulerThreadDeathTest, AnErrorThatLeavesADispatchEndsTheProcessAndShowsInTheTrace)
{
    timerTasks().setRun(TaskRun::Refuse);
    const auto timer = makeTimer();
    const auto die = [&] {
        sayRecordsOfTheThread();
        scheduler().insertAscendingSorted(timerFcn(timer, past()));
        waitForDispatches();
    };

    EXPECT_DEATH(die(), R"(record 64: void __cdecl tovrintimer::TimerScheduler::run\(void\) \[throw\])");
    // Nothing is caught on the way: the runtime names the error.
    EXPECT_DEATH(die(), "the host takes no task");
}

TEST_F(SchedulerThreadDeathTest, AThreadThatEndsInOrderShowsNoThrow)
{
    const auto live = [&] {
        sayRecordsOfTheThread();
        scheduler().insertAscendingSorted(WorkItem<StartFcnWork>(past(), IDType(), {}));
        waitForDispatches();
        scheduler().cleanup();
        std::cerr << "done" << std::endl;
        std::_Exit(0);
    };

    EXPECT_EXIT(live(), testing::ExitedWithCode(0),
        "record 64: void __cdecl tovrintimer::TimerScheduler::run\\(void\\)\ndone");
}

TEST_F(SchedulerThreadTest, AnErrorOfABypassedHandlerIsTheCallers)
{
    timerTasks().setRun(TaskRun::Refuse);
    const auto timer = makeFullTimer();

    EXPECT_THROW(scheduler().createAndStartWork(timer), recording::HandOverError);
    EXPECT_THROW(scheduler().forceStopWorkAndScheduleStopFcn(timer), recording::HandOverError);
    EXPECT_THROW(scheduler().forceScheduleOfErrorFcn(timer, true), recording::HandOverError);
}

} // namespace

} // namespace tovrintimer
