#include "timer_src/main/platform/Platform.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <thread>

namespace tovrintimer::platform {

namespace {

TEST(LocalTimeTest, ItIsTheSystemsOwn)
{
    const std::time_t time = 1'234'567'890;
    const std::tm expected = *std::localtime(&time);

    const std::tm local = localTime(time);

    EXPECT_EQ(local.tm_year, 109);
    EXPECT_EQ(local.tm_year, expected.tm_year);
    EXPECT_EQ(local.tm_mon, expected.tm_mon);
    EXPECT_EQ(local.tm_mday, expected.tm_mday);
    EXPECT_EQ(local.tm_hour, expected.tm_hour);
    EXPECT_EQ(local.tm_min, expected.tm_min);
    EXPECT_EQ(local.tm_sec, expected.tm_sec);
}

TEST(LocalTimeTest, OtherThreadsChangeNothingOfIt)
{
    const std::time_t time = 1'234'567'890;
    const std::tm* const shared = std::localtime(&time);
    const int year = shared->tm_year;

    std::thread([] { static_cast<void>(localTime(0)); }).join();

    EXPECT_EQ(shared->tm_year, year);
}

TEST(LocalTimeTest, AMomentThatNoCalendarKnowsIsAllZeros)
{
    const std::tm local = localTime(std::numeric_limits<std::time_t>::max());

    EXPECT_EQ(local.tm_year, 0);
    EXPECT_EQ(local.tm_mon, 0);
    EXPECT_EQ(local.tm_mday, 0);
}

} // namespace

} // namespace tovrintimer::platform
