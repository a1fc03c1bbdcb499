#include "tests/library/LibraryTest.hpp"

#include "timer_src/main/handlers/NextWorkItem.hpp"

#include <limits>

namespace tovrintimer {

namespace {

static_assert(
    std::is_same_v<NextWorkItem, std::variant<std::monostate, WorkItem<TimerFcnWork>, WorkItem<StopFcnWork>>>);

class NextWorkItemTest : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        keepQueueStill();
    }
};

TEST_F(NextWorkItemTest, FollowOnWorkOfARunningTimerIsQueuedAtItsOwnDueTime)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);
    const DueTime due = farOff();

    scheduleIfTimerIsRunning(timerFcn(timer, due), *timer);
    scheduleIfTimerIsRunning(stopFcn(timer, due - 1ms), *timer);

    EXPECT_THAT(
        queue(), ElementsAre(Queued { TimerFcnWork, "<A>", due }, Queued { StopFcnWork, "<A>", due - 1ms }));
}

TEST_F(NextWorkItemTest, FollowOnWorkOfAStoppedTimerIsDropped)
{
    const auto timer = makeTimer();

    scheduleIfTimerIsRunning(timerFcn(timer, farOff()), *timer);
    scheduleIfTimerIsRunning(stopFcn(timer, farOff()), *timer);

    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_THAT(everything(), IsEmpty());
}

TEST_F(NextWorkItemTest, AFlagThatFallsBetweenTheTestAndTheInsertDoesNotTakeTheItemBack)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);
    journal().once("Request to Start Work with Id: ", [&] { timer->setActivationStatus(false); });

    scheduleIfTimerIsRunning(timerFcn(timer, farOff()), *timer);

    EXPECT_EQ(queue().size(), 1U);
}

TEST_F(NextWorkItemTest, NothingNextQueuesNothing)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);

    scheduleNextWorkItem({}, *timer);

    EXPECT_THAT(everything(), IsEmpty());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(NextWorkItemTest, WhatIsNextIsQueuedIfTheTimerRuns)
{
    const auto running = makeTimer("A");
    const auto stopped = makeTimer("B");
    running->setActivationStatus(true);
    const DueTime due = farOff();

    scheduleNextWorkItem(timerFcn(running, due), *running);
    scheduleNextWorkItem(stopFcn(running, due - 1ms), *running);
    scheduleNextWorkItem(timerFcn(stopped, due), *stopped);
    scheduleNextWorkItem(stopFcn(stopped, due), *stopped);

    EXPECT_THAT(
        queue(), ElementsAre(Queued { TimerFcnWork, "<A>", due }, Queued { StopFcnWork, "<A>", due - 1ms }));
}

TEST_F(NextWorkItemTest, AnItemIsMovedIntoTheHolder)
{
    const auto timer = makeTimer();
    auto item = timerFcn(timer);
    NextWorkItem next;

    next = std::move(item);

    EXPECT_TRUE(item.m_timerInfo.expired()); // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(item.m_sharedTaskCounter, nullptr);
    EXPECT_EQ(item.m_prevCallBackStatus, nullptr);
    EXPECT_EQ(std::get<WorkItem<TimerFcnWork>>(next).m_timerInfo.lock(), timer);
}

TEST_F(NextWorkItemTest, AHolderThatAnErrorLeftWithoutValueIsAFault)
{
    struct Failing {
        operator WorkItem<StopFcnWork>() const { throw std::runtime_error("no item"); }
    };
    NextWorkItem next;
    EXPECT_THROW((next.emplace<WorkItem<StopFcnWork>>(Failing())), std::runtime_error);
    ASSERT_TRUE(next.valueless_by_exception());

    EXPECT_THROW(scheduleNextWorkItem(std::move(next), *makeTimer()), std::bad_variant_access);
}

TEST_F(NextWorkItemTest, AStopFcnItemIsDueNow)
{
    const auto timer = makeTimer();
    timer->setStopFcnIsEmpty(false);

    const DueTime before = now();
    const auto stop = makeStopFcnWorkItem(timer, *timer);
    const DueTime after = now();

    ASSERT_TRUE(stop);
    EXPECT_GE(stop->m_executeAt, before);
    EXPECT_LE(stop->m_executeAt, after);
    EXPECT_EQ(stop->m_timerInfo.lock(), timer);
    EXPECT_EQ(stop->m_taskCount, 1U);
    EXPECT_EQ(*stop->m_sharedTaskCounter, 1U);
}

TEST_F(NextWorkItemTest, WithoutStopFcnThereIsNoItem)
{
    const auto timer = makeTimer();

    EXPECT_FALSE(makeStopFcnWorkItem(timer, *timer));
}

} // namespace

} // namespace tovrintimer
