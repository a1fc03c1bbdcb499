#include "tests/simulation/model/Counting.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace simulation {

namespace {

constexpr auto most = std::numeric_limits<std::uint64_t>::max();

struct Case {
    Count before;
    std::uint64_t tasks;
    Count after;
};

TEST(CountingTest, ACallbackIsCounted)
{
    for (const Case& c : { Case { { 10, 10 }, 10, { 10, 9 } }, Case { { 10, 7 }, 5, { 5, 1 } },
             Case { { 10, 7 }, 4, { 10, 6 } }, Case { { 5, 3 }, 8, { 8, 5 } }, Case { { 3, 1 }, 3, { 3, 0 } },
             Case { { 0, 0 }, 0, { 0, most } }, Case { { 4, 3 }, 0, { 0, most - 1 } } }) {
        const Count found = counted(c.before, c.tasks);
        EXPECT_EQ(found.total, c.after.total) << c.before.total << ", " << c.before.left << ", " << c.tasks;
        EXPECT_EQ(found.left, c.after.left) << c.before.total << ", " << c.before.left << ", " << c.tasks;
    }
}

TEST(CountingTest, SpansAreWholeMillisecondsAndSaturate)
{
    constexpr Moment now = 1000 * millisecond + 900'000;
    EXPECT_EQ(dueAfter(now, 0.9), 1000);
    EXPECT_EQ(dueAfter(now, 2.9), 1002);
    EXPECT_EQ(dueAfter(now, -2.9), 998);
    EXPECT_EQ(dueAfter(now, std::nan("1")), 1000);
    EXPECT_EQ(dueAfter(now, std::numeric_limits<double>::infinity()), 9'223'372'036'854);
    EXPECT_EQ(dueAfter(now, 1e300), 9'223'372'036'854);
}

} // namespace

} // namespace simulation
