#include "tests/library/LibraryTest.hpp"

#include "embedded_host/services/ProcessScope.hpp"
#include "tests/StartLine.hpp"

#include <set>
#include <thread>

namespace tovrintimer {

namespace {

class ProcessInstanceTest : public LibraryTest { };

TEST_F(ProcessInstanceTest, EveryThreadGetsTheSameScheduler)
{
    TimerScheduler* const first = TimerScheduler::getPerTOVRINProcessInstance();
    TimerScheduler* onAnotherThread = nullptr;

    std::jthread([&] { onAnotherThread = TimerScheduler::getPerTOVRINProcessInstance(); }).join();

    EXPECT_NE(first, nullptr);
    EXPECT_EQ(TimerScheduler::getPerTOVRINProcessInstance(), first);
    EXPECT_EQ(onAnotherThread, first);
}

TEST_F(ProcessInstanceTest, RacingFirstCallsYieldOneScheduler)
{
    constexpr int rounds = 100;
    constexpr std::size_t racers = 4;
    for (int round = 0; round < rounds; ++round) {
        tovrinhost::destroyProcessScope();
        std::vector<TimerScheduler*> got(racers, nullptr);
        StartLine start(racers);
        {
            std::vector<std::jthread> threads;
            for (std::size_t racer = 0; racer < racers; ++racer) {
                threads.emplace_back([&, racer] {
                    start.arriveAndWait();
                    got[racer] = TimerScheduler::getPerTOVRINProcessInstance();
                });
            }
        }
        const std::set<TimerScheduler*> distinct(got.begin(), got.end());
        ASSERT_EQ(distinct.size(), 1U);
        ASSERT_EQ(*distinct.begin(), TimerScheduler::getPerTOVRINProcessInstance());
        ASSERT_NE(*distinct.begin(), nullptr);
    }
}

TEST_F(ProcessInstanceTest, MakingItStartsNoThreadAndWritesNothing)
{
    TimerScheduler* const made = TimerScheduler::getPerTOVRINProcessInstance();

    EXPECT_FALSE(TimerSchedulerPeer::hasThread(*made));
    EXPECT_TRUE(journal().events().empty());
}

TEST_F(ProcessInstanceTest, TheStoreOwnsItToTheEndOfTheProcessScope)
{
    static_cast<void>(TimerScheduler::getPerTOVRINProcessInstance());

    tovrinhost::destroyProcessScope();

    EXPECT_EQ(journal().count("Successful thread join"), 1U);
}

TEST_F(ProcessInstanceTest, AHandlerAtWorkDuringTheShutdownFindsTheSchedulerThatIsBeingDestroyed)
{
    startThread();
    const auto timer = makeTimer();
    timer->setExecutionMode(static_cast<size_t>(ExecutionMode::FixedRate));
    timer->setPeriod(0.0);
    timer->setNumOfTasksToExecute(1'000'000);
    timer->setActivationStatus(true);
    TimerScheduler* const first = &scheduler();
    TimerScheduler* found = nullptr;
    Gate gate;
    journal().once("processTovrinTimerTask", [&] {
        gate.pass();
        found = TimerScheduler::getPerTOVRINProcessInstance();
    });
    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    gate.waitUntilReached();
    journal().clearEvents();

    // It empties the queue, and waits for the handler; which then queues what follows.
    journal().once("unlocking lock @cleanup", [&] { gate.open(); });
    tovrinhost::destroyProcessScope();

    EXPECT_EQ(found, first);
    EXPECT_EQ(journal().count("Request to Start Work with Id: "), 1U);
    EXPECT_EQ(journal().count("setCurrentThreadName"), 0U) << "there is a second scheduler thread";
    EXPECT_EQ(journal().count("Transfering WorkItem callback"), 0U);
    journal().clearEvents();
}

} // namespace

} // namespace tovrintimer
