#include "tests/library/LibraryTest.hpp"

namespace tovrintimer {

namespace {

class RunLoopLogTest : public LibraryTest {
protected:
    std::vector<std::string> threadsStory() const { return story(m_thread); }

    void startAndNoteThread()
    {
        journal().once("setCurrentThreadName TimerScheduler", [this] { m_thread = std::this_thread::get_id(); });
        startThread();
    }

    std::thread::id m_thread;
};

constexpr auto looksAndSleeps = "@wait_until got notified and doesBackOfQueueHaveSmallerWork then intended ? 0";
constexpr auto looksAnew = "@wait_until got notified and doesBackOfQueueHaveSmallerWork then intended ? 1";

TEST_F(RunLoopLogTest, TheThreadSaysWhatItDoesFromItsStartToItsEnd)
{
    journal().once("setCurrentThreadName TimerScheduler", [this] { m_thread = std::this_thread::get_id(); });
    journal().once("Requesting lk @insertAscendingSorted", [this] { waitUntilAsleepWithoutWork(); });
    const auto timer = makeTimer();
    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    waitUntilAsleepWithoutWork(2);
    scheduler().cleanup();

    // Severity and indentation, and no such of the calls.
    std::vector<std::string> said;
    for (const auto& event : journal().events()) {
        const bool isOfInterest = event.kind == recording::Kind::Log ? !event.text.starts_with("Timer Running on ")
                                                                     : event.kind == recording::Kind::Call;
        if (event.thread == m_thread && isOfInterest) {
            const std::string prefix = std::to_string(event.severity) + ' ' + std::to_string(event.indent) + ' ';
            said.push_back(event.kind == recording::Kind::Log ? prefix + plain(event.text) : event.text);
        }
        if (event.severity == 32 || event.severity == 64) {
            EXPECT_EQ(event.file, "timer_src/main/TimerScheduler");
            EXPECT_EQ(event.line, 352);
        }
    }
    const std::string ordinary = "4 1 ";
    const std::string detail = "16 1 ";
    EXPECT_THAT(said,
        testing::ElementsAreArray<std::string>({
            "32 0 void __cdecl tovrintimer::TimerScheduler::run(void)",
            "setCurrentThreadName TimerScheduler",
            ordinary + "Requesting lk @run",
            detail + "waiting forever/large timeout at to execute @<time>",
            detail + " @wait_until workQueue.empty() status 1",
            // the insert
            detail + looksAnew,
            detail + "Finished @wait_until condvar",
            ordinary + "Requesting lk @run",
            ordinary + "Found Work on WorkQueue Waiting @wait_until condvar",
            detail + looksAndSleeps,
            detail + looksAndSleeps,
            detail + "Finished @wait_until condvar",
            detail + "workQueue size 1",
            detail + "Do you own lock 1",
            detail + "Unlocking lk @run with work_until",
            ordinary + "Transfering WorkItem callback, with ID <A>",
            ordinary + "Requesting SingleShot Processing",
            "processTovrinTimerTask",
            ordinary + "Consumer got a chance to poke at queue",
            ordinary + "Requesting lk @run",
            detail + "waiting forever/large timeout at to execute @<time>",
            detail + " @wait_until workQueue.empty() status 1",
            // the cleanup
            detail + "@wait_until returning true on m_finish",
            detail + "Finished @wait_until condvar",
            ordinary + "Requesting lk @run",
            "64 0 void __cdecl tovrintimer::TimerScheduler::run(void)",
        }));
}

TEST_F(RunLoopLogTest, WhereAnotherItemIsTheSoonestTheThreadWaitsAnew)
{
    startAndNoteThread();
    const auto late = makeTimer("late");
    const auto soon = makeTimer("soon");
    scheduler().insertAscendingSorted(timerFcn(late, farOff(1min)));
    waitUntilAsleepWithWork();
    const auto anew = ElementsAre(looksAnew, "Finished @wait_until condvar", "Requesting lk @run",
        "Found Work on WorkQueue Waiting @wait_until condvar", looksAndSleeps);

    journal().clearEvents();
    scheduler().insertAscendingSorted(timerFcn(soon, farOff()));
    waitUntilAsleepWithWork();
    EXPECT_THAT(threadsStory(), anew);

    journal().clearEvents();
    TimerSchedulerPeer::remove(scheduler(), soon->getId());
    waitUntilAsleepWithWork();
    EXPECT_THAT(threadsStory(), anew);
}

TEST_F(RunLoopLogTest, WhereTheSoonestItemStaysTheThreadLooksAndSleepsOn)
{
    startAndNoteThread();
    const auto soon = makeTimer("soon");
    const auto late = makeTimer("late");
    scheduler().insertAscendingSorted(timerFcn(soon, farOff()));
    waitUntilAsleepWithWork();
    const auto expectOneLook = [this] {
        journal().waitFor(looksAndSleeps);
        const Lock lock = TimerSchedulerPeer::lock(scheduler());
        EXPECT_THAT(threadsStory(), ElementsAre(looksAndSleeps));
    };

    journal().clearEvents();
    scheduler().insertAscendingSorted(timerFcn(late, farOff(5ms)));
    expectOneLook();

    journal().clearEvents();
    TimerSchedulerPeer::remove(scheduler(), makeTimer("none of them")->getId());
    expectOneLook();

    journal().clearEvents();
    TimerSchedulerPeer::wake(scheduler());
    expectOneLook();
    EXPECT_EQ(queue().size(), 2U);
}

TEST_F(RunLoopLogTest, WithItsOnlyItemRemovedTheThreadSleepsOutItsWaitWhateverWakesIt)
{
    startAndNoteThread();
    const auto timer = makeTimer();
    scheduler().insertAscendingSorted(timerFcn(timer, farOff()));
    waitUntilAsleepWithWork();
    journal().clearEvents();

    const std::string looks = " @wait_until workQueue.empty() status 1";
    TimerSchedulerPeer::remove(scheduler(), timer->getId());
    journal().waitFor(looks);
    TimerSchedulerPeer::wake(scheduler());
    journal().waitFor(looks, 2);
    TimerSchedulerPeer::wake(scheduler());
    journal().waitFor(looks, 3);
    const Lock lock = TimerSchedulerPeer::lock(scheduler());

    EXPECT_THAT(threadsStory(), ElementsAre(looks, looks, looks));
}

TEST_F(RunLoopLogTest, TheFarDeadlineIsAFixedMomentOfTheSteadyClock)
{
    const auto timer = makeTimer();
    std::ostringstream before;
    before << ToTheSecond { DueTime(DueTime::duration(32'400'000'000)) };

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    waitForDispatches();
    waitUntilAsleepWithoutWork();

    std::ostringstream after;
    after << ToTheSecond { DueTime(DueTime::duration(32'400'000'000)) };
    const std::string beginning = "waiting forever/large timeout at to execute @";
    for (const auto& event : journal().events()) {
        if (event.text.starts_with(beginning)) {
            EXPECT_THAT(event.text, testing::AnyOf(beginning + before.str(), beginning + after.str()));
        }
    }
}

TEST_F(RunLoopLogTest, TheNumberOfQueuedItemsCountsTheOneThatIsTaken)
{
    startThread();
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    scheduler().insertAscendingSorted(timerFcn(b, farOff()));
    scheduler().insertAscendingSorted(timerFcn(b, farOff()));

    scheduler().insertAscendingSorted(timerFcn(a, past()));
    waitForDispatches();

    EXPECT_EQ(journal().count("workQueue size 3"), 1U);
}

TEST_F(RunLoopLogTest, WithOnlyDetailsOnTheOrdinaryRecordsAreMissing)
{
    startAndNoteThread();
    setLogMasks(16);
    const auto timer = makeTimer();

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    waitUntilAsleepWithoutWork();

    EXPECT_THAT(logs("", m_thread),
        ElementsAre(looksAnew, "Finished @wait_until condvar", looksAndSleeps, looksAndSleeps,
            "Finished @wait_until condvar", "workQueue size 1", "Do you own lock 1",
            "Unlocking lk @run with work_until", "waiting forever/large timeout at to execute @<time>",
            " @wait_until workQueue.empty() status 1"));
}

TEST_F(RunLoopLogTest, WithOnlyOrdinaryRecordsOnTheDetailsAreMissing)
{
    startAndNoteThread();
    setLogMasks(4);
    const auto timer = makeTimer();

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    journal().waitFor("Requesting lk @run", 2);

    EXPECT_THAT(logs("", m_thread),
        ElementsAre("Requesting lk @run", "Found Work on WorkQueue Waiting @wait_until condvar",
            "Transfering WorkItem callback, with ID <A>", "Requesting SingleShot Processing",
            "Consumer got a chance to poke at queue", "Requesting lk @run"));
}

TEST_F(RunLoopLogTest, WithAMaskOfZeroThereIsNoRecord)
{
    startThread();
    setLogMasks(0);
    const auto timer = makeTimer();

    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    journal().waitFor("processTovrinTimerTask");
    scheduler().cleanup();

    EXPECT_THAT(logs(), IsEmpty());
}

TEST_F(RunLoopLogTest, TheRecordsOfOtherThreadsAreNotIndented)
{
    startThread();
    const auto timer = makeTimer();

    scheduler().insertAscendingSorted(timerFcn(timer, farOff()));

    for (const auto& event : journal().events()) {
        if (event.thread == std::this_thread::get_id()) {
            EXPECT_EQ(event.indent, 0U) << event.text;
        }
    }
}

} // namespace

} // namespace tovrintimer
