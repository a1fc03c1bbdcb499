#include "tests/shell/linux/ShellTest.hpp"

#include <csignal>

namespace shell_tests {

namespace {

using testing::ElementsAre;

using HistoryOnTerminalTest = ShellTest;

TEST_F(HistoryOnTerminalTest, WhatWasTypedIsThereInTheNextShellWhateverTheEnd)
{
    {
        ShellProgram shell(folder(), {});
        shell.enter("first = 1");
        shell.type("if first then\r");
        shell.enter("print(first) end");
        shell.signal(SIGKILL);
        EXPECT_EQ(shell.wait(), 128 + SIGKILL);
    }
    EXPECT_EQ(read(".local/state/tovrin/history"), "first = 1\nif first then\\nprint(first) end\n");
    const auto mode = std::filesystem::status(folder() + "/.local/state/tovrin/history").permissions();
    EXPECT_EQ(mode, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(std::filesystem::status(folder() + "/.local/state/tovrin").permissions(),
        std::filesystem::perms::owner_all);
    ShellProgram shell(folder(), {});
    shell.type("\033[A");
    EXPECT_TRUE(shell.waitForCursorRow(">> print(first) end"));
    shell.type("\033[A\033[A"); // over the line above
    EXPECT_TRUE(shell.waitForCursorRow("> first = 1"));
    shell.type("\033[B");
    EXPECT_TRUE(shell.waitForCursorRow(">> print(first) end"));
}

TEST_F(HistoryOnTerminalTest, CtrlRSearchesIt)
{
    ShellProgram shell(folder(), { {}, { { "XDG_STATE_HOME", folder() + "/state" } } });
    shell.enter("needle = 'found'");
    shell.enter("1");
    shell.type("\022need");
    EXPECT_TRUE(shell.waitForRow("> needle = 'found'"));
    shell.type("\033");
    shell.type("\005 .. '!'");
    EXPECT_TRUE(shell.waitForCursorRow("> needle = 'found' .. '!'"));
    shell.enter("");
    EXPECT_EQ(read("state/tovrin/history"), "needle = 'found'\n1\nneedle = 'found' .. '!'\n");
}

TEST_F(HistoryOnTerminalTest, OneThatCannotBeWrittenIsToldOnceAndTheShellGoesOn)
{
    write("blocked", "a file where a folder is asked for");
    ShellProgram shell(folder(), { {}, { { "XDG_STATE_HOME", folder() + "/blocked" } } });
    shell.enter("1");
    shell.enter("2");
    EXPECT_THAT(below(shell),
        ElementsAre("> 1", testing::StartsWith("tovrin: the history cannot be written: " + folder().substr(0, 30)),
            testing::_, "1", "> 2", "2", ">"));
}

} // namespace

} // namespace shell_tests
