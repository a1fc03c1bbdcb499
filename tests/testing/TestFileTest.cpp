#include "tests/testing/TestFileFixture.hpp"

namespace testing_tests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class TestFileTest : public TestFileFixture {
protected:
    std::vector<std::string> names(const std::string& text)
    {
        std::vector<std::string> all;
        for (const auto& test : list(text).tests) {
            all.push_back(test.name + " " + std::to_string(test.line));
        }
        return all;
    }
};

TEST_F(TestFileTest, TestsAreListedInTheOrderOfTheFileAndNotRun)
{
    EXPECT_THAT(names("test('b', error)\n\ntest('a', error)\nfor i = 1, 2 do test('t' .. i, error) end\n"),
        ElementsAre("b 1", "a 3", "t1 4", "t2 4"));
}

TEST_F(TestFileTest, AFileThatFailsOrHasNoTestsHasAnError)
{
    EXPECT_THAT(list("test('a', error)\nboom()").error,
        StartsWith("t.lua:2: attempt to call a nil value (global 'boom')\nstack traceback:\n\t"));
    EXPECT_EQ(list("test(").error, "t.lua:1: unexpected symbol near <eof>");
    EXPECT_EQ(list("").error, "there is no test in this file: test(\"name\", function() ... end) makes one");
    EXPECT_THAT(list("test('a', error)\nboom()").tests, IsEmpty());
    EXPECT_THAT(tovrinhost::listTests("no/such/file.lua", m_world.world()).error,
        HasSubstr("cannot open no/such/file.lua"));
}

TEST_F(TestFileTest, WhatIsNoTestIsRefused)
{
    EXPECT_THAT(list("test('a', error)\ntest('b', error)\ntest('a', error)").error,
        StartsWith("t.lua:3: test \"a\": there is one of this name in line 1 already"));
    EXPECT_THAT(list("test('', error)").error,
        StartsWith("t.lua:1: test: the name is \"\", but must be a string that is not empty"));
    EXPECT_THAT(list("test(1, error)").error, StartsWith("t.lua:1: test: the name is 1, but must be a string"));
    EXPECT_THAT(list("test('a')").error,
        StartsWith("t.lua:1: test \"a\": what is to be run is nothing, but must be a function"));
    EXPECT_THAT(check("test('b', error)"),
        StartsWith("t.lua:1: test: tests are declared while their file is loaded, not within one of them"));
}

TEST_F(TestFileTest, OnlyTheFunctionOfTheTestIsRun)
{
    EXPECT_EQ(run("test('a', error)\ntest('t', function() end)\ntest('b', error)"), "");
}

TEST_F(TestFileTest, ATestSeesNothingOfAnotherOne)
{
    EXPECT_EQ(
        check("expect(leftOver):toBeNil() expect(#timers()):toBe(0) leftOver = timer { TimerFcn = print }"), "");
    EXPECT_EQ(check("expect(leftOver):toBeNil() expect(#timers()):toBe(0)"), "");
}

TEST_F(TestFileTest, ATestThatIsNotDeclaredAgainIsNotPassedOver)
{
    EXPECT_EQ(run("test('other', error)"), "the file has not declared this test again");
}

TEST_F(TestFileTest, AnErrorIsToldWithItsTraceback)
{
    EXPECT_THAT(check("local x = nil\nx.y = 1"),
        StartsWith("t.lua:2: attempt to index a nil value (local 'x')\nstack traceback:\n\t"));
}

TEST_F(TestFileTest, AnErrorOfACallbackSpeaksAgainstTheTest)
{
    const std::string fails = "local t = timer { Name = 'x', TimerFcn = function() error('boom') end }:start() ";
    EXPECT_THAT(
        check(fails + "t:wait()"), StartsWith("error in TimerFcn of timer \"x\": t.lua:1: boom\nstack trace"));
    EXPECT_EQ(check(fails + "t:wait() expectError('boom')"), "");
    EXPECT_EQ(check("expectError() " + fails + "t:wait()"), "");
    EXPECT_EQ(check("expectError('boom')"), "t.lua:1: expectError: no callback has raised \"boom\"");
    EXPECT_THAT(check("expectError(1)"), StartsWith("t.lua:1: expectError: the text is 1, but must be a string"));
}

TEST_F(TestFileTest, AnExpectationOfACallbackThatDoesNotHoldIsAnErrorOfIt)
{
    EXPECT_EQ(check("after(0, function() expect(1):toBe(2) end):wait()"),
        "error in TimerFcn of timer \"timer-1\": t.lua:1: toBe does not hold\n    expected: 2\n    actual:   1");
}

TEST_F(TestFileTest, AnErrorOfACallbackAtTheVeryEndCounts)
{
    EXPECT_THAT(check("timer { Name = 'x', StartDelay = 60, TimerFcn = print, "
                      "StopFcn = function() error('boom') end }:start()"),
        testing::AllOf(HasSubstr("the test leaves running: timer \"x\""),
            HasSubstr("StopFcn of timer \"x\": t.lua:1: boom")));
}

TEST_F(TestFileTest, ATimerThatIsLeftRunningSpeaksAgainstTheTest)
{
    EXPECT_EQ(check("after(60, print) timer { Name = 'x', StartDelay = 60, TimerFcn = print }:start()"),
        "the test leaves running: timer \"timer-1\", timer \"x\"");
    EXPECT_EQ(check("after(60, print):stop()"), "");
    EXPECT_EQ(check("timer { TimerFcn = print }"), "");
}

TEST_F(TestFileTest, ACallOfExitSpeaksAgainstTheTest)
{
    EXPECT_THAT(check("os.exit(0)"), StartsWith("t.lua:1: os.exit: a test must not end the program\nstack"));
    EXPECT_EQ(check("pcall(os.exit)"), "t.lua:1: os.exit was called");
}

TEST_F(TestFileTest, WhatIsWrongWithTheWorldSpeaksAgainstTheTest)
{
    m_world.endsWith([](std::uint64_t) { return "deadlock: everybody waits"; });

    EXPECT_EQ(check(""), "deadlock: everybody waits");
    EXPECT_EQ(list("test('a', error)").error, "deadlock: everybody waits");
}

TEST_F(TestFileTest, ModulesBesideTheFileAreFound)
{
    const std::string module = std::filesystem::path(path()).stem().string();
    EXPECT_EQ(
        run("if ... then return 42 end\ntest('t', function() expect(require('" + module + "')):toBe(42) end)"),
        "");
}

} // namespace

} // namespace testing_tests
