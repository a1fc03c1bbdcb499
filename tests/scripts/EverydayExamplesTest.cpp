#include "tests/scripts/ScriptTest.hpp"
#include "tests/scripts/platform/Platform.hpp"

#include <fstream>
#include <iterator>
#include <regex>

namespace scripts {

namespace {

/// The examples of everyday work.
class EverydayExamplesTest : public RehearsedTest {
protected:
    /// Their times are fixed: what has to be quick enough may need more than one attempt on a loaded machine.
    void expectLines(const std::string& name, const std::vector<std::string>& expected)
    {
        constexpr int attempts = 3;
        Outcome outcome {};
        for (int i = 0; i < attempts && lines(outcome.out) != expected; ++i) {
            outcome = runExample(name);
            EXPECT_EQ(outcome.err, "");
            EXPECT_EQ(outcome.status, 0);
        }
        EXPECT_EQ(lines(outcome.out), expected);
    }

    Outcome runExample(const std::string& name) { return runFile(std::string(TOVRIN_EXAMPLES "/") + name); }
};

TEST_F(EverydayExamplesTest, PollFile)
{
    expectLines("poll_file.lua", { "now it holds: begun", "now it holds: half of it", "now it holds: done" });
    EXPECT_FALSE(std::ifstream(folder() + "/polled.txt").is_open());
}

TEST_F(EverydayExamplesTest, Watchdog)
{
    expectLines(
        "watchdog.lua", { "sign of life 1", "sign of life 2", "sign of life 3", "watchdog: nothing heard" });
}

TEST_F(EverydayExamplesTest, Retry)
{
    expectLines("retry.lua",
        { "no answer; again in 0.05 s", "no answer; again in 0.1 s", "no answer; again in 0.2 s",
            "the answer is 42" });
}

TEST_F(EverydayExamplesTest, ProducerConsumer)
{
    expectLines("producer_consumer.lua",
        { "consumed piece 1", "consumed piece 2", "consumed piece 3", "consumed piece 4", "consumed piece 5",
            "nothing is left" });
}

TEST_F(EverydayExamplesTest, EveryFullSecond)
{
    const Outcome outcome = runExample("every_full_second.lua");
    const auto times = lines(outcome.out);
    ASSERT_EQ(times.size(), 3U) << outcome.out << outcome.err;
    int last = -1;
    for (const std::string& time : times) {
        ASSERT_TRUE(std::regex_match(time, std::regex("[0-9][0-9]:[0-9][0-9]:[0-9][0-9]"))) << time;
        const int seconds = (std::stoi(time) * 60 + std::stoi(time.substr(3))) * 60 + std::stoi(time.substr(6));
        EXPECT_TRUE(seconds > last || seconds < 60) << outcome.out; // midnight
        last = seconds;
    }
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(EverydayExamplesTest, EveryDay)
{
    expectLines("every_day.lua", { "the next time is at 06:30:00\twithin a day: true" });
}

TEST_F(EverydayExamplesTest, OneReport)
{
    expectLines("one_report.lua", { "a\t3 runs\tfine", "b\t3 runs\tb is out of order", "c\t3 runs\tfine" });
}

TEST_F(EverydayExamplesTest, CancelAll)
{
    if (const char* reason = platform::whyNoControlC(); reason != nullptr) {
        GTEST_SKIP() << reason;
    }
    std::ifstream example(TOVRIN_EXAMPLES "/cancel_all.lua");
    const Outcome outcome = runAndInterrupt(
        { std::istreambuf_iterator<char>(example), std::istreambuf_iterator<char>() }, { "press Ctrl-C" });
    EXPECT_EQ(outcome.out, "press Ctrl-C\none: interrupted\ntwo: interrupted\nthree: interrupted\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 130);
}

TEST_F(EverydayExamplesTest, StopFromWithin)
{
    expectLines("stop_from_within.lua", { "run 1", "run 2", "run 3", "true\tstopped" });
}

TEST_F(EverydayExamplesTest, Reminders)
{
    expectLines("reminders.lua", { "taken back: true", "drink the tea", "take the bread out" });
}

} // namespace

} // namespace scripts
