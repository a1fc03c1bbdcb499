#include "tests/library/LibraryTest.hpp"

#include <thread>

namespace tovrintimer {

namespace {

/// What the scheduler does around its queue.
class SchedulerQueueTest : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        keepQueueStill();
    }
};

TEST_F(SchedulerQueueTest, ADueTimeBeyondTheClocksRangeIsTheEndOfThatRange)
{
    const auto a = makeTimer();
    const DueTime last { DueTime::duration(9'223'372'036'854) };
    const DueTime first { DueTime::duration(-9'223'372'036'854) };

    scheduler().insertAscendingSorted(startFcn(a, first));
    scheduler().insertAscendingSorted(stopFcn(a, first - 1ms));
    scheduler().insertAscendingSorted(errorFcn(a, DueTime::min()));
    scheduler().insertAscendingSorted(startFcn(a, last));
    scheduler().insertAscendingSorted(stopFcn(a, last + 1ms));
    scheduler().insertAscendingSorted(timerFcn(a, DueTime::max()));

    EXPECT_THAT(queue(),
        ElementsAre(Queued { TimerFcnWork, "<A>", last }, Queued { StopFcnWork, "<A>", last },
            Queued { StartFcnWork, "<A>", last }, Queued { ErrorFcnWork, "<A>", first },
            Queued { StopFcnWork, "<A>", first }, Queued { StartFcnWork, "<A>", first }));
}

TEST_F(SchedulerQueueTest, WhatIsQueuedOfATimerIsToldTheSoonestFirst)
{
    const auto a = makeTimer();
    const auto b = makeTimer();
    const DueTime due = farOff();
    EXPECT_THAT(scheduler().queuedWork(a->getId()), IsEmpty());

    scheduler().insertAscendingSorted(stopFcn(a, due + 2ms));
    scheduler().insertAscendingSorted(errorFcn(a, due));
    scheduler().insertAscendingSorted(timerFcn(b, due));
    scheduler().insertAscendingSorted(timerFcn(a, due + 1ms));

    std::vector<WorkKind> kinds;
    for (const ObservedWork& work : scheduler().queuedWork(a->getId())) {
        EXPECT_EQ(work.due, due + std::chrono::milliseconds(kinds.size()));
        EXPECT_EQ(work.timer.second, a->getId().second);
        EXPECT_EQ(work.number, 0U) << "nobody has observed";
        EXPECT_TRUE(work.wasQueued);
        kinds.push_back(work.kind);
    }
    EXPECT_THAT(kinds, ElementsAre(ErrorFcnWork, TimerFcnWork, StopFcnWork));
}

TEST_F(SchedulerQueueTest, AnInsertWritesTheRequestAndThenItsLockSteps)
{
    const auto a = makeTimer("A");

    scheduler().insertAscendingSorted(startFcn(a, farOff()));
    scheduler().insertAscendingSorted(stopFcn(a, farOff()));
    scheduler().insertAscendingSorted(timerFcn(a, farOff()));
    scheduler().insertAscendingSorted(errorFcn(a, farOff()));

    const std::string request = "Requesting lk @insertAscendingSorted";
    const std::string end = "End of life for lk @insertAscendingSorted";
    EXPECT_THAT(story(),
        ElementsAre("Request to Start Work with Id: <A> for StartFcn to execute @<time>", request, end,
            "Request to Start Work with Id: <A> for StopFcn to execute @<time>", request, end,
            "Request to Start Work with Id: <A> for TimerFcn to execute @<time>", request, end,
            "Request to Start Work with Id: <A> for ErrorFcn to execute @<time>", request, end));
    EXPECT_EQ(logs("tovrintimer::TimerScheduler"), story());
    for (const auto& event : journal().events()) {
        EXPECT_EQ(event.severity, 4U) << event.text;
    }
}

TEST_F(SchedulerQueueTest, RemovingWhatIsNotQueuedSaysTheSameAndChangesNothing)
{
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    const DueTime due = farOff();
    scheduler().insertAscendingSorted(timerFcn(b, due));
    journal().clearEvents();

    TimerSchedulerPeer::remove(scheduler(), a->getId());

    EXPECT_THAT(logs("tovrintimer::TimerScheduler"),
        ElementsAre("Requesting lk @removeWorkMatchingId", "Acquiring lk @removeWorkMatchingId",
            "Request to Stop Work with Id: <A>", "Found and Stopped Work with Id: <A>",
            "Unlocking lk @removeWorkMatchingId"));
    EXPECT_THAT(queue(), ElementsAre(Queued { TimerFcnWork, "<B>", due }));
}

TEST_F(SchedulerQueueTest, OnlyTheEndOfARemovalIsADetail)
{
    const auto a = makeTimer("A");

    TimerSchedulerPeer::remove(scheduler(), a->getId());

    std::vector<std::uint32_t> severities;
    for (const auto& event : journal().events()) {
        severities.push_back(event.severity);
    }
    EXPECT_THAT(severities, ElementsAre(4U, 4U, 4U, 4U, 16U));
}

TEST_F(SchedulerQueueTest, InsertsFromManyThreadsLeaveAnOrderedQueue)
{
    setLogMasks(0);
    const auto a = makeTimer("A");
    const DueTime due = farOff();
    constexpr int perThread = 200;

    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&, thread] {
                for (int i = 0; i < perThread; ++i) {
                    scheduler().insertAscendingSorted(
                        timerFcn(a, due + std::chrono::milliseconds((i * 37 + thread * 11) % 101)));
                }
            });
        }
    }

    const auto queued = queue();
    EXPECT_EQ(queued.size(), 4U * perThread);
    EXPECT_TRUE(std::ranges::is_sorted(queued, std::ranges::greater(), &Queued::due));
}

} // namespace

} // namespace tovrintimer
