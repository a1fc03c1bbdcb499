#include "embedded_host/shell/Screen.hpp"

#include "tests/terminal/VirtualTerminal.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace shell_tests {

namespace {

using terminals::VirtualTerminal;
using testing::ElementsAre;
using testing::HasSubstr;
using tovrinhost::Screen;

/// A screen on a terminal, and a terminal that gets the output alone.
class ScreenTest : public testing::Test {
protected:
    static constexpr int width = 20;
    static constexpr int height = 6;

    void print(const std::string& output)
    {
        screen.print(output);
        plain.feed(withReturns(output));
    }

    /// As a terminal's line discipline does it.
    static std::string withReturns(std::string_view text)
    {
        std::string whole;
        for (const char byte : text) {
            whole += byte == '\n' ? "\r\n" : std::string(1, byte);
        }
        return whole;
    }

    std::string written;
    VirtualTerminal terminal { width, height };
    VirtualTerminal plain { width, height };
    Screen screen { [this](std::string_view text) {
                       written += text;
                       terminal.feed(withReturns(text));
                   },
        width, height };
};

TEST_F(ScreenTest, OutputGoesAboveThePromptAndTheCursorStays)
{
    screen.show({ "half", 2 });
    print("one\ntwo\n");
    EXPECT_THAT(terminal.rows(), ElementsAre("one", "two", "> half"));
    EXPECT_EQ(terminal.cursorColumn(), 4);
}

TEST_F(ScreenTest, AnUnfinishedLineGoesOnAboveThePrompt)
{
    screen.show({ "half", 4 });
    print("one ");
    EXPECT_THAT(terminal.rows(), ElementsAre("one", "> half"));
    print("two ");
    print("three\nfour");
    EXPECT_THAT(terminal.rows(), ElementsAre("one two three", "four", "> half"));
}

TEST_F(ScreenTest, AnUnfinishedLineThatFillsItsRowGoesOnInTheNextOrEndsThere)
{
    screen.show({ "", 0 });
    const std::string full(width, 'x');
    print(full);
    EXPECT_THAT(terminal.rows(), ElementsAre(full, ">"));
    print("\n");
    print(full);
    print("y");
    EXPECT_THAT(terminal.rows(), ElementsAre(full, full, "y", ">"));
}

TEST_F(ScreenTest, AProgressThatIsWrittenOverStaysInItsRow)
{
    screen.show({ "", 0 });
    print("10 %\r");
    EXPECT_THAT(terminal.rows(), ElementsAre("10 %", ">"));
    print("20 %\r");
    print("done\n");
    EXPECT_THAT(terminal.rows(), ElementsAre("done", ">"));
}

TEST_F(ScreenTest, TheLookOfOutputIsNotThatOfThePromptAndComesBackBehindIt)
{
    screen.show({ "", 0 });
    print("\x1b[31mred ");
    EXPECT_THAT(written, HasSubstr("\x1b[31mred \x1b[?25l\x1b[m\r\n"));
    written.clear();
    print("still red\x1b[0m\n");
    EXPECT_THAT(written, HasSubstr("\x1b[31mstill red"));
    written.clear();
    print("plain\n");
    EXPECT_THAT(written, testing::Not(HasSubstr("[31m")));
}

TEST_F(ScreenTest, ACharacterOrSequenceInTwoPiecesIsNotTornApart)
{
    screen.show({ "", 0 });
    print("\xe6\xbc");
    EXPECT_THAT(terminal.rows(), ElementsAre(">"));
    print("\xa2\x1b[");
    print("1mbold\n");
    EXPECT_THAT(terminal.rows(),
        ElementsAre("\xe6\xbc\xa2"
                    "bold",
            ">"));
}

TEST_F(ScreenTest, OfAPromptThatIsTooHighThePartAroundTheCursorIsShown)
{
    std::string text;
    for (int i = 0; i < 10; ++i) {
        text += std::to_string(i) + '\n';
    }
    screen.show({ text + "end", text.size() + 3 });
    print("output\nmore ");
    EXPECT_THAT(terminal.rows(), ElementsAre("output", "more", ">> 6", ">> 7", ">> 8", ">> 9", ">> end"));
    print("and more\n");
    screen.show({ "short", 5 });
    EXPECT_THAT(terminal.rows(), ElementsAre("output", "more and more", "> short"));
}

TEST_F(ScreenTest, WhatWasTypedStaysOnceItIsNoPromptAnyMore)
{
    screen.show({ "1 + 1", 2 });
    screen.leave("1 + 1");
    screen.print("2\n");
    screen.show({ "", 0 });
    EXPECT_THAT(terminal.rows(), ElementsAre("> 1 + 1", "2", ">"));
    EXPECT_THAT(written, HasSubstr("\x1b[?2004h"));
    EXPECT_THAT(written, HasSubstr("\x1b[?2004l"));
}

TEST_F(ScreenTest, ANarrowerTerminalHasThePromptDrawnAnewAndKeepsOutput)
{
    print("one\ntwo\n");
    screen.show({ "0123456789abcdef", 16 });
    terminal.resize(10, height);
    screen.resize(10, height);
    EXPECT_THAT(terminal.rows(), ElementsAre("one", "two", "> 01234567", "89abcdef"));
    terminal.resize(width, height);
    screen.resize(width, height);
    screen.print("three\n");
    EXPECT_THAT(terminal.rows(), ElementsAre("one", "two", "> 01234567", "three", "> 0123456789abcdef"))
        << "this terminal breaks no rows anew: of the narrow prompt a piece stays";
}

/// Whatever is written and typed: above the prompt stands what a terminal without one would show. Only not behind
/// a wide character at the end of a row, where terminals themselves differ in what tabs and backspaces do.
TEST_F(ScreenTest, RandomOutputStandsAboveThePromptAsWithoutOne)
{
    const std::vector<std::string> pieces { "a", "bcd", "\n", "\xe6\xbc\xa2", "\xc3\xa9", "\n\tq", "\r", "z\b",
        "\x1b[1m", "\x1b[m", "01234567890123456789", "\xff", "x y z", "\n\n", "0123456789" };
    const std::vector<std::string> typed { "", "short", "a text that needs a second row", "do\nx\nend",
        "012345678901234567",
        "\xe6\xbc\xa2\xe6\xbc\xa2\xe6\xbc\xa2\xe6\xbc\xa2\xe6\xbc\xa2\xe6\xbc\xa2\xe6\xbc\xa2\xe6\xbc\xa2\xe6\xbc"
        "\xa2\xe6\xbc\xa2" };
    for (unsigned seed = 1; seed <= 500; ++seed) {
        std::mt19937 random(seed);
        VirtualTerminal with(width, height);
        VirtualTerminal without(width, height);
        Screen under([&](std::string_view text) { with.feed(withReturns(text)); }, width, height);
        std::string history;
        std::string input;
        for (int step = 0; step < 40; ++step) {
            if (random() % 4 == 0) {
                input = typed[random() % typed.size()];
                const bool atStart = random() % 2 == 0;
                under.show({ input, atStart ? 0 : input.size() });
                continue;
            }
            std::string output;
            for (auto count = random() % 6; count > 0; --count) {
                output += pieces[random() % pieces.size()];
            }
            history += output;
            under.print(output);
            without.feed(withReturns(output));
        }
        under.hide();
        const auto shown = with.rows();
        const auto wanted = without.rows();
        const auto different = std::mismatch(shown.begin(), shown.end(), wanted.begin(), wanted.end());
        ASSERT_TRUE(shown == wanted) << "seed " << seed << ", row " << different.first - shown.begin() << " is "
                                     << testing::PrintToString(*different.first) << " instead of "
                                     << testing::PrintToString(*different.second) << " of "
                                     << testing::PrintToString(history);
    }
}

} // namespace

} // namespace shell_tests
