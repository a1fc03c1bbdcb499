#include "tests/scripts/ReferenceExamples.hpp"
#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

namespace {

/// The examples of the command line, which are commands of a shell.
class CommandReferenceTest : public ScriptTest, public testing::WithParamInterface<tovrinhost::ReferenceEntry> { };

TEST_P(CommandReferenceTest, PrintsWhatStandsBelowIt)
{
    const Example example = exampleOf(GetParam(), "sh");
    if (!hasVirtualTime && example.code.find("--clock") != std::string::npos) {
        GTEST_SKIP() << "this build has no program for virtual time";
    }
    const Outcome outcome = shell("export TOVRIN\ntovrin() { \"$TOVRIN\" \"$@\"; }\n" + example.code);
    EXPECT_TRUE(matches(outcome.out, example.output)) << outcome.out << "-- is expected to be --\n"
                                                      << example.output;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

INSTANTIATE_TEST_SUITE_P(Language, CommandReferenceTest, testing::ValuesIn(entriesWithExample("sh")),
    [](const auto& entry) { return testName(entry.param); });

} // namespace

} // namespace scripts
