#include "tests/scripts/ScriptTest.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The records of a channel without their time, ids replaced by ID and times by TIME, with milliseconds by
/// TIME.MS.
std::vector<std::string> records(const std::string& log, const std::string& channel)
{
    std::vector<std::string> texts;
    for (std::string line : linesWith(log, "[" + channel + "]")) {
        line = line.substr(line.find("] ") + 2);
        line = std::regex_replace(line, std::regex("[0-9a-f]{16}-[0-9a-f]{16}"), "ID");
        line = std::regex_replace(line, std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}"), "TIME");
        line = std::regex_replace(line, std::regex("TIME\\.[0-9]{3}"), "TIME.MS");
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

class LogTest : public ScriptTest { };

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

TEST_F(LogTest, EveryKindOfHandlerTellsOnceHowItReachesTheInterpreter)
{
    const Outcome outcome = run(R"(
local function none() end
for _, mode in ipairs { "SingleShot", "FixedSpacing", "FixedDelay", "FixedRate", "FixedRate", "SingleShot" } do
  local t = timer {
    ExecutionMode = mode, Period = 0.001, TasksToExecute = 3, StartFcn = none, StopFcn = none, ErrorFcn = none,
    TimerFcn = function() if mode == "SingleShot" then error("boom") end end,
  }
  t:start()
  t:wait()
end
)",
        { "--log", "tovrintimer::workHandler=4" });

    const auto texts = records(outcome.err, "tovrintimer::workHandler");
    // The four modes, StartFcn, StopFcn and ErrorFcn.
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "0x04 Timer Running on PPE"), 7);
}

TEST_F(LogTest, CallbacksThatAreNotThereAreSkipped)
{
    const Outcome outcome = run(R"(
local t = timer { TimerFcn = function() error("boom") end }
t:start()
t:wait()
t.ErrorFcn = function() end
t:start()
t:wait()
)",
        { "--log", "tovrintimer::workHandler=4" });

    EXPECT_THAT(records(outcome.err, "tovrintimer::workHandler"),
        ElementsAre("0x04 Requesting SingleShot Processing", "0x04 Timer Running on PPE",
            "0x04 Processing SingleShot Callback", "0x04 Skipping ErrorFcn scheduling, since it's empty",
            "0x04 Skipping StopFcn scheduling, since it's empty", "0x04 Requesting SingleShot Processing",
            "0x04 Processing SingleShot Callback", "0x04 Requesting ErrorFcn Processing",
            "0x04 Timer Running on PPE", "0x04 Skipping StopFcn scheduling, since it's empty",
            "0x04 Processing ErrorFcn Callback"));
}

/// The records of the handlers about a fixed-rate timer, without those of the way to the interpreter.
std::vector<std::string> fixedRateRecords(const std::string& log)
{
    auto texts = records(log, "tovrintimer::workHandler");
    std::erase(texts, "0x04 Timer Running on PPE");
    // The program's own: a mark that passes the scheduler after all that a fixed-rate run can still bring.
    std::erase(texts, "0x04 Requesting SingleShot Processing");
    return texts;
}

const std::string stillRunning = "0x04 fetching m_prevCallBackStatus->hasStarted, which is 0 and "
                                 "m_prevCallBackStatus->hasCompleted, which is 0 @TIME.MS";
const std::string hasEnded = "0x04 fetching m_prevCallBackStatus->hasStarted, which is 0 and "
                             "m_prevCallBackStatus->hasCompleted, which is 1 @TIME.MS";

TEST_F(LogTest, DropTellsOfEachTimeThatItFindsTheCallbackStillRunning)
{
    retrySlower([&](double factor) -> std::string {
        const Outcome outcome = run(R"(
timer {
  ExecutionMode = "FixedRate", Period = 0.02 * arg[1], TasksToExecute = 2,
  TimerFcn = function() local till = now() + 0.06 * arg[1] while now() < till do end end,
}:start()
)",
            { "--log", "tovrintimer::workHandler=4" }, { std::to_string(factor) });

        const std::string drop = "0x04 Contention With previous timerFcn callback, dropping current TimerFcn, and "
                                 "setting next TimerFcn to fire immediately";
        std::vector<std::string> expected;
        const std::size_t drops = linesWith(outcome.err, "dropping").size();
        for (std::size_t i = 0; i < drops; ++i) {
            expected.push_back(stillRunning);
            expected.push_back(drop);
        }
        expected.push_back(hasEnded);
        EXPECT_EQ(fixedRateRecords(outcome.err), expected);
        return drops > 0 ? "" : "the second run fell due after the first had ended";
    });
}

TEST_F(LogTest, ErrorTellsOfTheCallbackStillRunningAndAsksForStopFcnAndErrorFcn)
{
    retrySlower([&](double factor) -> std::string {
        const Outcome outcome = run(R"(
local function none() end
timer {
  ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.02 * arg[1], TasksToExecute = 2,
  TimerFcn = function() local till = now() + 0.06 * arg[1] while now() < till do end end, StopFcn = none, ErrorFcn = none,
}:start()
)",
            { "--log", "tovrintimer::workHandler=4" }, { std::to_string(factor) });

        const auto texts = fixedRateRecords(outcome.err);
        if (std::find(texts.begin(), texts.end(), hasEnded) != texts.end()) {
            return "the second run fell due after the first had ended";
        }
        EXPECT_THAT(texts,
            ElementsAre(stillRunning,
                "0x04 Contention With previous timerFcn callback, dropping current TimerFcn, and setting errorFcn "
                "to fire immediately",
                "0x04 Requesting StopFcn Processing", "0x04 Requesting ErrorFcn Processing",
                "0x04 Processing ErrorFcn Callback"));
        return "";
    });
}

TEST_F(LogTest, TheSchedulerTellsWhatItIsAskedForAndWhatItDoes)
{
    retrySlower([&](double factor) -> std::string {
        const Outcome outcome = run(R"(
timer { StartDelay = 0.05, TimerFcn = function() end }:start()
pause(0.1 * arg[1])
)",
            { "--log", "tovrintimer::TimerScheduler=0x14" }, { std::to_string(factor) });

        const auto texts = records(outcome.err, "tovrintimer::TimerScheduler");
        const auto asleep = std::find(texts.begin(), texts.end(), "0x10  @wait_until workQueue.empty() status 1");
        if (asleep > std::find(texts.begin(), texts.end(), "0x04 Requesting lock @cleanup")) {
            return "the program ended before the scheduler slept again";
        }
        // Until the thread has started, two threads write.
        EXPECT_THAT(texts,
            testing::IsSupersetOf({ "0x04 Request to Start Work with Id: ID for TimerFcn to execute @TIME",
                "0x04 Requesting lk @insertAscendingSorted", "0x04 End of life for lk @insertAscendingSorted" }));
        const auto dispatched = std::find(texts.begin(), texts.end(), "0x10 workQueue size 1");
        if (dispatched - texts.begin() < 3 || texts.end() - dispatched < 17) {
            ADD_FAILURE() << outcome.err;
            return "";
        }
        EXPECT_THAT(std::vector<std::string>(dispatched - 3, dispatched + 8),
            ElementsAre("0x10 @wait_until got notified and doesBackOfQueueHaveSmallerWork then intended ? 0",
                "0x10 @wait_until got notified and doesBackOfQueueHaveSmallerWork then intended ? 0",
                "0x10 Finished @wait_until condvar", "0x10 workQueue size 1", "0x10 Do you own lock 1",
                "0x10 Unlocking lk @run with work_until", "0x04 Transfering WorkItem callback, with ID ID",
                "0x04 Consumer got a chance to poke at queue", "0x04 Requesting lk @run",
                "0x10 waiting forever/large timeout at to execute @TIME",
                "0x10  @wait_until workQueue.empty() status 1"));
        // The thread is ended first, and the scheduler destroyed once nobody can ask for it any more.
        EXPECT_THAT(std::vector<std::string>(dispatched + 8, texts.end() - 4),
            testing::UnorderedElementsAre("0x04 Requesting lock @cleanup", "0x04 unlocking lock @cleanup",
                "0x10 @wait_until returning true on m_finish", "0x10 Finished @wait_until condvar",
                "0x04 Requesting lk @run"));
        EXPECT_THAT(std::vector<std::string>(texts.end() - 4, texts.end()),
            ElementsAre("0x04 Scheduler shutdown Work", "0x04 Requesting lock @cleanup",
                "0x04 unlocking lock @cleanup", "0x04 Successful thread join"));
        return "";
    });
}

TEST_F(LogTest, OnlyTheBitsOfTheMaskAreWritten)
{
    const Outcome detail = run(oneRun, { "--log", "tovrintimer::TimerScheduler=16" });
    EXPECT_THAT(linesWith(detail.err, " 0x04 "), IsEmpty());
    EXPECT_EQ(linesWith(detail.err, " 0x10 "), lines(detail.err));
    EXPECT_FALSE(detail.err.empty());

    EXPECT_EQ(run(oneRun, { "--log", "tovrintimer::TimerScheduler=0" }).err, "");
}

TEST_F(LogTest, TheRunLoopsScopeIsTracedAndIndents)
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
