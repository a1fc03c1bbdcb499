#include "tests/testing/TestFileFixture.hpp"

namespace testing_tests {

namespace {

using testing::HasSubstr;

/// What a test says whose expectations do not hold.
class ExpectTest : public TestFileFixture {
protected:
    void expectHolds(const std::string& expectation) { EXPECT_EQ(check(expectation), "") << expectation; }

    /// A comparison that holds, and so fails behind `never`; and one that does not, and so holds there.
    void expectBoth(const std::string& value, const std::string& holds, const std::string& fails)
    {
        expectHolds("expect(" + value + "):" + holds);
        expectHolds("expect(" + value + ").never:" + fails);
        EXPECT_THAT(check("expect(" + value + ").never:" + holds), HasSubstr("never:")) << value << holds;
        EXPECT_THAT(check("expect(" + value + "):" + fails), HasSubstr("does not hold")) << value << fails;
    }
};

TEST_F(ExpectTest, EachComparisonHoldsOrNotAndNeverTurnsIt)
{
    expectBoth("1", "toBe(1.0)", "toBe(2)");
    expectBoth("0/0", "toBe(0/0)", "toBe(0)");
    expectBoth("nil", "toBe(nil)", "toBe(false)");
    expectBoth("'1'", "toBe('1')", "toBe(1)");
    expectBoth("{ 1, { k = 2 } }", "toEqual({ 1, { k = 2 } })", "toEqual({ 1, { k = 3 } })");
    expectBoth("{ 1 }", "toEqual({ 1 })", "toEqual({ 1, 2 })");
    expectBoth("{ 1, 2 }", "toEqual({ 1, 2 })", "toEqual({ 1 })");
    expectBoth("{ k = false }", "toEqual({ k = false })", "toEqual({})");
    expectBoth("{ 0/0 }", "toEqual({ 0/0 })", "toEqual({ 0 })");
    expectBoth("1.05", "toBeNear(1, 0.1)", "toBeNear(1, 0.01)");
    expectBoth("0.95", "toBeNear(1, 0.1)", "toBeNear(1, 0.01)");
    expectBoth("math.huge", "toBeNear(math.huge, 0)", "toBeNear(1, 1)");
    expectBoth("0/0", "toBe(0/0)", "toBeNear(1, 1)");
    expectBoth("true", "toBeTrue()", "toBeFalse()");
    expectBoth("false", "toBeFalse()", "toBeTrue()");
    expectBoth("nil", "toBeNil()", "toBeFalse()");
    expectBoth("1", "toBe(1)", "toBeTrue()");
    expectBoth("'a.c'", "toContain('.')", "toContain('a%.')");
    expectBoth("{ { 1 }, k = 2 }", "toContain({ 1 })", "toContain(1)");
    expectBoth("{ { 1 }, k = 2 }", "toContain(2)", "toContain('k')");
    expectBoth("{ 1, 2 }", "toHaveLength(2)", "toHaveLength(1)");
    expectBoth("'abc'", "toHaveLength(3)", "toHaveLength(0)");
    expectBoth("'beat 12'", "toMatch('%d+$')", "toMatch('^%d')");
    expectBoth("function() error('boom') end", "toThrow()", "toThrow('bang')");
    expectBoth("function() error('b%m') end", "toThrow('b%m')", "toThrow('b.m')");
    expectHolds("expect(function() end).never:toThrow()");
    expectBoth("2", "toBeLessThan(3)", "toBeLessThan(2)");
    expectBoth("2", "toBeGreaterThan(1)", "toBeGreaterThan(2)");
    expectBoth("2", "toBeAtMost(2)", "toBeAtMost(1)");
    expectBoth("2", "toBeAtLeast(2)", "toBeAtLeast(3)");
}

TEST_F(ExpectTest, NeverTwiceIsOnceMore)
{
    expectHolds("expect(1).never.never:toBe(1)");
}

TEST_F(ExpectTest, TablesWithinThemselvesAreCompared)
{
    expectHolds("local a, b = {}, {}; a.self, b.self = a, b; expect(a):toEqual(b)");
    EXPECT_THAT(check("local a, b = { 1 }, { 2 }; a.self, b.self = a, b; expect(a):toEqual(b)"),
        HasSubstr("expected: { 2, self = <cycle> }"));
}

TEST_F(ExpectTest, AFailureTellsWhereWhatIsExpectedAndWhatIsThere)
{
    EXPECT_EQ(
        check("expect('b'):toBe('a')"), "t.lua:1: toBe does not hold\n    expected: \"a\"\n    actual:   \"b\"");
    EXPECT_EQ(check("expect({ 1, 2 }):toEqual { 1, 3 }"),
        "t.lua:1: toEqual does not hold\n    expected: { 1, 3 }\n    actual:   { 1, 2 }");
    EXPECT_EQ(check("expect(3).never:toBe(3)"),
        "t.lua:1: never:toBe does not hold\n    expected: not 3\n    actual:   3");
    EXPECT_EQ(check("expect(1.5):toBeNear(1, 0.25)"),
        "t.lua:1: toBeNear does not hold\n    expected: 1, or at most 0.25 more or less\n    actual:   1.5");
    EXPECT_EQ(check("expect('abc'):toHaveLength(2)"),
        "t.lua:1: toHaveLength does not hold\n    expected: the length 2\n    actual:   the length 3 of \"abc\"");
    EXPECT_EQ(check("expect(function() end):toThrow()"),
        "t.lua:1: toThrow does not hold\n    expected: a function that raises an error\n"
        "    actual:   one that raises none");
    EXPECT_EQ(check("expect(function() error('boom', 0) end):toThrow('bang')"),
        "t.lua:1: toThrow does not hold\n    expected: a function that raises an error with \"bang\"\n"
        "    actual:   one that raises \"boom\"");
    EXPECT_EQ(check("expect(2):toBeLessThan(1)"),
        "t.lua:1: toBeLessThan does not hold\n    expected: a number less than 1\n    actual:   2");
    EXPECT_EQ(check("expect({ 1 }):toBe { 1 }"),
        "t.lua:1: toBe does not hold\n    expected: { 1 }\n"
        "    actual:   { 1 }, another table with the same in it; toEqual looks at what is in it");
}

TEST_F(ExpectTest, TheFirstFailureEndsTheTest)
{
    EXPECT_EQ(run("test('t', function()\nexpect(1):toBe(1)\nexpect(2):toBe(1)\nexpect(3):toBe(1)\nend)"),
        "t.lua:3: toBe does not hold\n    expected: 1\n    actual:   2");
}

TEST_F(ExpectTest, ATailCallAndAFunctionOfTheFilesHaveAPositionToo)
{
    EXPECT_THAT(
        check("local function same(a, b)\nexpect(a):toBe(b)\nend\nsame(1, 2)"), HasSubstr("t.lua:2: toBe"));
    EXPECT_THAT(check("return expect(1):toBe(2)"), HasSubstr("toBe does not hold\n    expected: 2"));
}

TEST_F(ExpectTest, TablesOfSeveralLinesAreComparedLineByLine)
{
    EXPECT_EQ(check("local a, b = {}, {} for i = 1, 40 do a[i], b[i] = 'beat ' .. i, 'beat ' .. i end b[20] = 'x' "
                    "expect(a):toEqual(b)"),
        "t.lua:1: toEqual does not hold; - is expected, + is there\n"
        "      ...\n"
        "        \"beat 18\",\n"
        "        \"beat 19\",\n"
        "    -   \"x\",\n"
        "    +   \"beat 20\",\n"
        "        \"beat 21\",\n"
        "        \"beat 22\",\n"
        "      ...");
}

TEST_F(ExpectTest, ADifferenceIsShownHoweverDeepOrFarBehindItIs)
{
    EXPECT_THAT(check("expect({ { { { { 1 } } } } }):toEqual { { { { { 2 } } } } }"),
        testing::AllOf(HasSubstr("\n    -           2,\n"), HasSubstr("\n    +           1,\n")));
    EXPECT_THAT(
        check("local a, b = {}, {} for i = 1, 5000 do a[i], b[i] = i, i end b[4000] = 0 expect(a):toEqual(b)"),
        HasSubstr("\n        3999,\n    -   0,\n    +   4000,\n        4001,\n"));
}

TEST_F(ExpectTest, TextsOfSeveralLinesAreComparedLineByLine)
{
    EXPECT_EQ(check("expect('a\\nb\\27\\nc'):toBe('a\\nB\\nc')"),
        "t.lua:1: toBe does not hold; - is expected, + is there\n"
        "      a\n"
        "    - B\n"
        "    + b\\x1b\n"
        "      c");
}

TEST_F(ExpectTest, OfLongTextsThePieceIsShownInWhichTheyBeginToDiffer)
{
    EXPECT_EQ(check("local a = ('x'):rep(1000) expect(a .. 'c' .. a):toBe(a .. 'b' .. a)"),
        "t.lua:1: toBe does not hold; - is expected, + is there\n"
        "      from byte 1001 on\n"
        "    - ...\""
            + std::string(20, 'x') + 'b' + std::string(39, 'x')
            + "\"...\n"
              "    + ...\""
            + std::string(20, 'x') + 'c' + std::string(39, 'x') + "\"...");
}

TEST_F(ExpectTest, WhatIsMisusedIsAnErrorThatTellsWhatIsAllowedBehindNeverToo)
{
    EXPECT_EQ(
        check("expect('1'):toBeLessThan(2)"), "t.lua:1: toBeLessThan: the value is \"1\", but must be a number");
    EXPECT_EQ(check("expect(nil).never:toContain(2)"),
        "t.lua:1: toContain: the value is nil, but must be a string or a table");
    EXPECT_EQ(check("expect('a'):toContain(2)"), "t.lua:1: toContain: the part is 2, but must be a string");
    EXPECT_EQ(check("expect(1):toBeNear(1, -1)"),
        "t.lua:1: toBeNear: the tolerance is -1, but must be a number, at least 0");
    EXPECT_EQ(check("expect(1):toBeAtMost(0/0)"), "t.lua:1: toBeAtMost: the bound is nan, but must be a number");
    EXPECT_EQ(check("expect(1):toBeNear(1)"), "t.lua:1: toBeNear: takes 2 values to compare with");
    EXPECT_EQ(check("expect(1):toBe()"), "t.lua:1: toBe: takes a value to compare with");
    EXPECT_EQ(check("expect(1).toBe(1)"), "t.lua:1: toBe: stands behind a colon: expect(value):toBe");
    EXPECT_EQ(check("expect(1):toThrow()"), "t.lua:1: toThrow: the value is 1, but must be a function");
    EXPECT_THAT(check("expect('a'):toMatch('[')"), HasSubstr("t.lua:1: toMatch: the pattern is \"[\": malformed"));
    EXPECT_THAT(check("expect(1):tobee(1)"),
        HasSubstr("t.lua:1: expect has no \"tobee\"; did you mean toBe? There are never, toBe, toBeAtLeast, "));
}

} // namespace

} // namespace testing_tests
