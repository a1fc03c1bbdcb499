#include "tests/shell/linux/ShellTest.hpp"

#include <csignal>

namespace shell_tests {

namespace {

using testing::ElementsAre;

using JobControlTest = ShellTest;

TEST_F(JobControlTest, CtrlZGivesTheTerminalBackAndGoingOnShowsTheInputAgain)
{
    ShellProgram shell(folder(), {});
    EXPECT_FALSE(shell.isTerminalAsUsual());
    shell.type("1 + 2\002\002"); // the cursor goes back
    EXPECT_TRUE(shell.waitFor([&] { return shell.cursorRow() == "> 1 + 2" && shell.cursorColumn() == 5; }));
    shell.type("\032");
    EXPECT_TRUE(shell.waitUntilStopped());
    EXPECT_TRUE(shell.isTerminalAsUsual());
    EXPECT_TRUE(shell.waitForCursorRow(""));
    shell.signal(SIGCONT);
    EXPECT_TRUE(shell.waitFor([&] { return shell.cursorRow() == "> 1 + 2" && shell.cursorColumn() == 5; }));
    EXPECT_FALSE(shell.isTerminalAsUsual());
    shell.enter("");
    EXPECT_THAT(below(shell), ElementsAre("> 1 + 2", "3", ">"));
}

TEST_F(JobControlTest, AShellThatWasStoppedFromOutsideTakesTheTerminalAgain)
{
    ShellProgram shell(folder(), {});
    shell.type("1 + 2");
    EXPECT_TRUE(shell.waitForCursorRow("> 1 + 2"));
    shell.signal(SIGSTOP);
    EXPECT_TRUE(shell.waitUntilStopped());
    shell.makeTerminalAsUsual();
    shell.signal(SIGCONT);
    EXPECT_TRUE(shell.waitFor([&] { return !shell.isTerminalAsUsual(); }));
    shell.enter(" + 3");
    EXPECT_THAT(below(shell), ElementsAre("> 1 + 2 + 3", "6", ">"));
}

TEST_F(JobControlTest, AChunkIsSuspendedAndGoesOn)
{
    ShellProgram shell(folder(), {});
    shell.type("print('begins') pause(0.3) print('ends')\r");
    EXPECT_TRUE(shell.waitForRow("begins"));
    shell.signal(SIGTSTP);
    EXPECT_TRUE(shell.waitUntilStopped());
    shell.signal(SIGCONT);
    EXPECT_TRUE(shell.waitForRow("ends"));
    EXPECT_TRUE(shell.waitForCursorRow(">"));
}

TEST_F(JobControlTest, AnotherSizeDrawsTheInputAnewAndLosesNoOutput)
{
    ShellProgram shell(folder(), {});
    shell.enter("for i = 1, 5 do print('line', i) end");
    const std::string input = "x = '" + std::string(60, 'a') + "'";
    shell.type(input);
    EXPECT_TRUE(shell.waitForCursorRow("> " + input));
    shell.resize(40, 24);
    EXPECT_TRUE(shell.waitForCursorRow(std::string(27, 'a') + "'"));
    shell.resize(100, 24);
    EXPECT_TRUE(shell.waitForCursorRow("> " + input));
    shell.enter("");
    shell.enter("#x");
    for (int i = 1; i <= 5; ++i) {
        EXPECT_TRUE(shell.has("line    " + std::to_string(i)));
    }
    EXPECT_TRUE(shell.has("60"));
}

TEST_F(JobControlTest, ATerminalThatGoesAwayStopsTimersInOrder)
{
    ShellProgram shell(folder(), {});
    shell.enter(
        "for i = 1, 2 do timer { Name = 't' .. i, StartDelay = 600, TimerFcn = print, StopFcn = function(t)"
        " local f = io.open('stopped', 'a') f:write(t.Name, '\\n') f:close() print('nobody sees it') end "
        "}:start() end");
    shell.hangUp();
    shell.signal(SIGHUP); // as it may come more than once
    EXPECT_EQ(shell.wait(), 129);
    EXPECT_EQ(read("stopped"), "t1\nt2\n");
}

TEST_F(JobControlTest, SigtermStopsTimersAndGivesTheTerminalBack)
{
    ShellProgram shell(folder(), {});
    shell.enter("timer { StartDelay = 600, TimerFcn = print, StopFcn = function() print('stopped') end }:start()");
    shell.type("half of it");
    shell.signal(SIGTERM);
    EXPECT_EQ(shell.wait(), 143);
    EXPECT_TRUE(shell.has("stopped"));
    EXPECT_TRUE(shell.isTerminalAsUsual());
}

} // namespace

} // namespace shell_tests
