#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// Output that cannot be written.
class OutputTest : public ScriptTest { };

TEST_F(OutputTest, ALogFileThatTakesNoRecordIsToldOfOnceAndTheStatusIsOne)
{
    const Outcome outcome = run("timer { TimerFcn = function() print('TimerFcn') end }:start()",
        { "--log", "tovrintimer::workHandler=4", "--log-file", "/dev/full" });

    EXPECT_EQ(outcome.out, "TimerFcn\n");
    EXPECT_EQ(outcome.err,
        "tovrin: cannot write the log file \"/dev/full\": No space left on device; records are lost\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(OutputTest, ALogFileThatIsGivenNoRecordIsNotMissed)
{
    const Outcome outcome = run("print('done')", { "--log-file", "/dev/full" });

    EXPECT_EQ(outcome.out, "done\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(OutputTest, RecordsThatStandardErrorDoesNotTakeMakeTheStatusOne)
{
    write("script.lua", "timer { TimerFcn = function() print('TimerFcn') end }:start()");
    const Outcome outcome = shell("exec \"$TOVRIN\" run --log tovrintimer::workHandler=4 script.lua 2>/dev/full");

    EXPECT_EQ(outcome.out, "TimerFcn\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(OutputTest, StandardOutputThatCannotBeWrittenIsToldOfOnceAndTheStatusIsOne)
{
    const std::string message = "tovrin: standard output cannot be written: No space left on device\n";
    const std::string longLine = "print(('x'):rep(100000))";
    for (const std::string& script :
        { std::string("print('one') print('two')"), std::string("io.write('no end of line')"), longLine }) {
        write("script.lua", script);
        const Outcome outcome = shell("exec \"$TOVRIN\" run script.lua >/dev/full");
        EXPECT_EQ(outcome.err, message) << script;
        EXPECT_EQ(outcome.status, 1) << script;
    }

    write("script.lua", "print('x')");
    EXPECT_EQ(shell("exec \"$TOVRIN\" run script.lua >&-").err,
        "tovrin: standard output cannot be written: Bad file descriptor\n");
    write("script.lua", "");
    EXPECT_EQ(shell("exec \"$TOVRIN\" run script.lua >&-").status, 0);
}

TEST_F(OutputTest, AStatusThatTellsMoreIsKept)
{
    write("script.lua", "print('x') os.exit(7)");

    EXPECT_EQ(shell("exec \"$TOVRIN\" run script.lua >/dev/full").status, 7);
}

TEST_F(OutputTest, AReaderThatHasGoneEndsTheProgramAsItEndsOthers)
{
    write("script.lua", "print('first') pause(0.2) while true do print('more') end");
    const Outcome outcome = shell("{ \"$TOVRIN\" run script.lua; echo \"status $?\" >&2; } | head -n 1");

    EXPECT_EQ(outcome.out, "first\n");
    EXPECT_EQ(linesWith(outcome.err, "status"), Words { "status 141" }); // 128 and SIGPIPE
    EXPECT_EQ(linesWith(outcome.err, "tovrin: "), Words {});
}

TEST_F(OutputTest, WhereTheSignalOfAGoneReaderIsIgnoredItIsAnErrorLikeAnyOther)
{
    write("script.lua", "print('first') pause(0.2) for i = 1, 100 do print('more') end");
    const Outcome outcome
        = shell("trap '' PIPE; { \"$TOVRIN\" run script.lua; echo \"status $?\" >&2; } | head -n 1");

    EXPECT_EQ(outcome.out, "first\n");
    EXPECT_EQ(outcome.err, "tovrin: standard output cannot be written: Broken pipe\nstatus 1\n");
}

} // namespace

} // namespace scripts
