#include "tests/shell/linux/ShellTest.hpp"

#include <csignal>

namespace shell_tests {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using PromptTest = ShellTest;

TEST_F(PromptTest, ExpressionsShowTheirValuesAndStatementsDoNot)
{
    ShellProgram shell(folder(), {});
    shell.enter("1 + 1");
    shell.enter("x = _ * 21");
    shell.enter("x, 'a', nil, { 1, k = true }");
    shell.enter("_");
    EXPECT_THAT(below(shell),
        ElementsAre("> 1 + 1", "2", "> x = _ * 21", "> x, 'a', nil, { 1, k = true }",
            "42      \"a\"     nil     { 1, k = true }", "> _", "42", ">"));
}

TEST_F(PromptTest, TheProgramAloneIsAShellOnATerminal)
{
    ShellProgram shell(folder(), { {}, {}, 80, 24, false });
    shell.enter("1 + 1");
    EXPECT_THAT(below(shell), ElementsAre("> 1 + 1", "2", ">"));
}

TEST_F(PromptTest, AnUnfinishedChunkAsksForMoreAndItsLinesCanBeEdited)
{
    ShellProgram shell(folder(), {});
    shell.type("for i = 1, 2 do\rprint(j)\r");
    EXPECT_TRUE(shell.waitForCursorRow(">>"));
    shell.type("\033[A\033[C\033[C\033[C\033[C\033[C\033[C\033[C\bi"); // in the line above: j becomes i
    EXPECT_TRUE(shell.waitForCursorRow(">> print(i)"));
    shell.type("\033[B");
    EXPECT_TRUE(shell.waitForCursorRow(">>"));
    shell.enter("end");
    EXPECT_THAT(below(shell), ElementsAre("> for i = 1, 2 do", ">> print(i)", ">> end", "1", "2", ">"));
}

TEST_F(PromptTest, AnErrorIsToldAsInScriptsAndThePromptComesBack)
{
    ShellProgram shell(folder(), {});
    shell.enter("local t = nil; return t.x");
    shell.enter("x = = 1");
    EXPECT_THAT(below(shell),
        ElementsAre("> local t = nil; return t.x",
            "tovrin: error in input: input:1: attempt to index a nil value (local 't')",
            "stack traceback:", "        input:1: in main chunk", "        [C]: in ?", "> x = = 1",
            "tovrin: error in input: input:1: unexpected symbol near '='", "stack traceback:", "        [C]: in ?",
            ">"));
}

TEST_F(PromptTest, TimersFireWhileOneTypesAndAnUnfinishedLineGoesOn)
{
    ShellProgram shell(folder(), {});
    shell.enter("n = 0; t = timer { ExecutionMode = 'FixedRate', Period = 0.2, TasksToExecute = 3,"
                " TimerFcn = function() n = n + 1; io.write(n == 3 and '.\\n' or 'tick ') end }; t:start()");
    shell.type("1 + ");
    EXPECT_TRUE(shell.waitForRow("tick tick ."));
    shell.enter("1");
    const Rows rows = shell.rows();
    EXPECT_THAT(Rows(rows.end() - 4, rows.end()), ElementsAre("tick tick .", "> 1 + 1", "2", ">"));
}

TEST_F(PromptTest, CtrlCClearsTheInput)
{
    ShellProgram shell(folder(), {});
    shell.type("not wanted");
    EXPECT_TRUE(shell.waitForCursorRow("> not wanted"));
    shell.press("\003");
    shell.enter("1");
    EXPECT_THAT(below(shell), ElementsAre("> not wanted^C", "> 1", "1", ">"));
}

TEST_F(PromptTest, CtrlCEndsAChunkThatNeverYieldsAndTimersLiveOn)
{
    ShellProgram shell(folder(), {});
    shell.enter(
        "n = 0; t = timer { ExecutionMode = 'FixedRate', Period = 0.01, TimerFcn = function() n = n + 1 end }");
    shell.enter("t:start()");
    shell.type("print('begins') while true do end\r");
    EXPECT_TRUE(shell.waitForRow("begins"));
    shell.type("\003");
    EXPECT_TRUE(shell.waitForCursorRow(">"));
    EXPECT_TRUE(shell.has("^Ctovrin: interrupted"));
    shell.enter("before = n; pause(0.1); print(t.Running, n > before)");
    EXPECT_TRUE(shell.has("true    true"));
    shell.type("print('pauses') pause(1000)\r");
    EXPECT_TRUE(shell.waitForRow("pauses"));
    shell.type("\003");
    EXPECT_TRUE(shell.waitForCursorRow(">"));
    shell.enter("t.Running");
    EXPECT_TRUE(shell.has("true"));
}

TEST_F(PromptTest, CtrlCTwiceEndsACallbackThatNeverReturns)
{
    ShellProgram shell(folder(), {});
    shell.enter(
        "t = timer { TimerFcn = function() while true do local till = now() + 0.01 while now() < till do end"
        " print('alive') end end }; t:start()");
    EXPECT_TRUE(shell.waitForRow("alive"));
    // The first press is for the input: the callback goes on. Two that come at the same time are one.
    for (int presses = 1; !shell.has("> ^C"); ++presses) {
        shell.type("\003");
        const auto before = shell.rows().size();
        EXPECT_TRUE(shell.waitFor([&] { return shell.has("> ^C") || shell.rows().size() >= before + 20; }));
        EXPECT_TRUE(presses > 1 || !shell.has("> ^C"));
    }
    EXPECT_TRUE(shell.waitForCursorRow(">"));
    shell.type("'here'\r");
    EXPECT_TRUE(shell.waitForRow("\"here\""));
}

TEST_F(PromptTest, CtrlDEndsAtOnceWhereNoTimerRuns)
{
    ShellProgram shell(folder(), {});
    shell.type("\004");
    EXPECT_EQ(shell.wait(), 0);
    EXPECT_TRUE(shell.isTerminalAsUsual());
}

TEST_F(PromptTest, CtrlDAsksOnceWhileTimersRunAndThenStopsThemInOrder)
{
    ShellProgram shell(folder(), {});
    shell.enter("for i = 1, 2 do timer { Name = 't' .. i, StartDelay = 600, TimerFcn = print,"
                " StopFcn = function(t) print('stopped', t.Name) end }:start() end");
    shell.press("\004");
    EXPECT_TRUE(shell.has("tovrin: 2 timers run; Ctrl-D again stops them and ends"));
    shell.enter("1"); // what is run in between makes it ask again
    shell.press("\004");
    Rows rows = shell.rows();
    EXPECT_EQ(std::count(rows.begin(), rows.end(), "tovrin: 2 timers run; Ctrl-D again stops them and ends"), 2);
    shell.type("\004");
    EXPECT_EQ(shell.wait(), 0);
    rows = shell.rows();
    EXPECT_THAT(Rows(rows.end() - 2, rows.end()), ElementsAre("stopped t1", "stopped t2"));
}

TEST_F(PromptTest, OsExitEndsWithItsStatus)
{
    ShellProgram shell(folder(), {});
    shell.type("os.exit(7)\r");
    EXPECT_EQ(shell.wait(), 7);
    ShellProgram other(folder(), {});
    other.enter("timer { StartDelay = 0.1, TimerFcn = function() os.exit(9) end }:start()");
    other.type("half of it");
    EXPECT_EQ(other.wait(), 9);
    EXPECT_TRUE(other.isTerminalAsUsual());
}

TEST_F(PromptTest, TabCompletesAndListsWhatThereIs)
{
    ShellProgram shell(folder(), {});
    shell.enter("heartbeat = timer { Name = 'beat', TimerFcn = print }");
    shell.type("heartb\t.ExecutionM\t = \"FixedS\t");
    EXPECT_TRUE(shell.waitForCursorRow("> heartbeat.ExecutionMode = \"FixedSpacing\""));
    shell.enter("");
    shell.type("heartbeat:sta\t");
    EXPECT_TRUE(shell.waitForCursorRow("> heartbeat:sta"));
    shell.type("\t");
    EXPECT_TRUE(
        shell.waitFor([&] { return shell.rows()[shell.rows().size() - 2] == "start  startAt  statistics"; }));
    shell.type("r\t()");
    EXPECT_TRUE(shell.waitForCursorRow("> heartbeat:start()"));
}

TEST_F(PromptTest, PastedLinesAreNotRunBeforeEnterAndTheirTabsDoNotComplete)
{
    ShellProgram shell(folder(), {});
    shell.paste("print('a')\r\n\tstr\r\r = 1\rprint(str)\033");
    EXPECT_TRUE(shell.waitForCursorRow(">> print(str)^["));
    shell.type("\b");
    shell.enter("");
    EXPECT_THAT(
        below(shell), ElementsAre("> print('a')", ">>      str", ">>", ">>  = 1", ">> print(str)", "a", "1", ">"));
}

TEST_F(PromptTest, TheStartFileAndFilesAreRunFirstInOrder)
{
    write(".config/tovrin/init.lua", "print('start file')");
    write("one.lua", "print('one', arg[0])");
    write("two.lua", "error('two fails')");
    {
        ShellProgram shell(folder(), { { "one.lua", "two.lua" }, {} });
        EXPECT_THAT(below(shell),
            ElementsAre("start file", "one     one.lua", "tovrin: error in input: two.lua:1: two fails",
                "stack traceback:", "        [C]: in function 'error'", "        two.lua:1: in main chunk", ">"));
    }
    ShellProgram shell(folder(), { { "--no-init", "one.lua" }, {} });
    EXPECT_THAT(below(shell), ElementsAre("one     one.lua", ">"));
}

TEST_F(PromptTest, WhatProgramsAndTheHostWriteStandsAboveThePrompt)
{
    ShellProgram shell(folder(), {});
    shell.enter("os.execute('echo a program; echo its complaint >&2') io.stderr:write('complaint\\n')");
    EXPECT_THAT(below(shell), Contains("a program"));
    EXPECT_THAT(below(shell), Contains("its complaint"));
    EXPECT_THAT(below(shell), Contains("complaint"));
}

TEST_F(PromptTest, CtrlLClearsTheScreenAndKeepsTheInput)
{
    ShellProgram shell(folder(), {});
    shell.enter("1");
    shell.type("abc\014");
    EXPECT_TRUE(shell.waitFor([&] { return shell.rows() == Rows { "> abc" }; }));
}

} // namespace

} // namespace shell_tests
