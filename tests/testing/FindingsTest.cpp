#include "embedded_host/testing/Findings.hpp"

#include "embedded_host/engine/ScriptError.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace testing_tests {

namespace {

using tovrinhost::Findings;
using tovrinhost::ScriptError;

TEST(FindingsTest, NothingSpeaksAgainstATestOfWhichNothingWasTold)
{
    EXPECT_EQ(Findings().text(), "");
}

TEST(FindingsTest, AnErrorIsToldWithItsTraceback)
{
    Findings findings;
    findings.failed(ScriptError("a:1: boom", "stack traceback:\n\ta:1: in main chunk"));
    findings.callbackFailed("TimerFcn of timer \"x\"", { "a:2: bang", "stack traceback:\n\ta:2" });

    EXPECT_EQ(findings.text(),
        "a:1: boom\nstack traceback:\n\ta:1: in main chunk\n"
        "error in TimerFcn of timer \"x\": a:2: bang\nstack traceback:\n\ta:2");
}

TEST(FindingsTest, AnExpectationIsToldWithoutATraceback)
{
    Findings findings;
    findings.expectationFails("a:1: no\n    expected: 1");
    findings.failed(ScriptError("a:1: no\n    expected: 1", "stack traceback:\n\ta:1"));

    EXPECT_EQ(findings.text(), "a:1: no\n    expected: 1");
}

TEST(FindingsTest, NoTextCanForgeAnotherLine)
{
    Findings findings;
    findings.failed(std::runtime_error("a\nb\x1b[2J"));
    findings.callbackFailed("TimerFcn of timer \"x\ny\"", { "c\nd", "" });

    EXPECT_EQ(findings.text(), "a\\nb\\x1b[2J\nerror in TimerFcn of timer \"x\\ny\": c\\nd");
}

TEST(FindingsTest, EachExpectedErrorTakesOneOfACallbackBeforeOrAfterwards)
{
    Findings findings;
    findings.callbackFailed("one", { "first boom", "" });
    findings.expectError("a:1: ", "boom");
    EXPECT_EQ(findings.text(), "");

    findings.callbackFailed("two", { "second boom", "" });
    EXPECT_EQ(findings.text(), "error in two: second boom");

    findings.expectError("a:2: ", "second");
    EXPECT_EQ(findings.text(), "");

    findings.expectError("a:3: ", "boom");
    EXPECT_EQ(findings.text(), "a:3: expectError: no callback has raised \"boom\"");
}

TEST(FindingsTest, AnExpectedErrorThatDoesNotComeSpeaksAgainstATestThatIsFineOtherwise)
{
    Findings findings;
    findings.expectError("a:1: ", "bo\nom");
    EXPECT_EQ(findings.text(), "a:1: expectError: no callback has raised \"bo\\nom\"");
    findings.expectError("a:2: ", "");
    EXPECT_EQ(findings.text(),
        "a:1: expectError: no callback has raised \"bo\\nom\"\n"
        "a:2: expectError: no callback has raised an error");

    findings.failed(std::runtime_error("a:3: boom")); // of the test itself: of no callback
    EXPECT_EQ(findings.text(), "a:3: boom");
}

TEST(FindingsTest, ATestThatWouldWaitForEverTellsWhereAndWhatWaitsAndNothingElse)
{
    Findings findings;
    findings.nothingGoesOn("a:1: ", "  main: wait\n  interpreter: wait");
    findings.failed(ScriptError("interrupted", ""));

    EXPECT_EQ(findings.text(),
        "a:1: deadlock: each thread waits, and nothing is ever due\n  main: wait\n  interpreter: wait");
}

TEST(FindingsTest, ACallOfExitCountsThoughItsErrorWasCaught)
{
    Findings findings;
    findings.exitWasCalled("a:1: ");
    EXPECT_EQ(findings.text(), "a:1: os.exit was called");
    findings.failed(std::runtime_error("a:1: os.exit: a test must not end the program"));
    EXPECT_EQ(findings.text(), "a:1: os.exit: a test must not end the program");
}

} // namespace

} // namespace testing_tests
