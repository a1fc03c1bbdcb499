#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/TaskCounting.hpp"

#include <limits>

namespace tovrintimer {

namespace {

using testing::Pair;

constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();

/// The total in force and the callbacks left, before a callback is counted and after it.
class TaskCountingTest : public PeriodicTest {
protected:
    struct Numbers {
        std::uint64_t tasks; ///< what the timer says
        std::uint64_t total;
        std::uint64_t left;
    };

    std::pair<std::uint64_t, std::uint64_t> count(const Numbers& numbers)
    {
        const WorkItem<TimerFcnWork> item(IDType(), now(), {}, nullptr, numbers.left);
        return updateCallbackCounter(item, numbers.tasks, numbers.total, numbers.left);
    }
};

TEST_F(TaskCountingTest, ANumberIsHonouredWhereThisCallbackDoesNotReachIt)
{
    EXPECT_THAT(count({ .tasks = 10, .total = 10, .left = 7 }), Pair(10, 6));
    EXPECT_THAT(count({ .tasks = 5, .total = 10, .left = 7 }), Pair(5, 1));
    EXPECT_THAT(count({ .tasks = 4, .total = 10, .left = 7 }), Pair(10, 6));
    EXPECT_THAT(count({ .tasks = 8, .total = 5, .left = 3 }), Pair(8, 5));
}

TEST_F(TaskCountingTest, TheGreatestNumberIsOneLikeAnyOther)
{
    EXPECT_THAT(count({ .tasks = most, .total = most, .left = most }), Pair(most, most - 1));
    EXPECT_THAT(count({ .tasks = most, .total = 5, .left = 5 }), Pair(most, most - 1));
}

TEST_F(TaskCountingTest, ARunOfNoTasksWrapsAndIsPracticallyEndless)
{
    EXPECT_THAT(count({ .tasks = 0, .total = 0, .left = 0 }), Pair(0, most));
    EXPECT_THAT(count({ .tasks = 0, .total = 0, .left = most }), Pair(0, most - 1));
    EXPECT_THAT(logs(), IsEmpty());
}

TEST_F(TaskCountingTest, WithNoneLeftAChangedNumberIsIgnored)
{
    EXPECT_THAT(count({ .tasks = 7, .total = 3, .left = 0 }), Pair(3, most));
    EXPECT_THAT(count({ .tasks = 0, .total = 3, .left = 0 }), Pair(3, most));
    EXPECT_THAT(logs(), IsEmpty());
}

TEST_F(TaskCountingTest, ANumberLoweredToNoneWrapsAndIsHonoured)
{
    // The bound of T - 1 wraps as well: three were made, and so the run becomes practically endless.
    EXPECT_THAT(count({ .tasks = 0, .total = 10, .left = 7 }), Pair(0, most - 3));
    EXPECT_THAT(count({ .tasks = 0, .total = 10, .left = 10 }), Pair(0, most));
}

TEST_F(TaskCountingTest, AnEndlessRunCanBeGivenANumber)
{
    EXPECT_THAT(count({ .tasks = 3, .total = 0, .left = most }), Pair(3, 1));
    EXPECT_THAT(count({ .tasks = 2, .total = 0, .left = most }), Pair(0, most - 1));
}

TEST_F(TaskCountingTest, MoreLeftThanTheTotalCountsAsNearlyAllMade)
{
    EXPECT_THAT(count({ .tasks = 0, .total = 5, .left = 6 }), Pair(5, 5));
    EXPECT_THAT(count({ .tasks = 9, .total = 5, .left = 6 }), Pair(5, 5));
}

TEST_F(TaskCountingTest, EverySmallNumberFollowsTheRule)
{
    for (std::uint64_t total = 1; total <= 12; ++total) {
        for (std::uint64_t made = 0; made < total; ++made) {
            for (std::uint64_t tasks = 1; tasks <= 15; ++tasks) {
                const std::uint64_t left = total - made;
                const bool honoured = tasks != total && made + 1 < tasks;
                SCOPED_TRACE(testing::Message() << tasks << " tasks, total " << total << ", left " << left);
                journal().clearEvents();

                const auto counted = count({ tasks, total, left });

                EXPECT_THAT(counted, honoured ? Pair(tasks, tasks - made - 1) : Pair(total, left - 1));
                EXPECT_EQ(logs().size(), honoured ? 1U : 0U);
            }
        }
    }
}

TEST_F(TaskCountingTest, AnHonouredChangeIsReportedOnceWithTheCountOfTheItem)
{
    const WorkItem<TimerFcnWork> item(IDType(), now(), {}, nullptr, 42);

    updateCallbackCounter(item, 5, 10, 7);

    ASSERT_EQ(journal().events().size(), 1U);
    const recording::Event record = journal().events().front();
    EXPECT_EQ(record.text, "TasksToExecute changed, affecting callback ctr 42");
    EXPECT_EQ(record.channel, "tovrintimer::WorkItem");
    EXPECT_EQ(record.severity, 4U);
}

TEST_F(TaskCountingTest, TheReportedCountIsUnsigned)
{
    const WorkItem<TimerFcnWork> item(IDType(), now(), {}, nullptr, most);

    updateCallbackCounter(item, 3, 0, most);

    EXPECT_THAT(logs(), ElementsAre("TasksToExecute changed, affecting callback ctr 18446744073709551615"));
}

TEST_F(TaskCountingTest, CountingAnItemMakesANewCounterAndLeavesTheOldOneAsItWas)
{
    const auto timer = makePeriodicTimer(ExecutionMode::FixedRate, 8);
    auto item = periodicItem(timer, 5, 3);
    const WorkItem<TimerFcnWork> copy = item;
    const auto record = item.m_prevCallBackStatus;

    countCallback(item, *timer);

    EXPECT_EQ(*item.m_sharedTaskCounter, 8U);
    EXPECT_EQ(item.m_taskCount, 5U);
    EXPECT_NE(item.m_sharedTaskCounter, copy.m_sharedTaskCounter);
    EXPECT_EQ(*copy.m_sharedTaskCounter, 5U);
    EXPECT_EQ(copy.m_taskCount, 3U);
    EXPECT_EQ(item.m_prevCallBackStatus, record);
    EXPECT_THAT(logs(), ElementsAre("TasksToExecute changed, affecting callback ctr 3"));
}

TEST_F(TaskCountingTest, AnUnchangedTotalIsANewCounterToo)
{
    const auto timer = makePeriodicTimer(ExecutionMode::FixedRate, 5);
    auto item = periodicItem(timer, 5, 3);
    const auto before = item.m_sharedTaskCounter;

    countCallback(item, *timer);

    EXPECT_NE(item.m_sharedTaskCounter, before);
    EXPECT_EQ(*item.m_sharedTaskCounter, 5U);
    EXPECT_EQ(item.m_taskCount, 2U);
}

} // namespace

} // namespace tovrintimer
