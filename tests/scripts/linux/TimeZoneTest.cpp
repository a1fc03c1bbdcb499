#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// Next times by the system's own time zones, under names and as rules.
class TimeZoneTest : public ScriptTest {
protected:
    /// \param after in UTC, as the system's date takes it
    std::string next(const std::string& zone, const std::string& fields, const std::string& after)
    {
        const Outcome outcome = shell("after=$(date -u -d '" + after + "' +%s)\nexport TZ='" + zone
            + "'\n\"$TOVRIN\" -e 'print(os.date(\"%Y-%m-%d %H:%M:%S %z\", nextTime({ " + fields
            + " }, arg[1] // 1)))' $after");
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }
};

TEST_F(TimeZoneTest, SummerTimeOfBerlin)
{
    for (const char* zone : { "Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3" }) {
        EXPECT_EQ(next(zone, "hour = 2, minute = 30", "2026-03-28 12:00"), "2026-03-29 03:00:00 +0200\n") << zone;
        EXPECT_EQ(next(zone, "hour = 2, minute = 30", "2026-03-29 01:00"), "2026-03-30 02:30:00 +0200\n") << zone;
        EXPECT_EQ(next(zone, "hour = 2, minute = 30", "2026-10-24 12:00"), "2026-10-25 02:30:00 +0200\n") << zone;
        EXPECT_EQ(next(zone, "hour = 2, minute = 30", "2026-10-25 00:30"), "2026-10-26 02:30:00 +0100\n") << zone;
        EXPECT_EQ(next(zone, "minute = 0", "2026-10-25 00:00"), "2026-10-25 02:00:00 +0100\n") << zone;
        EXPECT_EQ(next(zone, "month = 2, day = 29, hour = 6", "2026-01-01"), "2028-02-29 06:00:00 +0100\n")
            << zone;
    }
}

TEST_F(TimeZoneTest, SummerTimeOfTheOtherHalfOfTheGlobe)
{
    for (const char* zone : { "Australia/Lord_Howe", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0" }) {
        EXPECT_EQ(next(zone, "hour = 2, minute = 15", "2026-10-03 12:00"), "2026-10-04 02:30:00 +1100\n") << zone;
        EXPECT_EQ(next(zone, "hour = 1, minute = 45", "2026-04-04 12:00"), "2026-04-05 01:45:00 +1100\n") << zone;
        EXPECT_EQ(next(zone, "minute = 45", "2026-04-04 14:45"), "2026-04-05 01:45:00 +1030\n") << zone;
    }
}

} // namespace

} // namespace scripts
