#include "tests/scripts/ReferenceExamples.hpp"
#include "tests/scripts/ScriptTest.hpp"

#include <regex>
#include <set>

namespace scripts {

namespace {

using tovrinhost::ReferenceEntry;

/// The examples of test files.
class TestFileExampleTest : public ScriptTest, public testing::WithParamInterface<ReferenceEntry> { };

TEST_P(TestFileExampleTest, TellsWhatStandsBelowIt)
{
    const Example example = exampleOf(GetParam(), testFile);
    write("example.lua", example.code);
    const Outcome outcome = tovrin({ "test", "example.lua" });
    EXPECT_TRUE(matches(outcome.out, example.output)) << outcome.out << "-- is expected to be --\n"
                                                      << example.output;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, example.output.find("FAILED") == std::string::npos ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Language, TestFileExampleTest, testing::ValuesIn(entriesWithExample(testFile)),
    [](const auto& entry) { return testName(entry.param); });

class TestFilesReferenceTest : public ScriptTest { };

TEST_F(TestFilesReferenceTest, HasEachWordThatTestFilesHaveBesidesAndNoOther)
{
    write("t.lua", R"lua(
test("t", function() end)
for name in pairs(_G) do print(name) end
for name in pairs(clock) do print("clock." .. name) end
local _, error = pcall(function() return expect(1).nosuchthing end)
for name in error:match("there are (.*)"):gmatch("%a+") do print((name == "never" and "x." or "x:") .. name) end
)lua");
    const auto ofTests = lines(tovrin({ "test", "--list", "t.lua" }).out);
    const auto ofScripts = lines(run("for name in pairs(_G) do print(name) end").out);
    std::multiset<std::string> there(ofTests.begin(), ofTests.end());
    for (const std::string& name : ofScripts) {
        there.erase(name);
    }
    there.erase("clock"); // its functions are told of one by one
    there.erase("t.lua:2: t");

    std::multiset<std::string> documented;
    for (const ReferenceEntry& entry : reference()) {
        if (entry.section == "Tests" && !entry.isSection()) {
            documented.insert(entry.names.begin(), entry.names.end());
        }
    }
    EXPECT_EQ(documented, there);
}

} // namespace

} // namespace scripts
