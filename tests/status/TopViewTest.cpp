#include "embedded_host/status/TopView.hpp"
#include "embedded_host/log/ValidText.hpp"
#include "tests/status/MadeUpStatus.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tovrinhost {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class TopViewTest : public testing::Test {
protected:
    TopViewTest()
    {
        m_view.show(
            madeUpStatus({ madeUpTimer(1, "beta", 5), madeUpTimer(2, "alpha", 9), madeUpTimer(3, "gamma", 1) }));
    }

    std::vector<std::string> drawn(std::size_t width = 150, std::size_t height = 8)
    {
        std::vector<std::string> texts;
        for (const auto& line : m_view.draw(width, height)) {
            std::string text;
            for (const auto& piece : line.pieces) {
                text += std::string(piece.column - characterCount(text), ' ') + piece.text;
            }
            EXPECT_LE(characterCount(text), width);
            texts.push_back((line.style == TopView::Line::Selected ? "> " : "") + text);
        }
        return texts;
    }

    /// The first word of each row; the selected one's with "> ".
    std::vector<std::string> names(std::size_t height = 8)
    {
        const auto all = drawn(150, height);
        std::vector<std::string> found;
        for (std::size_t row = 2; row + 1 < all.size() && !all[row].empty(); ++row) {
            found.push_back(all[row].substr(0, all[row].find(' ', 2)));
        }
        return found;
    }

    bool press(const std::string& text) { return m_view.press({ KeyPress::Character, text }); }
    void press(KeyPress::Key key) { EXPECT_TRUE(m_view.press({ key, {} })); }

    TopView m_view;
};

TEST_F(TopViewTest, TheScreenHasAHeadTitlesARowForEachTimerAndTheKeys)
{
    const auto all = drawn();
    EXPECT_EQ(all[0], "tovrin 123, script.lua: 3 timers after 12.500 s (steady clock)");
    EXPECT_EQ(all[1],
        "^timer           state   settings                       due     left  last run     runs  late: last     "
        "99 %     most  busy %  dropped  backlog");
    EXPECT_EQ(all[2],
        "> alpha            due     FixedRate, Drop, 0.1 s      12.750    0.250    12.500        7         9.0    "
        " "
        "10.0     11.0    25.0        3        2");
    EXPECT_THAT(all.back(), StartsWith("left right sort"));
    EXPECT_EQ(all.size(), 8U);
}

TEST_F(TopViewTest, AnotherColumnOrdersTheRowsAndRReversesThem)
{
    EXPECT_THAT(names(), ElementsAre("> alpha", "beta", "gamma"));
    press("r");
    EXPECT_THAT(names(), ElementsAre("gamma", "beta", "> alpha"));
    press("r");
    for (int times = 0; times < 7; ++times) {
        press(KeyPress::Right);
    }
    EXPECT_THAT(drawn()[1], HasSubstr("^late: last"));
    EXPECT_THAT(names(), ElementsAre("gamma", "beta", "> alpha"));
    press("r");
    EXPECT_THAT(drawn()[1], HasSubstr("vlate: last"));
    EXPECT_THAT(names(), ElementsAre("> alpha", "beta", "gamma"));
    press("r");
    for (int times = 0; times < 8; ++times) {
        press(KeyPress::Left);
    }
    EXPECT_THAT(drawn()[1], HasSubstr("^backlog"));
}

TEST_F(TopViewTest, OnANarrowScreenTheColumnThatOrdersIsSeenBesideTheName)
{
    EXPECT_EQ(drawn(60)[1], "^timer           state   settings                       due");
    press(KeyPress::Left);
    EXPECT_EQ(drawn(60)[1], "timer                99 %     most  busy %  dropped ^backlog");
    EXPECT_EQ(drawn(60)[2], "beta                  6.0      7.0    25.0        3        2");
    EXPECT_EQ(drawn(20)[1], "timer            ^ba");
}

TEST_F(TopViewTest, AFilterShowsTimersWhoseNamesContainIt)
{
    press("/");
    press("m");
    EXPECT_THAT(names(), ElementsAre("> gamma"));
    EXPECT_THAT(drawn().back(), StartsWith("names with: m_"));
    press(KeyPress::Backspace);
    press("q"); // a character here
    EXPECT_THAT(names(), IsEmpty());
    press(KeyPress::Backspace);
    press("a");
    press("l");
    press(KeyPress::Enter);
    EXPECT_THAT(names(), ElementsAre("> alpha"));
    EXPECT_THAT(drawn().back(), StartsWith("names with \"al\""));
    press("/");
    press(KeyPress::Escape);
    EXPECT_THAT(names(), testing::SizeIs(3));
}

TEST_F(TopViewTest, TheSelectionFollowsItsTimerAndGoesToAnotherWhereThatHasGone)
{
    press(KeyPress::Down);
    EXPECT_THAT(names(), ElementsAre("alpha", "> beta", "gamma"));
    m_view.show(madeUpStatus({ madeUpTimer(1, "beta", 5), madeUpTimer(4, "aa", 5), madeUpTimer(2, "alpha", 9) }));
    EXPECT_THAT(names(), ElementsAre("aa", "alpha", "> beta"));
    m_view.show(madeUpStatus({ madeUpTimer(4, "aa", 5), madeUpTimer(2, "alpha", 9) }));
    EXPECT_THAT(names(), ElementsAre("aa", "> alpha"));
    m_view.show(madeUpStatus({}));
    EXPECT_THAT(names(), IsEmpty());
    press(KeyPress::Enter);
    EXPECT_EQ(m_view.open(), std::nullopt);
}

TEST_F(TopViewTest, MoreRowsThanFitAreScrolledThrough)
{
    std::vector<TimerStatus> timers;
    for (std::uint64_t number = 10; number < 30; ++number) {
        timers.push_back(madeUpTimer(number, "t" + std::to_string(number), 5));
    }
    m_view.show(madeUpStatus(timers));
    press(KeyPress::Home);
    EXPECT_THAT(names(6), ElementsAre("> t10", "t11", "t12"));
    press(KeyPress::PageDown);
    EXPECT_THAT(names(6), ElementsAre("t11", "t12", "> t13"));
    press(KeyPress::End);
    EXPECT_THAT(names(6), ElementsAre("t27", "t28", "> t29"));
    press(KeyPress::Down);
    press(KeyPress::PageUp);
    EXPECT_THAT(names(6), ElementsAre("> t26", "t27", "t28"));
    EXPECT_THAT(names(4), ElementsAre("> t26"));
}

TEST_F(TopViewTest, AnOpenTimerShowsItsExplanationUntilItIsClosed)
{
    press(KeyPress::Down);
    press(KeyPress::Enter);
    ASSERT_EQ(m_view.open(), 1U);
    m_view.explain("beta run 7 late\n   5 ms behind \x1b[31m\n");
    auto all = drawn();
    EXPECT_THAT(
        all[1], StartsWith("timer beta   state due   settings FixedRate, Drop, 0.1 s   due 12.750   left 0.250"));
    EXPECT_THAT(all, Contains("beta run 7 late"));
    EXPECT_THAT(all, Contains("   5 ms behind \\x1b[31m"));
    m_view.show(madeUpStatus({}));
    EXPECT_EQ(drawn()[1], "the timer has gone");
    EXPECT_TRUE(press("q"));
    EXPECT_EQ(m_view.open(), std::nullopt);
}

TEST_F(TopViewTest, PauseHelpAndQuit)
{
    EXPECT_FALSE(m_view.isPaused());
    press("p");
    EXPECT_TRUE(m_view.isPaused());
    EXPECT_THAT(drawn()[0], HasSubstr(", paused"));
    press(" ");
    EXPECT_FALSE(m_view.isPaused());
    press("?");
    EXPECT_THAT(drawn(150, 30), Contains("q            quit"));
    EXPECT_TRUE(press("q")); // back from the help
    EXPECT_THAT(names(), testing::SizeIs(3));
    EXPECT_FALSE(press("q"));
}

TEST_F(TopViewTest, ANameIsWrittenOutAndCutOffAndNoTerminalIsTooSmall)
{
    m_view.show(madeUpStatus({ madeUpTimer(1, "a\n\x1b[2J" + std::string(100, 'x'), 5) }));
    EXPECT_THAT(drawn()[2], StartsWith("> a\\n\\x1b[2Jxxxxxx due"));
    for (std::size_t width = 0; width < 30; ++width) {
        for (std::size_t height = 0; height < 6; ++height) {
            EXPECT_LE(drawn(width, height).size(), height);
        }
    }
    press(KeyPress::Enter);
    EXPECT_LE(drawn(0, 0).size(), 0U);
    EXPECT_LE(drawn(1, 2).size(), 2U);
}

} // namespace

} // namespace tovrinhost
