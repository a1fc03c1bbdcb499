#include "embedded_host/testing/TestRun.hpp"

#include "tests/testing/TestFileFixture.hpp"

#include <regex>
#include <sstream>

namespace testing_tests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tovrinhost::TestOptions;

class TestRunTest : public TestFileFixture {
protected:
    struct Told {
        int status;
        std::string output; // with N for the milliseconds
    };

    Told runAll(const std::string& text, TestOptions options = {})
    {
        writeFile(text);
        options.files = { path() };
        return runFiles(options);
    }

    Told runFiles(const TestOptions& options)
    {
        std::ostringstream output;
        const int status = tovrinhost::runTests(options, m_world.world(), output);
        return { status, std::regex_replace(shortened(output.str()), std::regex("[0-9]+\\.[0-9] ms"), "N ms") };
    }
};

const std::string good = "test('good', function() end)\n";
const std::string bad = "test('bad', function() expect(1):toBe(2) end)\n";

TEST_F(TestRunTest, ARowForEachTestAndTheirSum)
{
    const Told told = runAll(good + bad);

    EXPECT_EQ(told.output,
        "t.lua\n"
        "  ok      good (N ms)\n"
        "  FAILED  bad (N ms), seed 0\n"
        "      t.lua:2: toBe does not hold\n"
        "          expected: 2\n"
        "          actual:   1\n"
        "2 tests, 1 failed (N ms)\n");
    EXPECT_EQ(told.status, 1);
    EXPECT_EQ(runAll(good).output, "t.lua\n  ok      good (N ms)\n1 test, 0 failed (N ms)\n");
    EXPECT_EQ(runAll(good).status, 0);
}

TEST_F(TestRunTest, AFileWithoutTestsHasFailedAndTheOthersAreRun)
{
    writeFile(good);
    const Told told = runFiles({ .files = { "no/such.lua", path() } });

    EXPECT_EQ(told.output,
        "no/such.lua\n"
        "  FAILED  to load\n"
        "      cannot open no/such.lua: No such file or directory\n"
        "t.lua\n"
        "  ok      good (N ms)\n"
        "1 test, 0 failed, 1 file without tests (N ms)\n");
    EXPECT_EQ(told.status, 1);
}

TEST_F(TestRunTest, AFilterLeavesTheOthersOut)
{
    EXPECT_EQ(
        runAll(good + bad, { .filter = "oo" }).output, "t.lua\n  ok      good (N ms)\n1 test, 0 failed (N ms)\n");
}

TEST_F(TestRunTest, AFilterThatFitsNothingIsAnError)
{
    writeFile(good);
    std::ostringstream output;
    try {
        tovrinhost::runTests({ .files = { path() }, .filter = "x\n" }, m_world.world(), output);
        ADD_FAILURE() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "no test has a name that contains \"x\\n\"");
    }
    EXPECT_EQ(output.str(), "");
}

TEST_F(TestRunTest, ATestIsRunUnderOneSeedAfterTheOtherUntilItFails)
{
    runAll(good, { .seeds = 3 });
    EXPECT_THAT(m_world.seeds(), ElementsAre(0U, 0U, 1U, 2U)); // the first one lists the tests

    m_world.endsWith([](std::uint64_t seed) { return seed == 1 ? "deadlock" : ""; });
    const Told told = runAll(good, { .seeds = 3 });
    EXPECT_THAT(told.output, HasSubstr("  FAILED  good (N ms), seed 1\n      deadlock\n"));
    EXPECT_THAT(m_world.seeds(), ElementsAre(0U, 0U, 1U, 2U, 0U, 0U, 1U));
}

TEST_F(TestRunTest, ASingleSeedIsRunAlone)
{
    runAll(good, { .firstSeed = 7 });
    EXPECT_THAT(m_world.seeds(), ElementsAre(0U, 7U));
}

TEST_F(TestRunTest, AListHasWhereTestsStandAndRunsNone)
{
    const Told told = runAll(good + bad, { .onlyLists = true });

    EXPECT_EQ(told.output, "t.lua:1: good\nt.lua:2: bad\n");
    EXPECT_EQ(told.status, 0);
    EXPECT_EQ(runAll("", { .onlyLists = true }).status, 1);
}

TEST_F(TestRunTest, NoNameForgesALine)
{
    EXPECT_THAT(runAll("test('a\\n  ok b', function() end)").output, HasSubstr("  ok      a\\n  ok b (N ms)\n"));
}

TEST_F(TestRunTest, AReportThatCannotBeWrittenIsAnErrorBeforeAnyTestIsRun)
{
    EXPECT_THROW(runAll(good, { .junitFile = path() + "/no/report.xml" }), std::system_error);
    EXPECT_THAT(m_world.seeds(), ElementsAre());
}

TEST_F(TestRunTest, AReportIsWritten)
{
    const std::string report = path() + ".xml";
    runAll(good + bad, { .junitFile = report });
    std::ostringstream text;
    text << std::ifstream(report).rdbuf();
    std::filesystem::remove(report);

    EXPECT_THAT(text.str(), HasSubstr("<testsuites tests=\"2\" failures=\"1\" errors=\"0\" time=\""));
    EXPECT_THAT(text.str(), HasSubstr("</testsuites>\n"));
}

} // namespace

} // namespace testing_tests
