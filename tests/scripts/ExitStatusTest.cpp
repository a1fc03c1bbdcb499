#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// A script, and the status that it ends with.
struct Row {
    std::string script;
    int status;
};

const std::string fails = "timer { TimerFcn = function() error('boom') end }:start() pause(0.05) ";

/// Stopped as the script ends, however it ends.
std::string withStopFcn(const std::string& body)
{
    return "timer { StartDelay = 60, TimerFcn = print, StopFcn = function() " + body + " end }:start() ";
}

/// The table of statuses in docs/language.md, row by row.
class ExitStatusTest : public RehearsedTest {
protected:
    void expectStatuses(const std::vector<Row>& rows)
    {
        for (const Row& row : rows) {
            EXPECT_EQ(run(row.script).status, row.status) << row.script;
        }
    }
};

TEST_F(ExitStatusTest, ZeroWhereTheScriptAndEveryCallbackSucceeded)
{
    expectStatuses({
        { "", 0 },
        { "os.exit()", 0 },
        { "os.exit(0)", 0 },
        { "os.exit(true)", 0 },
        { "timer { TimerFcn = function() os.exit(0) end }:start()", 0 },
        { withStopFcn("os.exit(0)") + "os.exit(true)", 0 },
    });
}

TEST_F(ExitStatusTest, OneWhereAnythingFailedWhateverTheScriptCallsSuccess)
{
    expectStatuses({
        { "error('boom')", 1 },
        { fails, 1 },
        { fails + "os.exit()", 1 },
        { fails + "os.exit(0)", 1 },
        { fails + "os.exit(true)", 1 },
        { withStopFcn("error('boom')") + "os.exit(0)", 1 },
        { withStopFcn("os.exit(0)") + "error('boom')", 1 },
        { "os.exit(false)", 1 },
    });
}

TEST_F(ExitStatusTest, TheCodeThatTheScriptGivesWhereverItDoes)
{
    expectStatuses({
        { "os.exit(7)", 7 },
        { "os.exit(255)", 255 },
        { "timer { TimerFcn = function() os.exit(7) end }:start()", 7 },
        { withStopFcn("os.exit(7)") + "os.exit()", 7 },
        { fails + "os.exit(7)", 7 },
        { withStopFcn("os.exit(7)") + "error('boom')", 7 },
        { withStopFcn("error('boom')") + "os.exit(7)", 7 },
    });
}

TEST_F(ExitStatusTest, TheLatestCodeCounts)
{
    expectStatuses({
        { withStopFcn("os.exit(8)") + "os.exit(7)", 8 },
        { withStopFcn("os.exit(0)") + "os.exit(7)", 0 },
        { withStopFcn("os.exit(0)") + fails + "os.exit(7)", 1 },
    });
}

TEST_F(ExitStatusTest, ACodeThatNoStatusCanTellIsRefused)
{
    const Outcome outcome = run(R"(
for _, code in ipairs { 256, -1, math.maxinteger, math.mininteger } do
  print(pcall(os.exit, code))
end
print(pcall(os.exit, 1.5))
print(pcall(os.exit, "x"))
)");

    EXPECT_EQ(outcome.out,
        "false\tos.exit: the code is 256, but must be a whole number from 0 to 255, or a boolean\n"
        "false\tos.exit: the code is -1, but must be a whole number from 0 to 255, or a boolean\n"
        "false\tos.exit: the code is 9223372036854775807, but must be a whole number from 0 to 255, or a boolean\n"
        "false\tos.exit: the code is -9223372036854775808, but must be a whole number from 0 to 255, or a "
        "boolean\n"
        "false\tos.exit: the code is 1.5, but must be a whole number from 0 to 255, or a boolean\n"
        "false\tos.exit: the code is \"x\", but must be a whole number from 0 to 255, or a boolean\n");
    EXPECT_EQ(outcome.status, 0);
    // It fails where it stands.
    EXPECT_EQ(run("os.exit(256)").status, 1);
}

TEST_F(ExitStatusTest, ARefusedCodeDoesNotTakeTheNextInterruption)
{
    EXPECT_EQ(run("pcall(os.exit, 256) os.exit(7)").status, 7);
}

} // namespace

} // namespace scripts
