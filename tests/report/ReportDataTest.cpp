#include "embedded_host/report/ReportData.hpp"

#include "tests/report/MadeUpTrace.hpp"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace tovrinhost {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

json dataOf(const MadeUpTrace& made)
{
    return json::parse(reportData(TraceContents(made.write(), {})));
}

TEST(ReportDataTest, AFiringIsToldInMicroseconds)
{
    MadeUpTrace made;
    made.add(made.run(1, 17, 100, 130, 131));

    const json data = dataOf(made);

    EXPECT_EQ(data["program"], "script.lua");
    ASSERT_EQ(data["firings"].size(), 1U);
    json firing = data["firings"][0];
    const std::string explanation = firing.back();
    firing.erase(firing.size() - 1);
    EXPECT_EQ(firing, json::parse(R"([0, "run 17", "done", 100000, 100000, 130000, 131000, 0, null])"));
    EXPECT_THAT(explanation,
        testing::StartsWith("poll run 17 (FixedRate, Drop, 0.1 s) due 0.100 started 0.130 late 30.0 ms\n"));
}

TEST(ReportDataTest, WhatWasMissedCountsAsLateOnceMoreAndNotInWhatWasMeasured)
{
    MadeUpTrace made;
    made.add(made.run(1, 1, 1, 1, 331));
    Firing second = made.run(1, 2, 330, 332, 333);
    second.firstDue = 100 * ms;
    second.missed = 3; // due at 100, 200 and 300 ms
    made.add(second);

    const json row = dataOf(made)["timers"][0];

    EXPECT_EQ(row["name"], "poll");
    EXPECT_EQ(row["period"], 100'000);
    EXPECT_EQ(row["runs"], 2);
    EXPECT_EQ(row["missed"], 3);
    EXPECT_EQ(row["failed"], 0);
    EXPECT_DOUBLE_EQ(row["busy"], 0.331);
    EXPECT_EQ(row["measured"], json({ 0, 2000, 2000 }));
    EXPECT_EQ(row["withMissed"], json({ 32'000, 232'000, 232'000 }));
}

TEST(ReportDataTest, TheRunsOfATimerShareARowAndOtherCallbacksAreNoRuns)
{
    MadeUpTrace made;
    made.add(made.run(2, 1, 1, 1, 2));
    made.add(made.run(1, 1, 2, 2, 3));
    Firing stop = made.run(2, 0, 5, 6, 8);
    stop.kind = tovrintimer::StopFcnWork;
    stop.stage = Stage::Failed;
    made.add(stop);

    const json data = dataOf(made);

    ASSERT_EQ(data["timers"].size(), 2U);
    EXPECT_EQ(data["timers"][0]["name"], "hog");
    EXPECT_EQ(data["timers"][0]["runs"], 1);
    EXPECT_EQ(data["timers"][0]["failed"], 1);
    EXPECT_DOUBLE_EQ(data["timers"][0]["busy"], 0.003);
    EXPECT_EQ(data["firings"][2][1], "StopFcn");
    EXPECT_EQ(data["firings"][2][2], "failed");
}

TEST(ReportDataTest, AFiringThatNeverRanHasItsReason)
{
    MadeUpTrace made;
    Firing refused = made.run(1, 0, 100, 0, 120);
    refused.started = 0;
    refused.stage = Stage::Refused;
    refused.reason = tovrintimer::DropReason::RemovedByStop;
    made.add(refused);

    const json data = dataOf(made);

    EXPECT_EQ(data["firings"][0][2], "never ran");
    EXPECT_EQ(data["firings"][0][5], nullptr);
    EXPECT_THAT(data["firings"][0].back().get<std::string>(), HasSubstr("never ran: its timer was stopped"));
    EXPECT_EQ(data["timers"][0]["runs"], 0);
    EXPECT_EQ(data["timers"][0]["measured"], json({ 0, 0, 0 }));
}

TEST(ReportDataTest, NoNameEndsTheElementThatTheDataStandsIn)
{
    MadeUpTrace made("</script><!-- \"\x01\xff");
    made.add(made.run(1, 1, 0, 0, 1));
    const std::string data = reportData(TraceContents(made.write(), {}));

    EXPECT_THAT(data, Not(HasSubstr("<")));
    EXPECT_THAT(
        json::parse(data)["timers"][0]["name"].get<std::string>(), testing::StartsWith("</script><!-- \"\\x01"));
}

} // namespace

} // namespace tovrinhost
