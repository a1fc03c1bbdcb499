#include "tests/shell/LuaFixture.hpp"

#include "embedded_host/timers/ValueText.hpp"

namespace shell_tests {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ValueTextTest : public LuaFixture {
protected:
    /// What the expression's value is shown as.
    std::string text(
        const std::string& expression, const std::string& before = "", const tovrinhost::ValueLimits& limits = {})
    {
        std::string result;
        after(before + " value = " + expression, [&](tovrinhost::Interpreter& interpreter) {
            interpreter.protect([&](lua_State* state) {
                lua_getglobal(state, "value");
                const int top = lua_gettop(state);
                result = tovrinhost::valueText(state, -1, limits);
                EXPECT_EQ(lua_gettop(state), top);
                return 0;
            });
        });
        return result;
    }
};

TEST_F(ValueTextTest, PlainValues)
{
    EXPECT_EQ(text("nil"), "nil");
    EXPECT_EQ(text("true"), "true");
    EXPECT_EQ(text("42"), "42");
    EXPECT_EQ(text("0.5"), "0.5");
    EXPECT_EQ(text("print"), "function of the host's");
    EXPECT_EQ(text("function() end"), "function of test:1");
}

TEST_F(ValueTextTest, TextsAreInQuotesAndOnOneLine)
{
    EXPECT_EQ(text(R"('a"b\\c\n\27[2J\0é\xff')"), R"("a\"b\\c\n\x1b[2J\x00é\xff")");
    EXPECT_EQ(text("('x'):rep(1001)"), '"' + std::string(1000, 'x') + "\"... (1001 bytes)");
}

TEST_F(ValueTextTest, ATableHasItsSequenceFirstThenTheOthersByTheirKeys)
{
    EXPECT_EQ(text("{}"), "{}");
    EXPECT_EQ(text("{ 1, 'one line is not enough', b = 2, a = 1, ['x y'] = 3, [10] = 0, [2.5] = 0, [true] = 1 }"),
        "{\n"
        "  1,\n"
        "  \"one line is not enough\",\n"
        "  [2.5] = 0,\n"
        "  [10] = 0,\n"
        "  a = 1,\n"
        "  b = 2,\n"
        "  [true] = 1,\n"
        "  [\"x y\"] = 3,\n"
        "}");
    EXPECT_EQ(text("{ { 1, 2 }, k = { x = 0 } }"), "{ { 1, 2 }, k = { x = 0 } }");
}

TEST_F(ValueTextTest, CyclesDepthAndLengthAreBounded)
{
    EXPECT_EQ(text("t", "t = { 1 } t.self = t"), "{ 1, self = <cycle> }");
    EXPECT_EQ(text("{ { { { { {} } } } } }"), "{ { { { {...} } } } }");
    EXPECT_EQ(text("{ u, u }", "u = { 1 }"), "{ { 1 }, { 1 } }"); // twice, but not within itself
    EXPECT_THAT(
        text("t", "t = {} for i = 1, 1000000 do t[i] = i end"), HasSubstr("\n  100,\n  ... 999900 more,\n}"));
    const std::string large
        = text("t", "t = {} for i = 1, 90 do t[i] = {} for k = 1, 90 do t[i]['k' .. k] = k end end");
    EXPECT_LT(large.size(), 40'000U);
}

TEST_F(ValueTextTest, OtherLimitsShowMoreOrLess)
{
    EXPECT_EQ(text("{ { { { { 1 } } } } }", "", { .deepest = 5 }), "{ { { { { 1 } } } } }");
    EXPECT_EQ(text("{ 1, 2, 3 }", "", { .mostOfTable = 2 }), "{ 1, 2, ... 1 more }");
    EXPECT_EQ(text("{ 'abc' }", "", { .longestText = 2 }), "{ \"ab\"... (3 bytes) }");
    EXPECT_EQ(text("{ { 1 }, {} }", "", { .rowWidth = 0 }), "{\n  {\n    1,\n  },\n  {},\n}");
}

TEST_F(ValueTextTest, AValueSaysItselfHowItIsShown)
{
    EXPECT_EQ(text("setmetatable({}, { __tostring = function() return 'a\\nb' end })"), "a\\nb");
}

TEST_F(ValueTextTest, ATimerIsShownWithItsProperties)
{
    const std::string shown
        = text("timer { Name = 'beat', Period = 0.5, ExecutionMode = 'FixedRate', TimerFcn = function() end }");
    EXPECT_THAT(shown, StartsWith("timer \"beat\" (stopped) {\n  "));
    EXPECT_THAT(shown, HasSubstr("\n  ExecutionMode = \"FixedRate\",\n"));
    EXPECT_THAT(shown, HasSubstr("\n  Period = 0.5,\n"));
    EXPECT_THAT(shown, HasSubstr("\n  TimerFcn = function of test:1,\n"));
    EXPECT_THAT(text("t", "t = timer { Name = 'gone', TimerFcn = print } t:delete()"), "timer \"gone\" (deleted)");
}

} // namespace

} // namespace shell_tests
