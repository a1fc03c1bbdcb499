#include "tests/library/LibraryTest.hpp"

#include <thread>

namespace tovrintimer {

namespace {

class WorkQueueTest : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        keepQueueStill();
    }
};

TEST_F(WorkQueueTest, TheSoonestItemStandsAtTheBack)
{
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    const auto c = makeTimer("C");
    const DueTime due = farOff();

    scheduler().insertAscendingSorted(timerFcn(b, due));
    scheduler().insertAscendingSorted(timerFcn(a, due - 5ms));
    scheduler().insertAscendingSorted(timerFcn(c, due + 5ms));

    EXPECT_THAT(queue(),
        ElementsAre(Queued { TimerFcnWork, "<C>", due + 5ms }, Queued { TimerFcnWork, "<B>", due },
            Queued { TimerFcnWork, "<A>", due - 5ms }));
}

TEST_F(WorkQueueTest, AnItemBetweenTwoGoesBetweenThem)
{
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    const auto c = makeTimer("C");
    const DueTime due = farOff();

    scheduler().insertAscendingSorted(timerFcn(a, due));
    scheduler().insertAscendingSorted(timerFcn(c, due + 2ms));
    scheduler().insertAscendingSorted(timerFcn(b, due + 1ms));

    EXPECT_THAT(queue(),
        ElementsAre(Queued { TimerFcnWork, "<C>", due + 2ms }, Queued { TimerFcnWork, "<B>", due + 1ms },
            Queued { TimerFcnWork, "<A>", due }));
}

TEST_F(WorkQueueTest, EqualDueTimesStandInArrivalOrderFromTheBack)
{
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    const auto c = makeTimer("C");
    const DueTime due = farOff();

    scheduler().insertAscendingSorted(timerFcn(a, due));
    scheduler().insertAscendingSorted(stopFcn(b, due));
    scheduler().insertAscendingSorted(errorFcn(c, due));

    EXPECT_THAT(queue(),
        ElementsAre(Queued { ErrorFcnWork, "<C>", due }, Queued { StopFcnWork, "<B>", due },
            Queued { TimerFcnWork, "<A>", due }));
}

TEST_F(WorkQueueTest, APastDueTimeIsInsertedLikeAnyOther)
{
    const auto a = makeTimer("A");
    const DueTime due = farOff();
    const DueTime gone = past();

    scheduler().insertAscendingSorted(timerFcn(a, due));
    scheduler().insertAscendingSorted(timerFcn(a, gone));
    scheduler().insertAscendingSorted(timerFcn(a, DueTime(DueTime::duration(-7))));

    EXPECT_THAT(queue(),
        ElementsAre(Queued { TimerFcnWork, "<A>", due }, Queued { TimerFcnWork, "<A>", gone },
            Queued { TimerFcnWork, "<A>", DueTime(DueTime::duration(-7)) }));
}

TEST_F(WorkQueueTest, ADueTimeBeyondTheClocksRangeIsTheEndOfThatRange)
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

TEST_F(WorkQueueTest, AnInsertWritesTheRequestAndThenItsLockSteps)
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
}

TEST_F(WorkQueueTest, InsertsAreRecordedAtSeverityFour)
{
    const auto a = makeTimer("A");

    scheduler().insertAscendingSorted(timerFcn(a, farOff()));

    for (const auto& event : journal().events()) {
        EXPECT_EQ(event.severity, 4U) << event.text;
    }
    EXPECT_EQ(journal().events().size(), 3U);
}

TEST_F(WorkQueueTest, TheSoonestItemIsReadTogetherWithItsDueTimeAndStays)
{
    const auto a = makeTimer("A");
    const DueTime due = farOff();
    scheduler().insertAscendingSorted(timerFcn(a, due + 1ms));
    scheduler().insertAscendingSorted(errorFcn(a, due));

    const auto [work, moment] = TimerSchedulerPeer::soonest(scheduler());

    EXPECT_EQ(work.which(), 3);
    EXPECT_EQ(moment, due);
    EXPECT_EQ(queue().size(), 2U);
}

TEST_F(WorkQueueTest, RemovalTakesAllKindsOfOneTimerAndKeepsTheOthersInOrder)
{
    const auto a = makeTimer("A");
    const auto b = makeTimer("B");
    const DueTime due = farOff();
    scheduler().insertAscendingSorted(startFcn(a, due));
    scheduler().insertAscendingSorted(timerFcn(b, due));
    scheduler().insertAscendingSorted(stopFcn(a, due + 1ms));
    scheduler().insertAscendingSorted(stopFcn(b, due));
    scheduler().insertAscendingSorted(timerFcn(a, due - 1ms));
    scheduler().insertAscendingSorted(errorFcn(b, due + 2ms));
    scheduler().insertAscendingSorted(errorFcn(a, due));

    TimerSchedulerPeer::remove(scheduler(), a->getId());

    EXPECT_THAT(queue(),
        ElementsAre(Queued { ErrorFcnWork, "<B>", due + 2ms }, Queued { StopFcnWork, "<B>", due },
            Queued { TimerFcnWork, "<B>", due }));
}

TEST_F(WorkQueueTest, RemovalGoesByTheOrderOfTheIdentitiesWords)
{
    // Equal first words, equal second words, and signs: none of these is the same identity.
    const DueTime due = farOff();
    for (const IDType id : { IDType(1, 2), IDType(2, 1), IDType(1, -2), IDType(-1, 2), IDType(2, 2) }) {
        scheduler().insertAscendingSorted(WorkItem<StopFcnWork>(due, id, {}));
    }

    TimerSchedulerPeer::remove(scheduler(), IDType(1, 2));

    std::vector<std::pair<std::int64_t, std::int64_t>> left;
    for (const WorkItemVariant& work : TimerSchedulerPeer::queue(scheduler())) {
        const IDType id = boost::apply_visitor([](const auto& item) { return item.m_id; }, work);
        left.emplace_back(id.first, id.second);
    }
    EXPECT_THAT(left, ElementsAre(std::pair(2, 2), std::pair(-1, 2), std::pair(1, -2), std::pair(2, 1)));
}

TEST_F(WorkQueueTest, RemovingWhatIsNotQueuedSaysTheSameAndChangesNothing)
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

TEST_F(WorkQueueTest, OnlyTheEndOfARemovalIsADetail)
{
    const auto a = makeTimer("A");

    TimerSchedulerPeer::remove(scheduler(), a->getId());

    std::vector<std::uint32_t> severities;
    for (const auto& event : journal().events()) {
        severities.push_back(event.severity);
    }
    EXPECT_THAT(severities, ElementsAre(4U, 4U, 4U, 4U, 16U));
}

TEST_F(WorkQueueTest, InsertsFromManyThreadsLeaveAnOrderedQueue)
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
