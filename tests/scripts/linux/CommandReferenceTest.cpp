#include "tests/scripts/ReferenceExamples.hpp"
#include "tests/scripts/ScriptTest.hpp"

#include <vector>

namespace scripts {

namespace {

/// Not every build has the program for virtual time, which makes plans and runs test files.
std::vector<tovrinhost::ReferenceEntry> examplesOfCommands()
{
    auto entries = entriesWithExample("sh");
    if (!TOVRIN_HAS_VIRTUAL_TIME) {
        std::erase_if(entries,
            [](const auto& entry) { return entry.section == "tovrin plan" || entry.section == "tovrin test"; });
    }
    return entries;
}

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

INSTANTIATE_TEST_SUITE_P(Language, CommandReferenceTest, testing::ValuesIn(examplesOfCommands()),
    [](const auto& entry) { return testName(entry.param); });

} // namespace

} // namespace scripts
