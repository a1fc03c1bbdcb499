#include "tests/scripts/ScriptTest.hpp"
#include "tests/scripts/linux/ServingProgram.hpp"
#include "tests/terminal/TerminalProgram.hpp"

#include <csignal>
#include <filesystem>

namespace scripts {

namespace {

using terminals::TerminalProgram;
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

    TerminalProgram top(int width = 150, int height = 12, const std::string& type = "xterm")
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
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("alpha ") && terminal.shows("q quit"); }));
    EXPECT_THAT(terminal.screen()[0], StartsWith("tovrin " + program.name() + ", script.lua: 3 timers after "));
    EXPECT_THAT(terminal.screen()[0], HasSubstr("(steady clock)"));
    EXPECT_THAT(terminal.screen()[1],
        MatchesRegex(
            "\\^timer +state +settings +due +left +last run +runs +late: last +99 % +most +busy % +dropped "
            "+backlog *"));
    EXPECT_THAT(terminal.screen()[2], MatchesRegex("alpha +due +FixedRate, Drop, 60 s +[0-9].*"));
    const std::string head = terminal.screen()[0];
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.screen()[0] != head; })) << head;
    terminal.type("q");
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
    terminal.type("r");
    EXPECT_TRUE(order("gamma ", "beta ", "alpha "));
    EXPECT_TRUE(terminal.shows("vtimer "));
    terminal.type("\033OC\033OC\033OC\033OC\033OC\033OC"); // to the right, until it is by runs
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("vruns"); }));
    EXPECT_TRUE(order("gamma ", "beta ", "alpha "));
    terminal.type("r");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("^runs"); }));
    EXPECT_TRUE(order("alpha ", "beta ", "gamma "));

    terminal.type("/et");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("names with: et_"); }));
    EXPECT_TRUE(terminal.screen()[2].starts_with("beta "));
    EXPECT_FALSE(terminal.shows("gamma"));
    terminal.type("\033");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("gamma"); }));

    terminal.type("p");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows(", paused"); }));
    const std::string head = terminal.screen()[0];
    EXPECT_FALSE(terminal.waitFor([&] { return terminal.screen()[0] != head; }, 2.5));
    terminal.type("p?");
    EXPECT_TRUE(terminal.waitFor(
        [&] { return terminal.shows("Any key goes back.") || terminal.shows("reverse the order"); }));
    terminal.type("xq");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, EnterOpensATimerWithItsLatestExplanation)
{
    const auto program = start(threeTimers);
    auto terminal = top(100, 20);
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("gamma"); }));
    terminal.type("\033OB\r"); // one down
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("timer beta   state "); }));
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("beta run "); }));
    EXPECT_TRUE(terminal.shows("(FixedRate, Drop, 0.5 s) due "));
    terminal.type("\033");
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("gamma"); }));
    terminal.type("q");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, TheScreenFollowsTheTerminalsSize)
{
    const auto program = start(threeTimers);
    auto terminal = top(150, 12);
    // What the terminal itself makes of what it showed before has another row in front, or none behind.
    const auto isFilledTo = [&](std::size_t last) {
        return terminal.waitFor([&] {
            const auto rows = terminal.screen();
            return rows[0].starts_with("tovrin ") && rows[last].starts_with("left right sort");
        });
    };
    EXPECT_TRUE(isFilledTo(11));
    EXPECT_TRUE(terminal.shows("backlog"));
    terminal.resize(60, 8);
    EXPECT_TRUE(isFilledTo(7));
    EXPECT_FALSE(terminal.shows("backlog"));
    terminal.resize(160, 6);
    EXPECT_TRUE(isFilledTo(5));
    EXPECT_TRUE(terminal.shows("backlog"));
    terminal.type("q");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, ANameCannotObeyTheTerminal)
{
    const auto program = start("timer { Name = 'bad\\27[2J\\xff\\n', TimerFcn = print }\npause(600)");
    auto terminal = top();
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.screen()[2].starts_with("bad\\x1b[2J\\xff\\n "); }));
    terminal.type("q");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST_F(TopTest, AProgramThatEndsIsToldOfAfterTheTerminalHasBeenGivenBack)
{
    auto program = start(threeTimers);
    auto terminal = top();
    EXPECT_TRUE(terminal.waitFor([&] { return terminal.shows("gamma"); }));
    program.signal(SIGTERM);
    program.wait();
    EXPECT_EQ(terminal.wait(), 1);
    EXPECT_TRUE(terminal.shows("tovrin: there is no process " + program.name())
        || terminal.shows("tovrin: the program " + program.name()));
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
    EXPECT_TRUE(terminal.shows("tovrin: the terminal type \"odd-one\" (TERM) is not known here"));
}

} // namespace

} // namespace scripts
