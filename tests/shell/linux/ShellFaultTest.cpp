#include "tests/shell/linux/ShellTest.hpp"

namespace shell_tests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using ShellFaultTest = ShellTest;

TEST_F(ShellFaultTest, AMegabyteWithoutALineBreakIsTaken)
{
    ShellProgram shell(folder(), {});
    shell.type("x = '" + std::string(1'000'000, 'a') + "'");
    shell.enter("");
    shell.type("#x\r");
    EXPECT_TRUE(shell.waitForRow("1000000"));
}

TEST_F(ShellFaultTest, APastedMegabyteIsTaken)
{
    ShellProgram shell(folder(), {});
    shell.paste("x = '" + std::string(1'000'000, 'a') + "'");
    shell.enter("");
    shell.type("#x\r");
    EXPECT_TRUE(shell.waitForRow("1000000"));
}

TEST_F(ShellFaultTest, ATerminalThatCannotMoveItsCursorIsRefused)
{
    ShellProgram shell(folder(), { {}, { { "TERM", "dumb" } }, 100 });
    EXPECT_EQ(shell.wait(), 1);
    EXPECT_THAT(shell.rows().front(),
        testing::StartsWith(
            "tovrin: shell needs a terminal that can move its cursor; the terminal type (TERM) is \"dumb\""));
}

TEST_F(ShellFaultTest, InvalidUtf8IsShownWrittenOutAndReachesTheScriptAsItIs)
{
    ShellProgram shell(folder(), {});
    shell.type("#'\xff\xc3(\xed\xa0\x80' + #'h\xc3\xa9'");
    EXPECT_TRUE(shell.waitForCursorRow("> #'\\xff\\xc3(\\xed\\xa0\\x80' + #'h\xc3\xa9'"));
    shell.enter("");
    EXPECT_TRUE(shell.has("9"));
    EXPECT_EQ(read(".local/state/tovrin/history"), "#'\xff\xc3(\xed\xa0\x80' + #'h\xc3\xa9'\n");
}

TEST_F(ShellFaultTest, ACallbackThatErrsWhileOneTypesIsToldAndTheInputStays)
{
    ShellProgram shell(folder(), {});
    shell.enter("t = timer { Name = 'bad', StartDelay = 0.2, TimerFcn = function() error('no') end } t:start()");
    shell.type("1 + 1");
    EXPECT_TRUE(shell.waitForRow("tovrin: error in TimerFcn of timer \"bad\": input:1: no"));
    EXPECT_TRUE(shell.waitForCursorRow("> 1 + 1"));
    shell.enter("");
    const Rows rows = shell.rows();
    EXPECT_THAT(Rows(rows.end() - 3, rows.end()), ElementsAre("> 1 + 1", "2", ">"));
}

TEST_F(ShellFaultTest, AValueWhoseTextFailsIsAnErrorOfTheInput)
{
    ShellProgram shell(folder(), {});
    shell.enter("setmetatable({}, { __tostring = function() error('no text') end })");
    EXPECT_TRUE(shell.has("tovrin: error in input: input:1: no text"));
}

TEST_F(ShellFaultTest, OutputWithoutAnEndDoesNotKeepTheShellFromBeingInterrupted)
{
    ShellProgram shell(folder(), {});
    shell.type("while true do io.write('x') end\r");
    EXPECT_TRUE(shell.waitForRow(std::string(80, 'x')));
    shell.type("\003");
    EXPECT_TRUE(shell.waitForCursorRow(">"));
    shell.enter("'still here'");
    EXPECT_TRUE(shell.has("\"still here\""));
}

} // namespace

} // namespace shell_tests
