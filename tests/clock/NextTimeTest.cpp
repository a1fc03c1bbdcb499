#include "embedded_host/clock/NextTime.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <vector>

namespace tovrinhost {

namespace {

using namespace std::chrono;

constexpr int hour = 3600;

/// A time zone: an offset in the beginning, and others from some moments on.
struct Zone {
    struct Change {
        std::int64_t moment;
        std::int64_t offset;
    };

    std::int64_t first;
    std::vector<Change> changes;

    std::int64_t operator()(std::int64_t moment) const
    {
        std::int64_t offset = first;
        for (const Change& change : changes) {
            offset = moment >= change.moment ? change.offset : offset;
        }
        return offset;
    }
};

std::int64_t utc(int y, unsigned m, unsigned d, int h = 0, int min = 0, int s = 0)
{
    const auto time = sys_days(year(y) / month(m) / day(d)) + hours(h) + minutes(min) + seconds(s);
    return duration_cast<seconds>(time.time_since_epoch()).count();
}

/// Summer time of 2026: from 29 March 2:00, which becomes 3:00, to 25 October 3:00, which becomes 2:00.
const Zone berlin { hour, { { utc(2026, 3, 29, 1), 2 * hour }, { utc(2026, 10, 25, 1), hour } } };

/// On the other half of the globe, of half an hour: from 5 April 2:00, which becomes 1:30, to 4 October 2:00,
/// which becomes 2:30.
const Zone lordHowe { 11 * hour,
    { { utc(2026, 4, 4, 15), 10 * hour + hour / 2 }, { utc(2026, 10, 3, 15, 30), 11 * hour } } };

/// At midnight: 6 September 0:00 becomes 1:00; 5 April 0:00 becomes 4 April 23:00.
const Zone santiago { -3 * hour, { { utc(2026, 4, 5, 3), -4 * hour }, { utc(2026, 9, 6, 4), -3 * hour } } };

const Zone greenwich { 0, {} };

/// As "2026-03-29 03:00:00 +7200".
std::string text(std::int64_t moment, const Zone& zone)
{
    const sys_seconds local { seconds(moment + zone(moment)) };
    const sys_days date = floor<days>(local);
    const year_month_day ymd(date);
    const hh_mm_ss time(local - date);
    std::string all(64, ' ');
    all.resize(static_cast<std::size_t>(std::snprintf(all.data(), all.size(), "%d-%02u-%02u %02d:%02d:%02d %+d",
        static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
        static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
        static_cast<int>(time.seconds().count()), static_cast<int>(zone(moment)))));
    return all;
}

/// The next times, one after the other.
std::vector<std::string> next(const TimePattern& pattern, std::int64_t after, const Zone& zone, int count = 3)
{
    std::vector<std::string> all;
    for (int i = 0; i < count; ++i) {
        const auto moment = nextTime(pattern, after, zone);
        if (!moment) {
            all.emplace_back("none");
            break;
        }
        EXPECT_GT(*moment, after);
        all.push_back(text(*moment, zone));
        after = *moment;
    }
    return all;
}

TimePattern at(std::optional<int> h, std::optional<int> min, std::optional<int> s = {})
{
    return { {}, {}, {}, h, min, s };
}

TimePattern onDay(
    std::optional<int> m, std::optional<int> d, std::optional<int> weekday = {}, std::optional<int> h = {})
{
    return { m, d, weekday, h, {}, {} };
}

using testing::ElementsAre;

TEST(NextTimeTest, AnyFullSecondMinuteHourOrDay)
{
    const std::int64_t now = utc(2026, 11, 22, 9, 59, 59);
    EXPECT_THAT(next({}, now, greenwich),
        ElementsAre("2026-11-22 10:00:00 +0", "2026-11-22 10:00:01 +0", "2026-11-22 10:00:02 +0"));
    EXPECT_THAT(
        next(at({}, {}, 0), now, greenwich, 2), ElementsAre("2026-11-22 10:00:00 +0", "2026-11-22 10:01:00 +0"));
    EXPECT_THAT(next(at({}, {}, 59), now, greenwich, 1), ElementsAre("2026-11-22 10:00:59 +0"));
    EXPECT_THAT(
        next(at({}, 0), now, greenwich, 2), ElementsAre("2026-11-22 10:00:00 +0", "2026-11-22 11:00:00 +0"));
    EXPECT_THAT(next(at({}, 59, 59), now, greenwich, 1), ElementsAre("2026-11-22 10:59:59 +0"));
    EXPECT_THAT(
        next(at(10, {}), now, greenwich, 2), ElementsAre("2026-11-22 10:00:00 +0", "2026-11-23 10:00:00 +0"));
    EXPECT_THAT(
        next(at(6, 30), now, greenwich, 2), ElementsAre("2026-11-23 06:30:00 +0", "2026-11-24 06:30:00 +0"));
    EXPECT_THAT(next(at(0, {}), now, greenwich, 1), ElementsAre("2026-11-23 00:00:00 +0"));
}

TEST(NextTimeTest, DaysOfTheMonthOfTheWeekAndOfTheYear)
{
    const std::int64_t now = utc(2026, 11, 22, 9); // a Sunday
    EXPECT_THAT(next(onDay({}, 31), now, greenwich),
        ElementsAre("2026-12-31 00:00:00 +0", "2027-01-31 00:00:00 +0", "2027-03-31 00:00:00 +0"));
    EXPECT_THAT(next(onDay({}, {}, 1, 8), now, greenwich, 2),
        ElementsAre("2026-11-29 08:00:00 +0", "2026-12-06 08:00:00 +0"));
    EXPECT_THAT(next(onDay({}, {}, 2), now, greenwich, 1), ElementsAre("2026-11-23 00:00:00 +0"));
    EXPECT_THAT(next(onDay({}, {}, 7), now, greenwich, 1), ElementsAre("2026-11-28 00:00:00 +0"));
    EXPECT_THAT(next(onDay({}, 13, 6), now, greenwich, 2),
        ElementsAre("2027-08-13 00:00:00 +0", "2028-10-13 00:00:00 +0"));
    EXPECT_THAT(
        next(onDay(1, {}), now, greenwich, 2), ElementsAre("2027-01-01 00:00:00 +0", "2028-01-01 00:00:00 +0"));
    EXPECT_THAT(
        next(onDay(1, {}, 2), now, greenwich, 2), ElementsAre("2027-01-04 00:00:00 +0", "2027-01-11 00:00:00 +0"));
}

TEST(NextTimeTest, LeapDays)
{
    EXPECT_THAT(next(onDay(2, 29), utc(2026, 1, 1), greenwich, 2),
        ElementsAre("2028-02-29 00:00:00 +0", "2032-02-29 00:00:00 +0"));
    EXPECT_THAT(next(onDay(2, 29), utc(2097, 1, 1), greenwich, 1), ElementsAre("2104-02-29 00:00:00 +0"));
    EXPECT_THAT(next(onDay(2, 29, 2), utc(2072, 3, 1), greenwich, 1), ElementsAre("2112-02-29 00:00:00 +0"));
    EXPECT_THAT(next(onDay(2, 30), utc(2026, 1, 1), greenwich), ElementsAre("none"));
    EXPECT_THAT(next(onDay(4, 31), utc(2026, 1, 1), greenwich), ElementsAre("none"));
}

TEST(NextTimeTest, ATimeOfDayThatTheClockIsSetForwardOverIsTheMomentAtWhichItIs)
{
    EXPECT_THAT(next(at(2, 30), utc(2026, 3, 27, 12), berlin),
        ElementsAre("2026-03-28 02:30:00 +3600", "2026-03-29 03:00:00 +7200", "2026-03-30 02:30:00 +7200"));
    EXPECT_THAT(next(at(2, 0), utc(2026, 3, 28, 12), berlin, 2),
        ElementsAre("2026-03-29 03:00:00 +7200", "2026-03-30 02:00:00 +7200"));
    EXPECT_THAT(next(at(3, 0), utc(2026, 3, 28, 12), berlin, 2),
        ElementsAre("2026-03-29 03:00:00 +7200", "2026-03-30 03:00:00 +7200"));
    EXPECT_THAT(next(at(2, 15), utc(2026, 10, 2, 12), lordHowe, 2),
        ElementsAre("2026-10-03 02:15:00 +37800", "2026-10-04 02:30:00 +39600"));
    EXPECT_THAT(next(at(0, 0), utc(2026, 9, 5, 12), santiago, 2),
        ElementsAre("2026-09-06 01:00:00 -10800", "2026-09-07 00:00:00 -10800"));
}

TEST(NextTimeTest, ATimeOfDayThatOccursTwiceIsTheFirst)
{
    EXPECT_THAT(next(at(2, 30), utc(2026, 10, 24, 12), berlin, 2),
        ElementsAre("2026-10-25 02:30:00 +7200", "2026-10-26 02:30:00 +3600"));
    // Asked between the two.
    EXPECT_THAT(next(at(2, 30), utc(2026, 10, 25, 1, 10), berlin, 1), ElementsAre("2026-10-26 02:30:00 +3600"));
    EXPECT_THAT(next(at(3, 0), utc(2026, 10, 24, 12), berlin, 1), ElementsAre("2026-10-25 03:00:00 +3600"));
    EXPECT_THAT(next(at(1, 45), utc(2026, 4, 4, 0), lordHowe, 2),
        ElementsAre("2026-04-05 01:45:00 +39600", "2026-04-06 01:45:00 +37800"));
    EXPECT_THAT(next(at(23, 30), utc(2026, 4, 4, 12), santiago, 2),
        ElementsAre("2026-04-04 23:30:00 -10800", "2026-04-05 23:30:00 -14400"));
    EXPECT_THAT(next(at(0, 0), utc(2026, 4, 4, 12), santiago, 1), ElementsAre("2026-04-05 00:00:00 -14400"));
}

TEST(NextTimeTest, AFreeHourIsEachHourThatThereIs)
{
    EXPECT_THAT(next(at({}, 30), utc(2026, 3, 29, 0), berlin),
        ElementsAre("2026-03-29 01:30:00 +3600", "2026-03-29 03:30:00 +7200", "2026-03-29 04:30:00 +7200"));
    EXPECT_THAT(next(at({}, 0), utc(2026, 10, 24, 23), berlin),
        ElementsAre("2026-10-25 02:00:00 +7200", "2026-10-25 02:00:00 +3600", "2026-10-25 03:00:00 +3600"));
    EXPECT_THAT(next(at({}, 45), utc(2026, 4, 4, 14), lordHowe),
        ElementsAre("2026-04-05 01:45:00 +39600", "2026-04-05 01:45:00 +37800", "2026-04-05 02:45:00 +37800"));
    EXPECT_THAT(next(at({}, 0), utc(2026, 10, 3, 13, 30), lordHowe),
        ElementsAre("2026-10-04 01:00:00 +37800", "2026-10-04 03:00:00 +39600", "2026-10-04 04:00:00 +39600"));
}

TEST(NextTimeTest, LocalTimesBecomeMoments)
{
    EXPECT_EQ(text(momentOf(utc(2026, 7, 1, 12), berlin), berlin), "2026-07-01 12:00:00 +7200");
    EXPECT_EQ(text(momentOf(utc(2026, 3, 29, 2, 30), berlin), berlin), "2026-03-29 03:00:00 +7200");
    EXPECT_EQ(text(momentOf(utc(2026, 10, 25, 2, 30), berlin), berlin), "2026-10-25 02:30:00 +7200");
    EXPECT_EQ(text(momentOf(utc(2026, 10, 25, 3, 0), berlin), berlin), "2026-10-25 03:00:00 +3600");
    EXPECT_EQ(text(momentOf(utc(2026, 10, 25, 1, 59, 59), berlin), berlin), "2026-10-25 01:59:59 +7200");
}

} // namespace

} // namespace tovrinhost
