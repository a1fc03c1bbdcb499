#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// What is not to be had on Windows says so, in place of doing half of it.
class StatusRefusalTest : public ScriptTest { };

constexpr const char* refusal
    = "tovrin: --status, timers and top are not to be had on Windows; Ctrl-Break has tovrin "
      "run print a table of its timers\n";

TEST_F(StatusRefusalTest, AScriptThatIsToServeItsStatusIsNotRun)
{
    const Outcome outcome = run("print 'runs'", { "--status" });

    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, refusal);
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(StatusRefusalTest, NobodyIsAsked)
{
    for (const std::vector<std::string>& words : { std::vector<std::string> { "timers" }, { "timers", "1" },
             { "timers", "--json" }, { "top" }, { "top", "1" } }) {
        const Outcome outcome = tovrin(words);
        EXPECT_EQ(outcome.out, "") << words.back();
        EXPECT_EQ(outcome.err, refusal) << words.back();
        EXPECT_EQ(outcome.status, 1) << words.back();
    }
}

} // namespace

} // namespace scripts
