#include "tests/scripts/ScriptTest.hpp"

#include <regex>

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ExamplesTest : public ScriptTest {
protected:
    Outcome runExample(const std::string& name)
    {
        return tovrin({ "run", std::string(TOVRIN_EXAMPLES "/") + name });
    }

    /// The lines of the output with each number of seconds replaced by T.
    static std::vector<std::string> withoutTimes(const std::string& text)
    {
        return lines(std::regex_replace(text, std::regex(" *[0-9]+\\.[0-9]{2,3}"), " T"));
    }

    void expectTable(const std::string& name, const std::vector<std::string>& rows)
    {
        const Outcome outcome = runExample(name);
        EXPECT_EQ(withoutTimes(outcome.out), rows) << outcome.out;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 0);
    }
};

TEST_F(ExamplesTest, Tour)
{
    expectTable("tour.lua",
        { " T s  start returned", " T s  StartFcn of tour", " T s  TimerFcn, run 1", " T s  StopFcn",
            " T s  wait returned true; the timer has run 1 time" });
}

TEST_F(ExamplesTest, FailingCallback)
{
    const Outcome outcome = runExample("failing_callback.lua");

    EXPECT_THAT(lines(outcome.out),
        ElementsAre("TimerFcn opens a file that does not exist", "ErrorFcn runs, the timer still runs: true",
            "StopFcn runs, the timer still runs: false"));
    EXPECT_THAT(outcome.err, HasSubstr("tovrin: error in TimerFcn of timer \"reader\": "));
    EXPECT_THAT(outcome.err, HasSubstr("stack traceback:"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(ExamplesTest, StopBeforeFiring)
{
    expectTable("stop_before_firing.lua",
        { " T s  StartFcn", " T s  stop returned", " T s  StopFcn; TimerFcn has run 0 times" });
}

TEST_F(ExamplesTest, WaitWithLimit)
{
    expectTable("wait_with_limit.lua",
        { " T s  wait(0.1) returned false, the timer runs: true", " T s  TimerFcn",
            " T s  wait() returned true, the timer runs: false" });
}

TEST_F(ExamplesTest, PeriodicModes)
{
    const std::string head = "run     due   start     end";
    const std::string row = " T T T";
    const auto table = [&](const std::string& title, int runs, const std::vector<std::string>& end) {
        std::vector<std::string> rows { title, head };
        for (int run = 1; run <= runs; ++run) {
            rows.push_back("  " + std::to_string(run) + row);
        }
        rows.insert(rows.end(), end.begin(), end.end());
        return rows;
    };
    expectTable("fixed_rate_drop.lua", table("FixedRate, Drop: period T s, callback T s", 4, { "StopFcn at T" }));
    expectTable(
        "fixed_rate_queue.lua", table("FixedRate, Queue: period T s, callback T s", 4, { "StopFcn at T" }));
    expectTable("fixed_rate_error.lua",
        table("FixedRate, Error: period T s, callback T s", 1, { "StopFcn at T", "ErrorFcn at T" }));
    expectTable("fixed_delay.lua", table("FixedDelay: period T s, callback T s", 4, { "StopFcn at T" }));
    expectTable("fixed_spacing.lua", table("FixedSpacing: period T s, callback T s", 4, { "StopFcn at T" }));
}

TEST_F(ExamplesTest, AllModes)
{
    const Outcome outcome = runExample("all_modes.lua");

    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(linesWith(outcome.out, "|"), testing::SizeIs(6));
}

} // namespace

} // namespace scripts
