#include "embedded_host/shell/PromptRows.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace shell_tests {

namespace {

using testing::ElementsAre;
using tovrinhost::PromptRows;

/// The rows, with "~" behind each that the terminal itself goes on from; and the cursor as "^" in them.
std::vector<std::string> rows(const std::string& text, std::size_t cursor, std::size_t width)
{
    const PromptRows laidOut({ text, cursor }, width);
    std::vector<std::string> shown;
    for (const auto& row : laidOut.rows) {
        shown.push_back(row.text + (row.goesOn ? "~" : ""));
    }
    shown.push_back(std::to_string(laidOut.cursorRow) + "," + std::to_string(laidOut.cursorColumn));
    return shown;
}

TEST(PromptRowsTest, AShortTextIsBehindItsPrompt)
{
    EXPECT_THAT(rows("", 0, 10), ElementsAre("> ", "0,2"));
    EXPECT_THAT(rows("abc", 1, 10), ElementsAre("> abc", "0,3"));
}

TEST(PromptRowsTest, ALongTextTakesFurtherRows)
{
    EXPECT_THAT(rows("abcdefghij", 9, 8), ElementsAre("> abcdef~", "ghij", "1,3"));
    EXPECT_THAT(rows("abcdefgh", 6, 8), ElementsAre("> abcdef~", "gh", "1,0"));
}

TEST(PromptRowsTest, BehindAFullRowTheCursorStandsInTheNext)
{
    EXPECT_THAT(rows("abcdef", 6, 8), ElementsAre("> abcdef", "", "1,0"));
    EXPECT_THAT(rows("abcdef", 5, 8), ElementsAre("> abcdef", "0,7"));
    EXPECT_THAT(rows("abcdef\nx", 6, 8), ElementsAre("> abcdef", ">> x", "0,7"));
}

TEST(PromptRowsTest, FurtherLinesHaveAPromptOfTheirOwn)
{
    EXPECT_THAT(rows("do\nx\n", 5, 10), ElementsAre("> do", ">> x", ">> ", "2,3"));
}

TEST(PromptRowsTest, WideCharactersGoWholeIntoTheNextRow)
{
    EXPECT_THAT(rows("abcde\xe6\xbc\xa2z", 5, 8), ElementsAre("> abcde~", "\xe6\xbc\xa2z", "1,0"));
    EXPECT_THAT(rows("e\xcc\x81x", 3, 8), ElementsAre("> e\xcc\x81x", "0,3")); // an accent joins its letter
}

TEST(PromptRowsTest, WhatIsNotShownIsWrittenOut)
{
    EXPECT_THAT(rows("\x1b\x7f\xff\ta", 5, 30), ElementsAre("> ^[^?\\xff      a", "0,17"));
}

} // namespace

} // namespace shell_tests
