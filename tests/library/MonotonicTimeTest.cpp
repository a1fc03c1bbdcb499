#include "timer_src/main/MonotonicTime.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <iomanip>
#include <limits>
#include <regex>
#include <sstream>

namespace tovrintimer {

namespace {

using namespace std::chrono_literals;
using Limits = std::numeric_limits<double>;

constexpr std::int64_t lastMillisecond = std::numeric_limits<std::int64_t>::max() / 1'000'000;
constexpr std::int64_t firstMillisecond = std::numeric_limits<std::int64_t>::min() / 1'000'000;

/// A moment of the system clock, as the records show it.
std::string localText(std::chrono::system_clock::time_point moment)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
    std::ostringstream text;
    text << std::put_time(std::localtime(&seconds), "%Y-%m-%d %H:%M:%S");
    return text.str();
}

template <typename Streamed> std::string textOf(const Streamed& streamed)
{
    std::ostringstream text;
    text << streamed;
    return text.str();
}

void expectNowPlus(double span, std::chrono::milliseconds whole)
{
    const DueTime before = now();
    const DueTime moment = nowPlus(span);
    const DueTime after = now();
    EXPECT_GE(moment, before + whole) << span;
    EXPECT_LE(moment, after + whole) << span;
}

TEST(MonotonicTimeTest, NowIsTheSteadyClockTruncatedToMilliseconds)
{
    const auto before = std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now());
    const DueTime moment = now();
    const auto after = std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now());

    EXPECT_GE(moment, before);
    EXPECT_LE(moment, after);
}

TEST(MonotonicTimeTest, ASpanIsTruncatedTowardZero)
{
    expectNowPlus(2.9, 2ms);
    expectNowPlus(0.999, 0ms);
    expectNowPlus(Limits::denorm_min(), 0ms);
    expectNowPlus(0.0, 0ms);
    expectNowPlus(-0.999, 0ms);
    expectNowPlus(-2.9, -2ms);
    expectNowPlus(1000.0, 1000ms);
}

TEST(MonotonicTimeTest, ASpanThatIsNoNumberCountsAsNone)
{
    expectNowPlus(Limits::quiet_NaN(), 0ms);
    expectNowPlus(-Limits::quiet_NaN(), 0ms);
}

TEST(MonotonicTimeTest, ASpanBeyondTheClocksRangeGivesTheEndOfTheRange)
{
    for (const double span : { Limits::infinity(), Limits::max(), 1e300, 9.3e18, 9.3e12 }) {
        EXPECT_EQ(nowPlus(span).time_since_epoch().count(), lastMillisecond) << span;
    }
}

TEST(MonotonicTimeTest, ANegativeSpanBeyondTheClocksRangeIsLongAgo)
{
    constexpr std::chrono::milliseconds longest { lastMillisecond };
    for (const double span : { -Limits::infinity(), Limits::lowest(), -1e300, -9.3e18 }) {
        const DueTime before = now();
        const DueTime moment = nowPlus(span);

        EXPECT_GE(moment, before - longest) << span;
        // Before the clock's epoch, truncation toward zero is a step forward.
        EXPECT_LE(moment, now() - longest + 1ms) << span;
    }
}

TEST(MonotonicTimeTest, TheLongestSpanThatFitsIsExact)
{
    expectNowPlus(1e12, std::chrono::milliseconds(1'000'000'000'000));
    expectNowPlus(9e12, std::chrono::milliseconds(9'000'000'000'000));
}

TEST(MonotonicTimeTest, ATimeStampIsTheSystemClocksAtTheSameDistance)
{
    for (const auto distance : { 0ms, 1h + 0ms, -1h + 0ms, 24h * 400 + 0ms }) {
        const DueTime moment = now() + distance;
        const auto before = std::chrono::system_clock::now();
        const std::string text = textOf(ToTheSecond { moment });
        const auto after = std::chrono::system_clock::now();

        // The moment is a whole millisecond, and may lie that much before.
        EXPECT_THAT(text,
            testing::AnyOf(
                localText(before + distance - 1ms), localText(before + distance), localText(after + distance)));
    }
}

TEST(MonotonicTimeTest, MillisecondsAreTheSteadyClocksInThreeDigits)
{
    const DueTime second = std::chrono::floor<std::chrono::seconds>(now());

    EXPECT_THAT(textOf(ToTheMillisecond { second + 45ms }), testing::EndsWith(".045"));
    EXPECT_THAT(textOf(ToTheMillisecond { second + 7ms }), testing::EndsWith(".007"));
    EXPECT_THAT(textOf(ToTheMillisecond { second + 999ms }), testing::EndsWith(".999"));
    EXPECT_THAT(textOf(ToTheMillisecond { second }), testing::EndsWith(".000"));
    const std::regex pattern("\\d+-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d+");
    EXPECT_TRUE(std::regex_match(textOf(ToTheMillisecond { second + 45ms }), pattern));
}

TEST(MonotonicTimeTest, StreamsKeepTheirFillCharacter)
{
    std::ostringstream stream;
    stream << std::setfill('*') << ToTheMillisecond { now() };
    stream.str("");

    stream << std::setw(3) << 1;

    EXPECT_EQ(stream.str(), "**1");
}

TEST(MonotonicTimeTest, CalendarTimesAreAsFarApartAsTheirMoments)
{
    const DueTime first = now();
    const auto secondsAfterFirst = [first](DueTime moment) {
        std::tm local = toCalendarTime(moment).local;
        std::tm localOfFirst = toCalendarTime(first).local;
        return std::difftime(std::mktime(&local), std::mktime(&localOfFirst));
    };

    for (const auto distance : { 0s, 1000s, 0s, -1000s }) {
        // Each is cut off to the second.
        EXPECT_NEAR(secondsAfterFirst(first + distance), static_cast<double>(distance.count()), 1.0);
    }
}

TEST(MonotonicTimeTest, CalendarTimeOfTheEndsOfTheRangeDoesNotOverflow)
{
    for (const std::int64_t end : { lastMillisecond, firstMillisecond }) {
        const DueTime moment { DueTime::duration(end) };
        const CalendarTime calendar = toCalendarTime(moment);

        EXPECT_EQ(calendar.millisecond, end % 1000);
        EXPECT_FALSE(textOf(ToTheSecond { moment }).empty());
    }
    EXPECT_GT(toCalendarTime(DueTime(DueTime::duration(lastMillisecond))).local.tm_year, 200);
}

TEST(MonotonicTimeTest, CalendarTimeBeyondTheRangeIsThatOfItsEnd)
{
    const auto expectTheDayOf = [](std::int64_t end, std::int64_t beyond) {
        const CalendarTime expected = toCalendarTime(DueTime(DueTime::duration(end)));
        const CalendarTime calendar = toCalendarTime(DueTime(DueTime::duration(beyond)));
        EXPECT_EQ(calendar.local.tm_year, expected.local.tm_year) << beyond;
        EXPECT_EQ(calendar.local.tm_yday, expected.local.tm_yday) << beyond;
        EXPECT_EQ(calendar.millisecond, expected.millisecond) << beyond;
    };
    for (const std::int64_t beyond :
        { lastMillisecond + 1, lastMillisecond + 1'000'000, std::numeric_limits<std::int64_t>::max() }) {
        expectTheDayOf(lastMillisecond, beyond);
    }
    for (const std::int64_t beyond :
        { firstMillisecond - 1, firstMillisecond - 1'000'000, std::numeric_limits<std::int64_t>::min() }) {
        expectTheDayOf(firstMillisecond, beyond);
    }
}

} // namespace

} // namespace tovrintimer
