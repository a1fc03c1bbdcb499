#include "embedded_host/timers/TaskCount.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace tovrinhost {

namespace {

/// How many callbacks are made when the timer is set to `wanted` before the callback with the number `at`.
std::uint64_t callbacksOf(std::uint64_t total, std::uint64_t wanted, std::uint64_t at)
{
    TaskCount count(total);
    std::uint64_t made = 0;
    while (count.left() > 0) {
        ++made;
        count.count(made >= at ? wanted : total);
    }
    return made;
}

TEST(TaskCountTest, CountsDownFromTheNumberOfTasks)
{
    EXPECT_EQ(TaskCount(3).left(), 3U);
    EXPECT_EQ(callbacksOf(1, 1, 1), 1U);
    EXPECT_EQ(callbacksOf(3, 3, 1), 3U);
}

TEST(TaskCountTest, HonoursANewNumberWhileAtLeastOneMoreCallbackIsToComeByIt)
{
    EXPECT_EQ(callbacksOf(5, 3, 2), 3U);
    EXPECT_EQ(callbacksOf(5, 8, 5), 8U);
    EXPECT_EQ(callbacksOf(5, 3, 3), 5U); // the third is the last by it
    EXPECT_EQ(callbacksOf(5, 1, 1), 5U);
    EXPECT_EQ(callbacksOf(5, 2, 1), 2U);
}

TEST(TaskCountTest, ANumberThatHasBeenReachedIsIgnored)
{
    EXPECT_EQ(callbacksOf(5, 2, 4), 5U);
    EXPECT_EQ(callbacksOf(5, 8, 6), 5U);
}

TEST(TaskCountTest, ARunWithoutEndIsOneOfMoreTasksThanAnybodyCounts)
{
    TaskCount count(std::numeric_limits<std::uint64_t>::max());
    count.count(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(count.left(), std::numeric_limits<std::uint64_t>::max() - 1);
    count.count(4);
    EXPECT_EQ(count.left(), 2U);
}

} // namespace

} // namespace tovrinhost
