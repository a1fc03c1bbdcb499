#include "tests/scripts/ScriptTest.hpp"

#include <fstream>
#include <iterator>
#include <regex>

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The records of a channel without their time, ids replaced by ID and times by TIME.
std::vector<std::string> records(const std::string& log, const std::string& channel)
{
    std::vector<std::string> texts;
    for (std::string line : linesWith(log, "[" + channel + "]")) {
        line = line.substr(line.find("] ") + 2);
        line = std::regex_replace(line, std::regex("[0-9a-f]{16}-[0-9a-f]{16}"), "ID");
        line = std::regex_replace(line, std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}"), "TIME");
        texts.push_back(line);
    }
    return texts;
}

const char* const oneRun = R"(
local function none() end
local t = timer { StartDelay = 0.05, StartFcn = none, TimerFcn = none, StopFcn = none, ErrorFcn = none }
t:start()
t:wait()
t:start()
t:wait()
)";

class LogTest : public RehearsedTest { };

using LogOfThreadsTest = ScriptTest;

TEST_F(LogTest, HandlersTellEachStepAndOnceHowTheyReachTheInterpreter)
{
    for (const std::string way : { "PPE", "LineHook" }) {
        const Outcome outcome = run(oneRun,
            { "--log", "tovrintimer::workHandler=4", "--feature",
                way == "PPE" ? "TIMER_PPE=on" : "TIMER_PPE=off" });

        auto texts = records(outcome.err, "tovrintimer::workHandler");
        // The engine's thread and the scheduler's write side by side: each one's order is certain.
        EXPECT_EQ(linesWith(outcome.err, "Timer Running on " + way).size(), 3U);
        EXPECT_EQ(linesWith(outcome.err, "Timer Running on").size(), 3U);
        std::erase(texts, "0x04 Timer Running on " + way);
        const std::vector<std::string> run { "0x04 Requesting StartFcn Processing",
            "0x04 Processing StartFcn Callback", "0x04 Requesting SingleShot Processing",
            "0x04 Processing SingleShot Callback", "0x04 Requesting StopFcn Processing" };
        auto twice = run;
        twice.insert(twice.end(), run.begin(), run.end());
        EXPECT_EQ(texts, twice);
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST_F(LogOfThreadsTest, TheSchedulersThreadIsEndedFirstAndTheSchedulerDestroyedOnceNobodyCanAskForIt)
{
    const Outcome outcome = run(oneRun, { "--log", "tovrintimer::TimerScheduler=4" });

    auto texts = records(outcome.err, "tovrintimer::TimerScheduler");
    EXPECT_THAT(texts, testing::Contains("0x04 Request to Start Work with Id: ID for TimerFcn to execute @TIME"));
    std::erase_if(texts,
        [](const std::string& text) { return !std::regex_search(text, std::regex("@cleanup|shutdown|join")); });
    EXPECT_THAT(texts,
        ElementsAre("0x04 Requesting lock @cleanup", "0x04 unlocking lock @cleanup",
            "0x04 Scheduler shutdown Work", "0x04 Requesting lock @cleanup", "0x04 unlocking lock @cleanup",
            "0x04 Successful thread join"));
}

TEST_F(LogTest, OnlyTheBitsOfTheMaskAreWritten)
{
    const Outcome detail = run(oneRun, { "--log", "tovrintimer::TimerScheduler=16" });
    EXPECT_THAT(linesWith(detail.err, " 0x04 "), IsEmpty());
    EXPECT_EQ(linesWith(detail.err, " 0x10 "), lines(detail.err));
    EXPECT_FALSE(detail.err.empty());

    EXPECT_EQ(run(oneRun, { "--log", "tovrintimer::TimerScheduler=0" }).err, "");
}

TEST_F(LogOfThreadsTest, TheRunLoopsScopeIsTracedAndIndents)
{
    const Outcome outcome = run("timer { StartDelay = 0.01, TimerFcn = function() end }:start()",
        { "--log", "tovrintimer::TimerScheduler=0x64" });

    const auto texts = records(outcome.err, "tovrintimer::TimerScheduler");
    const std::string function = "void __cdecl tovrintimer::TimerScheduler::run(void)";
    EXPECT_THAT(texts,
        testing::IsSupersetOf(
            std::vector<std::string> { "0x20 " + function, "0x04   Requesting lk @run", "0x40 " + function }));
}

TEST_F(LogTest, RecordsGoToAFileOnRequest)
{
    const Outcome outcome = run(oneRun, { "--log", "tovrintimer::workHandler=4", "--log-file", "log.txt" });

    EXPECT_EQ(outcome.err, "");
    std::ifstream file(folder() + "/log.txt");
    const std::string log { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    EXPECT_EQ(linesWith(log, "Requesting SingleShot Processing").size(), 2U);
}

} // namespace

} // namespace scripts
