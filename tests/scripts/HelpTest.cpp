#include "tests/scripts/ReferenceExamples.hpp"
#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class HelpTest : public ScriptTest {
protected:
    std::string help(const std::string& what)
    {
        const Outcome outcome = run("help(" + what + ")");
        EXPECT_EQ(outcome.err, "") << what;
        return outcome.out;
    }
};

TEST_F(HelpTest, WithoutAWordItIsAnOverviewOfAll)
{
    const std::string overview = "\n" + help("");

    for (const auto& entry : reference()) {
        EXPECT_THAT(overview, HasSubstr((entry.isSection() ? "\n" : "   ") + std::string(entry.heading)));
    }
}

TEST_F(HelpTest, AnEntryIsFoundByItsNameOrAPartOfIt)
{
    const std::string remove = help("'t:delete'");
    EXPECT_THAT(remove, StartsWith("t:delete()\n\nStops the timer"));
    EXPECT_EQ(help("'delete'"), remove);
    EXPECT_EQ(help("'event.Due'"), help("'Due'"));
    EXPECT_EQ(help("'--log-file'"), help("'log-file'"));
    EXPECT_THAT(help("'--output'"), testing::EndsWith(help("'-o'"))); // behind another command's
    EXPECT_THAT(help("'--help'"), HasSubstr("\n    tovrin top --help | head -n 1\n"));
}

TEST_F(HelpTest, ASectionTellsWhatIsInIt)
{
    EXPECT_THAT(help("'Busy modes'"), HasSubstr("\n\n    Drop   Queue   Error\n"));
    EXPECT_THAT(help("'Exit status'"), HasSubstr("\n| 2 | wrong usage"));
}

TEST_F(HelpTest, AFunctionAndATimerAreFoundByThemselves)
{
    EXPECT_EQ(help("pause"), help("'pause'"));
    EXPECT_EQ(help("os.exit"), help("'os.exit'"));
    EXPECT_THAT(help("timer { TimerFcn = print }"), HasSubstr("\nMethods\n    t:start()   "));
    EXPECT_EQ(help("function() end"), "There is no help for this function; help() tells what there is.\n");
}

TEST_F(HelpTest, AnUnknownWordIsToldWithTheNearest)
{
    EXPECT_EQ(help("'Periode'"),
        "There is no help for \"Periode\"; did you mean \"Period\"? help() tells what there is.\n");
    EXPECT_EQ(help("'a\\nb'"), "There is no help for \"a\\nb\"; help() tells what there is.\n");
}

TEST_F(HelpTest, WhatIsNoWordIsRefused)
{
    EXPECT_EQ(run("print(pcall(help, 5))").out,
        "false\thelp: what is asked for is 5, but must be a name, a function or a timer\n");
    EXPECT_EQ(run("print(pcall(help, {}))").out,
        "false\thelp: what is asked for is a table, but must be a name, a function or a timer\n");
}

} // namespace

} // namespace scripts
