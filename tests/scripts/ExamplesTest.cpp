#include "tests/scripts/ScriptTest.hpp"

#include <boost/filesystem.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The text with each number of seconds replaced by T.
std::string withoutTimes(const std::string& text)
{
    return std::regex_replace(text, std::regex(" *[0-9]+\\.[0-9]{2,3}"), " T");
}

class ExamplesTest : public RehearsedTest {
protected:
    Outcome runExample(const std::string& name, const Words& options = {}, const Words& arguments = {})
    {
        return runFile(std::string(TOVRIN_EXAMPLES "/") + name, options, arguments);
    }

    /// The lines of the output, without the numbers of seconds where those are real.
    static std::vector<std::string> comparable(const std::string& text)
    {
        return lines(hasVirtualTime ? text : withoutTimes(text));
    }

    /// \param err what it complains about; its status is 1 then
    void expectLines(const std::string& name, const std::string& output, const std::string& err = "")
    {
        // The examples' times are fixed: where time is real and a callback has to run still when the next one
        // falls due, a loaded machine may need more than one attempt.
        constexpr int attempts = hasVirtualTime ? 1 : 3;
        Outcome outcome {};
        for (int i = 0; i < attempts && comparable(outcome.out) != comparable(output); ++i) {
            outcome = runExample(name);
        }
        EXPECT_EQ(comparable(outcome.out), comparable(output));
        EXPECT_EQ(outcome.err, err);
        EXPECT_EQ(outcome.status, err.empty() ? 0 : 1);
    }
};

std::string overrunOf(const std::string& timer)
{
    return "tovrin: error in timer \"" + timer + "\": callback of timer \"" + timer
        + "\" was still running when its next run fell due\n";
}

using ExamplesInRealTimeTest = ScriptTest;

TEST_F(ExamplesInRealTimeTest, Tour)
{
    const Outcome outcome = tovrin({ "run", TOVRIN_EXAMPLES "/tour.lua" });
    EXPECT_THAT(lines(withoutTimes(outcome.out)),
        ElementsAre(" T s  start returned", " T s  StartFcn of tour", " T s  TimerFcn, run 1", " T s  StopFcn",
            " T s  wait returned true; the timer has run 1 time"));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

/// What README.md reads in the records, in the order in which it comes.
TEST_F(ExamplesTest, LateCallback)
{
    for (const std::string mode : { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate" }) {
        const Outcome outcome
            = runExample("late_callback.lua", { "--log", "tovrintimer::TimerScheduler=4" }, { mode });

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

TEST_F(ExamplesTest, Tour)
{
    expectLines("tour.lua",
        "0.000 s  start returned\n"
        "0.000 s  StartFcn of tour\n"
        "0.200 s  TimerFcn, run 1\n"
        "0.200 s  StopFcn\n"
        "0.200 s  wait returned true; the timer has run 1 time\n");
}

TEST_F(ExamplesTest, StopBeforeFiring)
{
    expectLines("stop_before_firing.lua",
        "0.000 s  StartFcn\n"
        "0.100 s  stop returned\n"
        "0.100 s  StopFcn; TimerFcn has run 0 times\n");
}

TEST_F(ExamplesTest, WaitWithLimit)
{
    expectLines("wait_with_limit.lua",
        "0.100 s  wait(0.1) returned false, the timer runs: true\n"
        "0.300 s  TimerFcn\n"
        "0.300 s  wait() returned true, the timer runs: false\n");
}

TEST_F(ExamplesTest, FixedSpacing)
{
    expectLines("fixed_spacing.lua",
        "FixedSpacing: period 0.20 s, callback 0.05 s\n"
        "run     due   start     end\n"
        "  1   0.000   0.000   0.050\n"
        "  2   0.250   0.250   0.300\n"
        "  3   0.500   0.500   0.550\n"
        "  4   0.750   0.750   0.800\n"
        "StopFcn at 0.800\n");
}

TEST_F(ExamplesTest, FixedDelay)
{
    expectLines("fixed_delay.lua",
        "FixedDelay: period 0.20 s, callback 0.05 s\n"
        "run     due   start     end\n"
        "  1   0.000   0.000   0.050\n"
        "  2   0.200   0.200   0.250\n"
        "  3   0.400   0.400   0.450\n"
        "  4   0.600   0.600   0.650\n"
        "StopFcn at 0.650\n");
}

TEST_F(ExamplesTest, FixedRateDrop)
{
    expectLines("fixed_rate_drop.lua",
        "FixedRate, Drop: period 0.10 s, callback 0.25 s\n"
        "run     due   start     end\n"
        "  1   0.000   0.000   0.250\n"
        "  2   0.250   0.250   0.500\n"
        "  3   0.500   0.500   0.750\n"
        "  4   0.750   0.750   1.000\n"
        "StopFcn at 1.000\n");
}

TEST_F(ExamplesTest, FixedRateQueue)
{
    expectLines("fixed_rate_queue.lua",
        "FixedRate, Queue: period 0.10 s, callback 0.25 s\n"
        "run     due   start     end\n"
        "  1   0.000   0.000   0.250\n"
        "  2   0.100   0.250   0.500\n"
        "  3   0.200   0.500   0.750\n"
        "  4   0.300   0.750   1.000\n"
        "StopFcn at 1.000\n");
}

TEST_F(ExamplesTest, FixedRateError)
{
    expectLines("fixed_rate_error.lua",
        "FixedRate, Error: period 0.10 s, callback 0.25 s\n"
        "run     due   start     end\n"
        "  1   0.000   0.000   0.250\n"
        "StopFcn at 0.250\n"
        "ErrorFcn at 0.250\n",
        overrunOf("timer-1"));
}

/// The table of README.md, which is one of real time.
TEST_F(ExamplesTest, AllModes)
{
    std::ifstream file(TOVRIN_EXAMPLES "/../README.md");
    const std::string readme { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    const std::string fence = "```\n";
    const std::size_t begin = readme.find(fence, readme.find("(examples/all_modes.lua)")) + fence.size();
    const std::string table = readme.substr(begin, readme.find(fence, begin) - begin);
    ASSERT_THAT(table, testing::StartsWith("Period 0.10 s, callback 0.15 s"));
    expectLines("all_modes.lua", table, overrunOf("timer-6"));
}

TEST_F(ExamplesInRealTimeTest, TheRowsOfATableFollowEachOther)
{
    const Outcome outcome = tovrin({ "run", TOVRIN_EXAMPLES "/fixed_rate_queue.lua" });

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
