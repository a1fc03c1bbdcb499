#include "tests/shell/LuaFixture.hpp"

#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/shell/Chunk.hpp"

#include <cstdio>

namespace shell_tests {

namespace {

using tovrinhost::Interpreter;

class ChunkTest : public LuaFixture {
protected:
    /// What a chunk shows.
    std::string shown(const std::string& text, const std::string& before = "")
    {
        std::string output;
        after(before, [&](Interpreter& interpreter) {
            testing::internal::CaptureStdout();
            tovrinhost::runChunk(interpreter, text);
            std::fflush(stdout);
            output = testing::internal::GetCapturedStdout();
        });
        return output;
    }
};

TEST_F(ChunkTest, WhatMoreHasToFollowIsUnfinished)
{
    after("", [](Interpreter& interpreter) {
        for (const char* text :
            { "for i = 1, 2 do", "function f()", "x = {", "1 +", "f(", "s = [[", "--[[ a", "if x", "local" }) {
            EXPECT_TRUE(tovrinhost::isUnfinished(interpreter, text)) << text;
        }
        for (const char* text : { "", "1 + 1", "x", "t.x", "x = 1", "for i = 1, 2 do end", "x = = 1", "s = 'a",
                 "end", "return", "goto nowhere" }) {
            EXPECT_FALSE(tovrinhost::isUnfinished(interpreter, text)) << text;
        }
    });
}

TEST_F(ChunkTest, AnExpressionShowsAllItsValues)
{
    EXPECT_EQ(shown("1, 'a', nil"), "1\t\"a\"\tnil\n");
    EXPECT_EQ(shown("x = 1"), "");
    EXPECT_EQ(shown("f()", "function f() end"), "");
    EXPECT_EQ(shown("return 7"), "7\n");
}

TEST_F(ChunkTest, TheFirstValueIsTheLatest)
{
    EXPECT_EQ(shown("_, _", "_ = 5"), "5\t5\n");
    after("", [](Interpreter& interpreter) {
        testing::internal::CaptureStdout();
        tovrinhost::runChunk(interpreter, "21, 5");
        tovrinhost::runChunk(interpreter, "x = 0"); // no value
        tovrinhost::runChunk(interpreter, "_ * 2");
        std::fflush(stdout);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "21\t5\n42\n");
    });
}

TEST_F(ChunkTest, AnErrorIsAScriptsAndNamesTheInput)
{
    after("", [](Interpreter& interpreter) {
        const auto messageOf = [&](const std::string& text) {
            try {
                tovrinhost::runChunk(interpreter, text);
            } catch (const tovrinhost::ScriptError& error) {
                return error.message();
            }
            return std::string("no error");
        };
        EXPECT_EQ(messageOf("error('no')"), "input:1: no");
        EXPECT_EQ(messageOf("\nx = ="), "input:2: unexpected symbol near '='");
    });
}

} // namespace

} // namespace shell_tests
