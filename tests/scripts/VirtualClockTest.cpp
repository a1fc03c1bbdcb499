#include "tests/scripts/ScriptTest.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

namespace scripts {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const Words inVirtualTime { "--clock", "virtual" };

/// The clocks that scripts can run by, and what follows them.
class VirtualClockTest : public ScriptTest {
protected:
    void expectVirtually(const std::string& script, const std::string& output)
    {
        const Outcome outcome = run(script, inVirtualTime);
        EXPECT_EQ(outcome.out, output) << script;
        EXPECT_EQ(outcome.err, "") << script;
        EXPECT_EQ(outcome.status, 0) << script;
    }

    /// What it takes to start the programs and to end them: on some systems more than a script takes.
    double startUp()
    {
        double least = 60;
        for (int i = 0; i < 3; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            run("", inVirtualTime);
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
            least = std::min(least, taken.count());
        }
        return least;
    }

    /// Runs a script whose output is this, until it takes no more than so many real seconds, which a loaded
    /// machine may miss.
    template <typename Run> static void expectWithin(double seconds, const std::string& output, Run run)
    {
        constexpr int attempts = 20;
        double taken = 0;
        for (int i = 0; i < attempts; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            const Outcome outcome = run();
            taken = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
            ASSERT_THAT(outcome.out, HasSubstr(output)) << outcome.err;
            if (taken < seconds) {
                return;
            }
        }
        ADD_FAILURE() << "it takes " << taken << " s";
    }
};

TEST_F(VirtualClockTest, RecordsBearTheTimeThatTheScriptGoesBy)
{
    const char* const script = "timer { StartDelay = 3600.25, TimerFcn = function() end }:start()";
    const Outcome outcome = run(script, { "--clock", "virtual", "--log", "tovrintimer::workHandler=4" });
    EXPECT_THAT(linesWith(outcome.err, "SingleShot"),
        ElementsAre("2000-01-01 01:00:00.250000 [tovrintimer::workHandler] 0x04 Requesting SingleShot Processing",
            "2000-01-01 01:00:00.250000 [tovrintimer::workHandler] 0x04 Processing SingleShot Callback"));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(VirtualClockTest, PauseBusyAndWaitTakeTheirTimeByEachClockOfTheScript)
{
    expectVirtually(R"(
local begin, work = now(), os.clock()
local function show(what)
  print(string.format("%-5s %5.2f %5.2f %.2f", what, now() - begin, os.clock() - work, date() % 60), os.date("%Y-%m-%d %H:%M:%S"), os.time() % 60)
end
show "begin"
pause(1.5)
show "pause"
busy(0.25)
show "busy"
after(3, function() end):wait()
show "wait"
timer { StartDelay = 60, TimerFcn = print, KeepsAlive = false }:start():wait(10.25)
show "limit"
)",
        "begin  0.00  0.00 0.00\t2000-01-01 00:00:00\t0\n"
        "pause  1.50  1.50 1.50\t2000-01-01 00:00:01\t1\n"
        "busy   1.75  1.75 1.75\t2000-01-01 00:00:01\t1\n"
        "wait   4.75  4.75 4.75\t2000-01-01 00:00:04\t4\n"
        "limit 15.00 15.00 15.00\t2000-01-01 00:00:15\t15\n");
}

TEST_F(VirtualClockTest, TheSystemsFunctionsOfTimeTakeWhatTheyAlwaysTake)
{
    expectVirtually(R"(
print(os.date("%d.%m.%Y", os.time { year = 2026, month = 2, day = 29 }), os.date("!%H:%M", 3660), os.date() == os.date("%c"))
print(os.date("*t").year, os.date("*t").hour, date() == os.time())
print(pcall(os.date, "%Ez", 0))
)",
        "01.03.2026\t01:01\ttrue\n2000\t0\ttrue\n"
        "false\tbad argument #1 to 'os.date' (invalid conversion specifier '%Ez')\n");
}

TEST_F(VirtualClockTest, LoopsThatOnlyLookAtAClockComeToAnEnd)
{
    expectVirtually(R"(
for name, clock in pairs { now = now, ["os.clock"] = os.clock, date = date } do
  local till = clock() + 0.1
  while clock() < till do end
end
local till = os.time() + 2
while os.time() < till do end
print(now() >= 2, now() < 3)
)",
        "true\ttrue\n");
}

TEST_F(VirtualClockTest, BusyLetsNoCallbackRunAndPauseDoes)
{
    expectVirtually(R"(
after(0.01, function() print(string.format("fires at %.2f", now())) end)
busy(0.2)
print(string.format("busy till %.2f", now()))
pause(0.3)
print(string.format("paused till %.2f", now()))
)",
        "busy till 0.20\nfires at 0.20\npaused till 0.50\n");
}

TEST_F(VirtualClockTest, BusyTakesItsTimeInRealTimeToo)
{
    expectOutput("local begin = now() after(0.01, function() print('fires') end) busy(0.05)\n"
                 "print(now() - begin >= 0.05) busy(0) pause(0.05)",
        "true\nfires\n");
}

TEST_F(VirtualClockTest, BusyRefusesWhatIsNoTime)
{
    for (const char* clock : { "real", "virtual" }) {
        const Outcome outcome = run("for _, time in ipairs { -1, 'x', 0/0 } do print(pcall(busy, time)) end\n"
                                    "print(pcall(busy)) print(now() < 1)",
            { "--clock", clock });
        const std::string allowed = ", but must be a number of seconds, at least 0";
        EXPECT_THAT(lines(outcome.out),
            ElementsAre("false\tbusy: the time is -1" + allowed, "false\tbusy: the time is \"x\"" + allowed,
                "false\tbusy: the time is nan" + allowed, "false\tbusy: the time is nothing" + allowed, "true"));
    }
}

TEST_F(VirtualClockTest, AppointmentsAreKeptToTheMoment)
{
    expectVirtually(R"(
local function show(_, event) print(event.Type, os.date("%Y-%m-%d %H:%M:%S"), now(), event.Time - date()) end
timer { StartFcn = show, TimerFcn = show, StopFcn = show }:startAt { year = 2000, month = 1, day = 2, hour = 6, minute = 30 }:wait()
every({ hour = 7 }, show, 2):wait()
timer { TimerFcn = show }:startAt(date() + 0.25):wait()
)",
        "StartFcn\t2000-01-02 06:30:00\t109800.0\t0.0\n"
        "TimerFcn\t2000-01-02 06:30:00\t109800.0\t0.0\n"
        "StopFcn\t2000-01-02 06:30:00\t109800.0\t0.0\n"
        "TimerFcn\t2000-01-02 07:00:00\t111600.0\t0.0\n"
        "TimerFcn\t2000-01-03 07:00:00\t198000.0\t0.0\n"
        "TimerFcn\t2000-01-03 07:00:00\t198000.25\t0.0\n");
}

TEST_F(VirtualClockTest, ADayOfTenTimersOfMixedModesTakesUnderTwoSeconds)
{
    // A period after the dispatch, the start or the end of a callback that takes half a second; or later, where
    // others do.
    const std::string script = R"(
local modes, runs = { "FixedRate", "FixedDelay", "FixedSpacing" }, {}
for i = 1, 10 do
  runs[i] = 0
  timer { ExecutionMode = modes[i % 3 + 1], BusyMode = i % 2 == 0 and "Queue" or "Drop", Period = 10 + i, KeepsAlive = false,
    TimerFcn = function() runs[i] = runs[i] + 1 busy(0.5) end }:start()
end
pause(86400)
for i = 1, 10 do
  local period = 10 + i
  assert(runs[i] <= 86400 // period + 1 and runs[i] > 86400 / (period + 3), i .. ": " .. runs[i])
end
print(now())
)";
#if defined(NDEBUG)
    constexpr double most = 2;
#else
    constexpr double most = 60; // of a program that is watched as it runs, nothing is said
#endif
    expectWithin(most, "86400.0\n", [&] { return run(script, inVirtualTime); });
}

TEST_F(VirtualClockTest, TheExamplesOfTheModesTakeUnderATenthOfASecond)
{
    const std::pair<const char*, const char*> examples[] { { "fixed_spacing", "StopFcn at 0.800\n" },
        { "fixed_delay", "StopFcn at 0.650\n" }, { "fixed_rate_drop", "StopFcn at 1.000\n" },
        { "fixed_rate_queue", "StopFcn at 1.000\n" }, { "fixed_rate_error", "ErrorFcn at 0.250\n" },
        { "all_modes", "FixedRate, Error   |  0.00\n" } };
    constexpr double inAll = 0.1;
    const double most = std::max(inAll, startUp() + inAll / 2);
    for (const auto& [name, end] : examples) {
        const std::string path = std::string(TOVRIN_EXAMPLES "/") + name + ".lua";
        expectWithin(most, end, [&] { return runFile(path, inVirtualTime); });
    }
}

TEST_F(VirtualClockTest, TheSameScriptGivesTheSameOutput)
{
    constexpr int times = 20;
    const std::string path = TOVRIN_EXAMPLES "/all_modes.lua";
    const Outcome first = runFile(path, inVirtualTime);
    EXPECT_THAT(first.out, StartsWith("Period 0.10 s"));
    for (int i = 1; i < times; ++i) {
        const Outcome again = runFile(path, inVirtualTime);
        ASSERT_EQ(again.out, first.out);
        ASSERT_EQ(again.err, first.err);
    }
}

TEST_F(VirtualClockTest, SixtyTimesFasterASixthOfAMinuteTakesASixthOfASecond)
{
    retrySlower([this](double factor) -> std::string {
        const auto begin = std::chrono::steady_clock::now();
        const Outcome outcome
            = run("local begin = now() local t = after(2, function() print(now() - begin >= 2) end)\n"
                  "pause(arg[1] - 0) print(now() - begin >= arg[1] - 0)",
                { "--clock", "real:60" }, { std::to_string(10 * factor) });
        const double taken = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        EXPECT_EQ(outcome.out, "true\ntrue\n") << outcome.err;
        EXPECT_GE(taken, 10 * factor / 60);
        return taken < 10 * factor / 10 ? "" : "it takes " + std::to_string(taken) + " s";
    });
}

TEST_F(VirtualClockTest, FasterThanRealTheCalendarBeginsAsItIs)
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const Outcome outcome = run("print(date() >= arg[1] - 1, date() < arg[1] + 3600)", { "--clock", "real:2" },
        { std::to_string(std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count()) });
    EXPECT_EQ(outcome.out, "true\ttrue\n") << outcome.err;
}

TEST_F(VirtualClockTest, TheRealClockIsTheOneThatIsMeantWithoutTheOption)
{
    EXPECT_EQ(run("print(os.date('%Y') - 0 > 2000)", { "--clock", "real" }).out, "true\n");
    EXPECT_EQ(run("print(os.date('%Y') - 0 > 2000)").out, "true\n");
}

TEST_F(VirtualClockTest, AnotherClockIsRefusedWithThoseThatThereAre)
{
    for (const std::string clock : { "fast", "Virtual", "virtual:2", "real:", "real:0", "real:0.5", "real:1000001",
             "real:-2", "real:x", "real:2x", "real:nan", "real:inf", "real: 2" }) {
        const Outcome outcome = run("print('ran')", { "--clock", clock });
        EXPECT_EQ(outcome.out, "") << clock;
        EXPECT_EQ(outcome.err,
            "tovrin: --clock: \"" + clock
                + "\" is not allowed: it must be real, virtual, or real:N with a number N from 1 to 1000000\n"
                  "Try 'tovrin run --help'.\n");
        EXPECT_EQ(outcome.status, wrongUsage) << clock;
    }
    EXPECT_EQ(run("print('ran')", { "--clock", "real:1000000" }).out, "ran\n");
    EXPECT_EQ(run("print('ran')", { "--clock", "real:1" }).out, "ran\n");
}

TEST_F(VirtualClockTest, NobodyElseIsToldOfTimersInVirtualTime)
{
    for (const char* clock : { "virtual", "real:60" }) {
        const Outcome outcome = run("print('ran')", { "--status", "--clock", clock });
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err,
            StartsWith("tovrin: --status: it is for the real clock: in virtual time nobody else looks on\n"));
        EXPECT_EQ(outcome.status, wrongUsage);
    }
}

TEST_F(VirtualClockTest, AScriptThatNothingCanGoOnInIsGivenUpAndToldOf)
{
    const Outcome outcome = run(R"(
local far = timer { Name = "far", StartDelay = 9e9, TimerFcn = function() end, StopFcn = function() print("stopped") end }
far:start()
far:wait()
print("never")
)",
        { "--clock", "virtual" });

    EXPECT_EQ(outcome.out, "stopped\n");
    EXPECT_THAT(
        outcome.err, StartsWith("tovrin: nothing is due any more within a year, and all wait:\n  main: wait"));
    EXPECT_THAT(outcome.err, testing::HasSubstr("\n  interpreter: wait"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(VirtualClockTest, AScriptFromStandardInputIsRunByItToo)
{
    setInput("pause(3600) print(now())\n");
    EXPECT_EQ(tovrin({ "run", "--clock", "virtual", "-" }).out, "3600.0\n");
}

} // namespace

} // namespace scripts
