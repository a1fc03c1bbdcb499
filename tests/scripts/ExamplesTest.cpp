#include "tests/scripts/ScriptTest.hpp"

#include <boost/filesystem.hpp>

#include <algorithm>
#include <cstdio>
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

    void expectLines(const std::string& name, const std::vector<std::string>& expected)
    {
        const Outcome outcome = runExample(name);
        EXPECT_EQ(withoutTimes(outcome.out), expected) << outcome.out;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 0);
    }

    /// The examples' times are fixed: where a callback must still run when the next one falls due, a loaded
    /// machine may need more than one attempt.
    void expectLinesInTheEnd(const std::string& name, const std::vector<std::string>& expected)
    {
        constexpr int attempts = 3;
        for (int i = 1; i < attempts; ++i) {
            if (withoutTimes(runExample(name).out) == expected) {
                return;
            }
        }
        expectLines(name, expected);
    }
};

TEST_F(ExamplesTest, Tour)
{
    expectLines("tour.lua",
        { " T s  start returned", " T s  StartFcn of tour", " T s  TimerFcn, run 1", " T s  StopFcn",
            " T s  wait returned true; the timer has run 1 time" });
}

/// What README.md reads in the records, in the order in which it comes.
TEST_F(ExamplesTest, LateCallback)
{
    for (const std::string mode : { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" }) {
        const Outcome outcome = tovrin({ "run", "--log", "tovrintimer::TimerScheduler=4",
            std::string(TOVRIN_EXAMPLES "/") + "late_callback.lua", mode });

        std::vector<std::string> beats;
        for (const std::string& line : lines(outcome.err)) {
            const bool isOfBeat
                = line.ends_with("0000000000000002") || line.find("0000000000000002 for") < line.size();
            EXPECT_TRUE(std::regex_search(line, std::regex("^[0-9]{4}(-[0-9]{2}){2} [0-9:]{8}\\.[0-9]{6} ")))
                << line;
            if (isOfBeat && line.find("Request to Start") < line.size()) {
                beats.emplace_back("due");
            } else if (isOfBeat && line.find("Transfering") < line.size()) {
                beats.emplace_back("handed over");
            } else if (line.ends_with(" beat begins")) {
                beats.emplace_back("begins");
            }
        }
        // The next one is due before this one begins, or after: that is what the modes differ in.
        EXPECT_EQ(std::count(beats.begin(), beats.end(), "due"), mode == "SingleShot" ? 1 : 2) << outcome.err;
        std::erase(beats, "due");
        const std::vector<std::string> one { "handed over", "begins" };
        const std::vector<std::string> two { "handed over", "begins", "handed over", "begins" };
        EXPECT_EQ(beats, mode == "SingleShot" ? one : two) << mode << '\n' << outcome.err;
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST_F(ExamplesTest, FailingCallback)
{
    const Outcome outcome = runExample("failing_callback.lua");

    EXPECT_THAT(lines(outcome.out),
        ElementsAre("TimerFcn opens a file that does not exist", "ErrorFcn runs, the timer still runs: true",
            "StopFcn runs, the timer still runs: false"));
    EXPECT_THAT(outcome.err, HasSubstr("tovrin: error in TimerFcn of timer \"reader\": "));
    EXPECT_THAT(outcome.err, HasSubstr("no such file"));
    EXPECT_THAT(outcome.err, HasSubstr("stack traceback:"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(ExamplesTest, StopBeforeFiring)
{
    expectLines("stop_before_firing.lua",
        { " T s  StartFcn", " T s  stop returned", " T s  StopFcn; TimerFcn has run 0 times" });
}

TEST_F(ExamplesTest, WaitWithLimit)
{
    expectLines("wait_with_limit.lua",
        { " T s  wait(0.1) returned false, the timer runs: true", " T s  TimerFcn",
            " T s  wait() returned true, the timer runs: false" });
}

std::vector<std::string> table(const std::string& title, int runs, const std::vector<std::string>& end)
{
    std::vector<std::string> rows { title + ": period T s, callback T s", "run     due   start     end" };
    for (int run = 1; run <= runs; ++run) {
        rows.push_back("  " + std::to_string(run) + " T T T");
    }
    rows.insert(rows.end(), end.begin(), end.end());
    return rows;
}

TEST_F(ExamplesTest, PeriodicModes)
{
    expectLines("fixed_spacing.lua", table("FixedSpacing", 4, { "StopFcn at T" }));
    expectLines("fixed_delay.lua", table("FixedDelay", 4, { "StopFcn at T" }));
    expectLines("fixed_rate_drop.lua", table("FixedRate, Drop", 4, { "StopFcn at T" }));
    expectLines("fixed_rate_queue.lua", table("FixedRate, Queue", 4, { "StopFcn at T" }));
    expectLinesInTheEnd("fixed_rate_error.lua", table("FixedRate, Error", 1, { "StopFcn at T", "ErrorFcn at T" }));
}

TEST_F(ExamplesTest, TheRowsOfATableFollowEachOther)
{
    const Outcome outcome = runExample("fixed_rate_queue.lua");

    double lastEnd = 0.0;
    int rows = 0;
    for (const std::string& line : lines(outcome.out)) {
        double due = 0.0;
        double start = 0.0;
        double end = 0.0;
        if (std::sscanf(line.c_str(), "%*d %lf %lf %lf", &due, &start, &end) == 3) {
            EXPECT_DOUBLE_EQ(due, rows * 0.1);
            EXPECT_GE(start, lastEnd);
            EXPECT_GE(end, start + 0.249); // printed to the millisecond
            lastEnd = end;
            ++rows;
        }
    }
    EXPECT_EQ(rows, 4) << outcome.out;
}

TEST_F(ExamplesTest, AllModes)
{
    const std::string four = "| T T T T";
    expectLinesInTheEnd("all_modes.lua",
        { "Period T s, callback T s: when the runs started, in seconds", "SingleShot         | T",
            "FixedSpacing       " + four, "FixedDelay         " + four, "FixedRate, Drop    " + four,
            "FixedRate, Queue   " + four, "FixedRate, Error   | T" });
}

TEST_F(ExamplesTest, ThereIsNoneThatIsNotRunHere)
{
    std::vector<std::string> names;
    for (const auto& entry : boost::filesystem::directory_iterator(TOVRIN_EXAMPLES)) {
        if (entry.path().extension() == ".lua") {
            names.push_back(entry.path().stem().string());
        }
    }

    // The second half, by the tests of everyday examples; the last one, by those of test files.
    EXPECT_THAT(names,
        testing::UnorderedElementsAre("all_modes", "failing_callback", "fixed_delay", "fixed_rate_drop",
            "fixed_rate_error", "fixed_rate_queue", "fixed_spacing", "late_callback", "stop_before_firing", "tour",
            "wait_with_limit", "cancel_all", "every_day", "every_full_second", "one_report", "poll_file",
            "producer_consumer", "reminders", "retry", "stop_from_within", "watchdog", "overlap_test"));
}

} // namespace

} // namespace scripts
