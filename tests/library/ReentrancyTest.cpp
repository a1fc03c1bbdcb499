#include "tests/library/LibraryTest.hpp"

#include "timer_src/main/handlers/Dispatch.hpp"

#include <ostream>

namespace tovrintimer {

namespace {

/// Everything that a host may call, for a timer that is not the one at work.
void callEverything(TimerScheduler& scheduler, const std::shared_ptr<TimerInfo>& timer)
{
    timer->setActivationStatus(true);
    scheduler.insertAscendingSorted(WorkItem<TimerFcnWork>(timer->getId(), now() + 1h, timer, 1));
    scheduler.createAndStartWork(timer);
    scheduler.forceScheduleOfErrorFcn(timer, true);
    scheduler.forceStopWorkAndScheduleStopFcn(timer);
    timer->updateTimerFunRunStatus();
    static_cast<void>(timer->getTasksExecuted());
    static_cast<void>(timer->getAveragePeriod());
    timer->setActivationStatus(false);
}

/// A moment at which the library is in the host's hands, and how to get there.
struct Moment {
    std::string event;
    bool ppe = true;
};

std::ostream& operator<<(std::ostream& stream, const Moment& moment)
{
    return stream << moment.event << (moment.ppe ? "" : " (LineHook)");
}

/// Where no lock of the library is held, host code calls back into it as it likes. A deadlock is a time-out.
class ReentrancyTest : public LibraryTest, public testing::WithParamInterface<Moment> {
protected:
    /// A run of a timer through all its callbacks, through the queue and past it.
    void runEverything(const std::shared_ptr<TimerInfo>& timer)
    {
        scheduler().createAndStartWork(timer);
        timerTasks().runNext();
        waitForDispatches();
        timerTasks().runAll();
        scheduler().forceScheduleOfErrorFcn(timer, true);
        scheduler().forceStopWorkAndScheduleStopFcn(timer);
        timerTasks().runAll();
    }
};

TEST_P(ReentrancyTest, TheHostCallsBackIntoTheLibrary)
{
    recording::setTimerPpe(GetParam().ppe);
    const auto other = makeFullTimer("B");
    bool called = false;
    journal().once(GetParam().event, [&] {
        callEverything(scheduler(), other);
        called = true;
    });
    const auto timer = makeFullTimer("A");

    runEverything(timer);
    scheduler().cleanup();

    EXPECT_TRUE(called);
    EXPECT_GE(other->getTasksExecuted(), 1.0);
}

INSTANTIATE_TEST_SUITE_P(HostOperations, ReentrancyTest,
    testing::Values(Moment { "processTovrinTimerTask" }, Moment { "Feature::get TIMER_PPE" },
        Moment { "setReadyRequestPending true", false }, Moment { "getContextId", false },
        Moment { "Iqm::getInstance 1", false }, Moment { "inRequestLineNoService 1", false },
        Moment { "createRequestID" }, Moment { "feval timercb StartFcn" }, Moment { "feval timercb TimerFcn" },
        Moment { "feval timercb StopFcn" }, Moment { "feval timercb ErrorFcn" }, Moment { "evalAsync" },
        Moment { "setCurrentThreadName TimerScheduler" }));

INSTANTIATE_TEST_SUITE_P(RecordsWrittenWithoutTheQueuesLock, ReentrancyTest,
    testing::Values(Moment { "Bypassing Scheduler by Forcing Work with Id: " },
        Moment { "Request to Start Work with Id: " }, Moment { "Requesting lk @insertAscendingSorted" },
        Moment { "Requesting lk @removeWorkMatchingId" }, Moment { "End of life for  lk @stopWork" },
        Moment { "void __cdecl tovrintimer::TimerScheduler::run(void)" }, Moment { "Requesting lk @run" },
        Moment { "Transfering WorkItem callback, with ID " }, Moment { "Consumer got a chance to poke at queue" },
        Moment { "Requesting StartFcn Processing" }, Moment { "Requesting SingleShot Processing" },
        Moment { "Requesting StopFcn Processing" }, Moment { "Requesting ErrorFcn Processing" },
        Moment { "Processing StartFcn Callback" }, Moment { "Processing SingleShot Callback" },
        Moment { "Processing ErrorFcn Callback" }));

/// Records that are written under the queue's lock: their sinks may call what takes no lock of the queue.
class LockedRecordTest : public ReentrancyTest { };

TEST_P(LockedRecordTest, TheSinkCallsWhatTakesNoQueueLock)
{
    const auto other = makeFullTimer("B");
    bool called = false;
    journal().once(GetParam().event, [&] {
        EXPECT_EQ(TimerScheduler::getPerTOVRINProcessInstance(), &scheduler());
        other->setActivationStatus(true);
        other->setActivationStatus(false);
        other->updateTimerFunRunStatus();
        static_cast<void>(other->getTasksExecuted());
        dispatch(stopFcn(other), nullptr);
        called = true;
    });
    const auto timer = makeFullTimer("A");

    runEverything(timer);
    scheduler().cleanup();

    EXPECT_TRUE(called);
}

INSTANTIATE_TEST_SUITE_P(RecordsWrittenUnderTheQueuesLock, LockedRecordTest,
    testing::Values(Moment { "End of life for lk @insertAscendingSorted" },
        Moment { "Acquiring lk @removeWorkMatchingId" }, Moment { "Request to Stop Work with Id: " },
        Moment { "Found and Stopped Work with Id: " }, Moment { "Unlocking lk @removeWorkMatchingId" },
        Moment { "Found Work on WorkQueue " }, Moment { "@wait_until " },
        Moment { "Finished @wait_until condvar" }, Moment { "workQueue size " }, Moment { "Do you own lock 1" },
        Moment { "Unlocking lk @run with work_until" }, Moment { "unlocking lock @cleanup" }));

using DestructionTest = LibraryTest;

TEST_F(DestructionTest, ACallbackMayDestroyItsOwnTimerAndOthers)
{
    auto timer = makeFullTimer("A");
    auto other = makeFullTimer("B");
    scheduler().createAndStartWork(other);
    scheduler().createAndStartWork(timer);
    journal().once("feval timercb StartFcn", [&] {
        timer.reset();
        other.reset();
    });

    // Each timer's TimerFcn is handed over as well, and the scheduler thread holds neither timer any more.
    waitForDispatches(2);
    timerTasks().runAll();
    scheduler().cleanup();

    EXPECT_EQ(journal().count("feval"), 1U);
    EXPECT_EQ(recording::expectedObjects(), 0U);
}

} // namespace

} // namespace tovrintimer
