#include "tests/library/LibraryTest.hpp"

#include <sstream>
#include <type_traits>

namespace tovrintimer {

namespace {

static_assert(StartFcnWork == 0 && StopFcnWork == 1 && TimerFcnWork == 2 && ErrorFcnWork == 4);
static_assert(std::is_base_of_v<std::enable_shared_from_this<WorkItem<2>>, WorkItem<2>>);
static_assert(std::is_same_v<decltype(WorkItem<0>::m_id), IDType>);
static_assert(std::is_same_v<DueTime::clock, std::chrono::steady_clock>);
static_assert(std::is_same_v<DueTime::duration, std::chrono::duration<std::int64_t, std::milli>>);
static_assert(std::is_same_v<decltype(WorkItem<1>::m_executeAt), DueTime>);
static_assert(std::is_same_v<decltype(WorkItem<1>::m_taskCount), std::uint64_t>);
static_assert(std::is_same_v<decltype(WorkItem<4>::m_sharedTaskCounter), std::shared_ptr<std::uint64_t>>);
static_assert(std::is_same_v<WorkItemVariant, boost::variant<WorkItem<0>, WorkItem<1>, WorkItem<2>, WorkItem<4>>>);

class WorkItemTest : public LibraryTest {
protected:
    template <int kind> static void expectFreshRecord(const WorkItem<kind>& item)
    {
        ASSERT_TRUE(item.m_prevCallBackStatus);
        EXPECT_FALSE(item.m_prevCallBackStatus->hasStarted);
        EXPECT_FALSE(item.m_prevCallBackStatus->hasCompleted);
    }

    template <int kind>
    void expectRunOfOneTask(const WorkItem<kind>& item, DueTime due, const std::shared_ptr<TimerInfo>& timer)
    {
        std::ostringstream id;
        id << item.m_id;
        EXPECT_EQ(plain(id.str()), "<A>");
        EXPECT_EQ(item.m_executeAt, due);
        EXPECT_EQ(item.m_timerInfo.lock(), timer);
        ASSERT_TRUE(item.m_sharedTaskCounter);
        EXPECT_EQ(*item.m_sharedTaskCounter, 1U);
        EXPECT_EQ(item.m_taskCount, 1U);
        expectFreshRecord(item);
    }
};

TEST_F(WorkItemTest, AnItemThatIsNoTimerFcnIsARunOfOneTask)
{
    const auto timer = makeTimer();
    const DueTime due = now();

    expectRunOfOneTask(WorkItem<StartFcnWork>(due, timer->getId(), timer), due, timer);
    expectRunOfOneTask(WorkItem<StopFcnWork>(due, timer->getId(), timer), due, timer);
    expectRunOfOneTask(WorkItem<ErrorFcnWork>(due, timer->getId(), timer), due, timer);
}

TEST_F(WorkItemTest, ATimerFcnOfItsOwnHasANewCounterAndOneTask)
{
    const auto timer = makeTimer();

    const WorkItem<TimerFcnWork> item(timer->getId(), now(), timer, 7);

    EXPECT_EQ(*item.m_sharedTaskCounter, 7U);
    EXPECT_EQ(item.m_taskCount, 1U);
    expectFreshRecord(item);
}

TEST_F(WorkItemTest, ATimerFcnOfALongerRunKeepsTheCounterAndTheCountThatItIsGiven)
{
    const auto timer = makeTimer();
    const auto counter = std::make_shared<std::uint64_t>(5);

    const WorkItem<TimerFcnWork> item(timer->getId(), now(), timer, counter, 3);

    EXPECT_EQ(item.m_sharedTaskCounter, counter);
    EXPECT_EQ(item.m_taskCount, 3U);
    expectFreshRecord(item);
}

TEST_F(WorkItemTest, NoTwoNewItemsShareACompletionRecord)
{
    const auto timer = makeTimer();
    const auto counter = std::make_shared<std::uint64_t>(5);

    const WorkItem<TimerFcnWork> first(timer->getId(), now(), timer, counter, 3);
    const WorkItem<TimerFcnWork> second(timer->getId(), now(), timer, counter, 3);

    EXPECT_NE(first.m_prevCallBackStatus, second.m_prevCallBackStatus);
}

TEST_F(WorkItemTest, ACopySharesTheCounterAndTheRecord)
{
    const auto timer = makeTimer();
    const auto source = timerFcn(timer);

    const auto copy = source;

    EXPECT_EQ(copy.m_sharedTaskCounter, source.m_sharedTaskCounter);
    EXPECT_EQ(copy.m_prevCallBackStatus, source.m_prevCallBackStatus);
    EXPECT_EQ(copy.m_executeAt, source.m_executeAt);
    EXPECT_EQ(copy.m_timerInfo.lock(), timer);
}

TEST_F(WorkItemTest, AMovedItemLeavesNoHandlesBehind)
{
    const auto timer = makeTimer();
    auto source = timerFcn(timer);

    const auto moved = std::move(source);

    EXPECT_EQ(moved.m_timerInfo.lock(), timer);
    EXPECT_TRUE(source.m_timerInfo.expired()); // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(source.m_sharedTaskCounter, nullptr);
    EXPECT_EQ(source.m_prevCallBackStatus, nullptr);
}

TEST_F(WorkItemTest, ACopyOfASharedItemDoesNotKnowItself)
{
    const auto timer = makeTimer();
    const auto shared = std::make_shared<WorkItem<TimerFcnWork>>(timer->getId(), now(), timer, 1);

    auto copy = *shared;
    auto assigned = timerFcn(timer);
    assigned = *shared;
    auto moved = std::move(*shared);

    EXPECT_THROW(copy.shared_from_this(), std::bad_weak_ptr);
    EXPECT_THROW(assigned.shared_from_this(), std::bad_weak_ptr);
    EXPECT_THROW(moved.shared_from_this(), std::bad_weak_ptr);
    EXPECT_EQ(shared->shared_from_this(), shared);
}

TEST_F(WorkItemTest, AnErrorFcnIsTheFourthAlternativeAndKindFour)
{
    const auto timer = makeTimer();

    EXPECT_EQ(WorkItemVariant(startFcn(timer)).which(), 0);
    EXPECT_EQ(WorkItemVariant(stopFcn(timer)).which(), 1);
    EXPECT_EQ(WorkItemVariant(timerFcn(timer)).which(), 2);
    EXPECT_EQ(WorkItemVariant(errorFcn(timer)).which(), 3);
}

TEST_F(WorkItemTest, TheKindsAreNamedAfterTheirCallbacks)
{
    std::ostringstream names;

    names << kindName(StartFcnWork) << ' ' << kindName(StopFcnWork) << ' ' << kindName(TimerFcnWork) << ' '
          << kindName(ErrorFcnWork);

    EXPECT_EQ(names.str(), "StartFcn StopFcn TimerFcn ErrorFcn");
}

TEST_F(WorkItemTest, AnItemDoesNotKeepItsTimerAlive)
{
    auto timer = makeTimer();
    const auto item = timerFcn(timer, farOff());

    timer.reset();

    EXPECT_TRUE(item.m_timerInfo.expired());
}

TEST_F(WorkItemTest, AnItemOutlivesItsTimerAsAValue)
{
    keepQueueStill();
    auto timer = makeTimer();
    const auto item = timerFcn(timer, farOff());
    timer.reset();

    const auto copy = item;
    scheduler().insertAscendingSorted(copy);

    EXPECT_THAT(queue(), ElementsAre(Queued { TimerFcnWork, "<A>", item.m_executeAt }));
}

} // namespace

} // namespace tovrintimer
