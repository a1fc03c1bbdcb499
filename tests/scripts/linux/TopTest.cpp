#include "tests/scripts/ScriptTest.hpp"
#include "tests/scripts/linux/PseudoTerminal.hpp"
#include "tests/scripts/linux/ServingProgram.hpp"

#include <csignal>
#include <filesystem>

namespace scripts {

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

/// `tovrin top` on a terminal that the test plays.
class TopTest : public ScriptTest {
protected:
    TopTest() { std::filesystem::create_directory(runtime()); }

    std::string runtime() const { return folder() + "/runtime"; }

    ServingProgram start(const std::string& script)
    {
        write("script.lua", script);
        return { folder(), runtime(), "script.lua" };
    }

    PseudoTerminal top(int width = 150, int height = 12, const std::string& type = PseudoTerminal::type)
    {
        return { { TOVRIN_PROGRAM, "top" }, { { "XDG_RUNTIME_DIR", runtime() }, { "TERM", type } }, folder(),
            width, height };
    }

    const std::string threeTimers = R"(
local function make(name, period, work)
  timer { Name = name, ExecutionMode = "FixedRate", Period = period,
          TimerFcn = function() local till = now() + work while now() < till do end end }:start()
end
make("beta", 0.5, 0) make("alpha", 60, 0) make("gamma", 0.05, 0.01))";
};

TEST_F(TopTest, TheTableIsShownAndRedrawnAndQEndsIt)
{
    const auto program = start(threeTimers);
    auto terminal = top();
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("alpha ") && terminal.has("q quit"); }));
    EXPECT_THAT(terminal.screen()[0], StartsWith("tovrin " + program.name() + ", script.lua: 3 timers after "));
    EXPECT_THAT(terminal.screen()[0], HasSubstr("(steady clock)"));
    EXPECT_THAT(terminal.screen()[1],
        MatchesRegex(
            "\\^timer +state +settings +due +left +last run +runs +late: last +99 % +most +busy % +dropped "
            "+backlog *"));
    EXPECT_THAT(terminal.screen()[2], MatchesRegex("alpha +due +FixedRate, Drop, 60 s +[0-9].*"));
    const std::string head = terminal.screen()[0];
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.screen()[0] != head; })) << head;
    terminal.press("q");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, KeysSortReverseFilterPauseAndShowHelp)
{
    const auto program = start(threeTimers);
    auto terminal = top();
    const auto order = [&](const std::string& a, const std::string& b, const std::string& c) {
        return terminal.waitFor([&] {
            return terminal.screen()[2].starts_with(a) && terminal.screen()[3].starts_with(b)
                && terminal.screen()[4].starts_with(c);
        });
    };
    EXPECT_TRUE(order("alpha ", "beta ", "gamma "));
    terminal.press("r");
    EXPECT_TRUE(order("gamma ", "beta ", "alpha "));
    EXPECT_TRUE(terminal.has("vtimer "));
    terminal.press("\033[C\033[C\033[C\033[C\033[C\033[C"); // to the right, until it is by runs
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("vruns"); }));
    EXPECT_TRUE(order("gamma ", "beta ", "alpha "));
    terminal.press("r");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("^runs"); }));
    EXPECT_TRUE(order("alpha ", "beta ", "gamma "));

    terminal.press("/et");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("names with: et_"); }));
    EXPECT_TRUE(terminal.screen()[2].starts_with("beta "));
    EXPECT_FALSE(terminal.has("gamma"));
    terminal.press("\033");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("gamma"); }));

    terminal.press("p");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has(", paused"); }));
    const std::string head = terminal.screen()[0];
    EXPECT_FALSE(terminal.waitFor([&] { return terminal.screen()[0] != head; }, 2.5));
    terminal.press("p?");
    EXPECT_TRUE(
        terminal.waitFor([&] { return terminal.has("Any key goes back.") || terminal.has("reverse the order"); }));
    terminal.press("xq");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, EnterOpensATimerWithItsLatestExplanation)
{
    const auto program = start(threeTimers);
    auto terminal = top(100, 20);
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("gamma"); }));
    terminal.press("\033[B\r"); // one down
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("timer beta   state "); }));
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("beta run "); }));
    EXPECT_TRUE(terminal.has("(FixedRate, Drop, 0.5 s) due "));
    terminal.press("\033");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("gamma"); }));
    terminal.press("q");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, TheScreenFollowsTheTerminalsSize)
{
    const auto program = start(threeTimers);
    auto terminal = top(150, 12);
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.screen()[11].starts_with("left right sort"); }));
    terminal.resize(60, 8);
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.screen()[7].starts_with("left right sort"); }));
    EXPECT_FALSE(terminal.has("backlog"));
    terminal.resize(160, 6);
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.screen()[5].starts_with("left right sort"); }));
    EXPECT_TRUE(terminal.has("backlog"));
    terminal.press("q");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, ANameCannotObeyTheTerminal)
{
    const auto program = start("timer { Name = 'bad\\27[2J\\xff\\n', TimerFcn = print }\npause(600)");
    auto terminal = top();
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.screen()[2].starts_with("bad\\x1b[2J\\xff\\n "); }));
    terminal.press("q");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, AProgramThatEndsIsToldOfAfterTheTerminalHasBeenGivenBack)
{
    auto program = start(threeTimers);
    auto terminal = top();
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.has("gamma"); }));
    program.signal(SIGTERM);
    program.wait();
    EXPECT_EQ(terminal.wait(), 1);
    EXPECT_TRUE(terminal.has("tovrin: there is no process " + program.name())
        || terminal.has("tovrin: the program " + program.name()));
}

TEST_F(TopTest, WithoutATerminalOrWithOneThatNobodyKnowsTopSaysSo)
{
    const auto program = start(threeTimers);
    const Outcome outcome = shell("XDG_RUNTIME_DIR='" + runtime() + "' exec \"$TOVRIN\" top </dev/null");
    EXPECT_EQ(outcome.err, "tovrin: top needs a terminal; tovrin timers prints the table once, wherever to\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.status, 1);
    auto terminal = top(150, 12, "odd-one");
    EXPECT_EQ(terminal.wait(), 1);
    EXPECT_TRUE(terminal.has("tovrin: the terminal type \"odd-one\" (TERM) is not known here"));
}

} // namespace

} // namespace scripts
