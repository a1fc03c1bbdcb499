#include "tests/scripts/ScriptTest.hpp"

#include <chrono>
#include <string>
#include <tuple>
#include <vector>

namespace scripts {

namespace {

/// Signals, to the program and to the programs that a script runs. The scripts send them by a shell of their own.
class SignalTest : public ScriptTest {
protected:
    void expectEnd(const std::string& script, const std::string& output, int status)
    {
        const Outcome outcome = run(runningTimer + script);
        EXPECT_EQ(outcome.out, output) << script;
        EXPECT_EQ(outcome.err, "") << script;
        EXPECT_EQ(outcome.status, status) << script;
    }

private:
    const std::string runningTimer = R"(
local t = timer { StartDelay = 60, TimerFcn = print, StopFcn = function() print("StopFcn") end }
t:start()
)";
};

TEST_F(SignalTest, EachSignalThatEndsAProgramStopsItsTimersAndHasAStatusOfItsOwn)
{
    expectEnd("os.execute('kill -INT $PPID') pause(60)", "StopFcn\n", 130);
    expectEnd("os.execute('kill -TERM $PPID') pause(60)", "StopFcn\n", 143);
    expectEnd("os.execute('kill -HUP $PPID') pause(60)", "StopFcn\n", 129);
    expectEnd("os.execute('kill -TERM $PPID') while true do pcall(function() while true do end end) end",
        "StopFcn\n", 143);
}

TEST_F(SignalTest, ASecondSignalOfWhicheverKindLeavesAtOnceWithTheStatusOfTheFirst)
{
    const std::string script = R"(
timer {
  StartDelay = 60, TimerFcn = print,
  StopFcn = function() print("StopFcn") os.execute("kill -SECOND $PPID") while true do end end,
}:start()
os.execute("kill -FIRST $PPID")
pause(60)
)";
    const auto replaced = [](std::string text, const std::string& word, const std::string& by) {
        return text.replace(text.find(word), word.size(), by);
    };
    const std::vector<std::tuple<std::string, std::string, int>> rows { { "TERM", "TERM", 143 },
        { "HUP", "TERM", 129 }, { "INT", "HUP", 130 }, { "TERM", "INT", 143 } };
    for (const auto& [first, second, status] : rows) {
        const Outcome outcome = run(replaced(replaced(script, "FIRST", first), "SECOND", second));
        EXPECT_EQ(outcome.out, "StopFcn\n");
        EXPECT_EQ(outcome.err, "tovrin: interrupted again, leaving at once\n");
        EXPECT_EQ(outcome.status, status);
    }
}

TEST_F(SignalTest, AHangUpThatTheProgramIsToldToIgnoreIsIgnored)
{
    write("script.lua", "os.execute('kill -HUP $PPID') pause(0.05) print('still there')");
    const Outcome outcome = shell("trap '' HUP; exec \"$TOVRIN\" run script.lua");

    EXPECT_EQ(outcome.out, "still there\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(SignalTest, ControlCEndsAScriptThatRunsOneProgramAfterTheOther)
{
    const Outcome outcome
        = runAndInterrupt("print('ready') while true do os.execute('sleep 0.2') end", { "ready" });

    EXPECT_EQ(outcome.out, "ready\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 130);
}

TEST_F(SignalTest, AProgramThatEndsByControlCInterruptsTheScript)
{
    for (const char* const signal : { "INT", "QUIT" }) {
        const std::string shell = std::string("'kill -") + signal + " $$'";
        expectEnd("os.execute(" + shell + ") print('not reached')", "StopFcn\n", 130);
        expectEnd("pcall(os.execute, " + shell + ") print('not reached')", "StopFcn\n", 130);
        expectEnd("io.popen(" + shell + "):close() print('not reached')", "StopFcn\n", 130);
        expectEnd("os.execute(" + shell + ")", "StopFcn\n", 130);
    }
}

TEST_F(SignalTest, ACallbackWhoseProgramEndsByControlCIsNoError)
{
    expectEnd(R"(
timer {
  ExecutionMode = "FixedRate", Period = 0.001, TimerFcn = function() os.execute("kill -INT $$") end,
  ErrorFcn = function() print("ErrorFcn") end,
}:start()
)",
        "StopFcn\n", 130);
}

TEST_F(SignalTest, AProgramThatDoesNotEndWithTheScriptIsEnded)
{
    // Only tovrin is told, as a supervisor does it.
    const auto begin = std::chrono::steady_clock::now();
    expectEnd("os.execute('kill -TERM $PPID; exec sleep 50') print('not reached')", "StopFcn\n", 143);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(40));
}

TEST_F(SignalTest, AProgramMayTidyUpBeforeItIsEnded)
{
    expectEnd("os.execute('trap \"sleep 0.2; echo tidy; exit 0\" INT; kill -INT $PPID $$; sleep 0.1') print('not "
              "reached')",
        "tidy\nStopFcn\n", 130);
}

TEST_F(SignalTest, TheResultsOfProgramsAreThoseOfLua)
{
    const Outcome outcome = run(R"(
print(os.execute())
print(os.execute("exit 0"))
print(os.execute("exit 3"))
print(os.execute("kill -TERM $$"))
print(os.execute("exec /nowhere/nothing 2>/dev/null"))
print(pcall(os.execute, {}))
local lines = io.popen("echo one; echo two")
print(lines:read("a"), lines:close())
print(io.popen("exit 5"):close())
print(io.popen("kill -TERM $$"):close())
local into = io.popen("cat; exit 4", "w")
into:write("into\n")
print(into:close())
print(pcall(io.popen, "true", "x"))
print(io.type(into), pcall(into.close, into))
print(select("#", io.lines("script.lua")))
)");

    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out,
        "true\n"
        "true\texit\t0\n"
        "nil\texit\t3\n"
        "nil\tsignal\t15\n"
        "nil\texit\t127\n"
        "false\tbad argument #1 to 'os.execute' (string expected, got table)\n"
        "one\ntwo\n\ttrue\texit\t0\n"
        "nil\texit\t5\n"
        "nil\tsignal\t15\n"
        "into\n"
        "nil\texit\t4\n"
        "false\tbad argument #2 to 'io.popen' (invalid mode)\n"
        "closed file\tfalse\tattempt to use a closed file\n"
        "4\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(SignalTest, ATimerWhoseCallbackRunsProgramsIsStoppedByControlC)
{
    const Outcome outcome = runAndInterrupt(R"(
timer {
  ExecutionMode = "FixedRate", BusyMode = "Drop", Period = 0.001,
  TimerFcn = function() os.execute("echo ready; sleep 0.1") end,
  StopFcn = function() print("StopFcn") end,
}:start()
)",
        { "ready" });

    EXPECT_EQ(lines(outcome.out).back(), "StopFcn");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 130);
}

} // namespace

} // namespace scripts
