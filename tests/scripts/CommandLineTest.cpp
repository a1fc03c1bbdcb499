#include "tests/scripts/ScriptTest.hpp"
#include "tests/scripts/platform/Platform.hpp"

#include <boost/filesystem.hpp>

namespace scripts {

namespace {

using testing::HasSubstr;

class CommandLineTest : public ScriptTest {
protected:
    void expectRefusal(const Words& words, int status, const std::string& message)
    {
        write("script.lua", "print('ran')");
        const Outcome outcome = tovrin(words);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr(message));
        EXPECT_EQ(outcome.status, status);
    }
};

constexpr int failed = 1;
constexpr int wrongUsage = 2;

TEST_F(CommandLineTest, WrongUsageIsToldWithStatusTwo)
{
    expectRefusal({}, wrongUsage, "A subcommand is required");
    expectRefusal({ "run" }, wrongUsage, "FILE is required");
    expectRefusal({ "run", "--fast", "script.lua" }, wrongUsage, "--fast");
}

TEST_F(CommandLineTest, AScriptInThePlaceOfTheCommandIsToldHowItIsRun)
{
    const std::string advice = "; did you mean tovrin run ";
    expectRefusal({ "script.lua" }, wrongUsage,
        "tovrin: there is no command \"script.lua\"" + advice + "script.lua?\nTry 'tovrin run --help'.\n");
    expectRefusal({ "script.lua", "argument" }, wrongUsage, "no command \"script.lua\"" + advice + "script.lua?");
    expectRefusal({ "a\ntovrin: b" }, wrongUsage, "\"a\\ntovrin: b\"" + advice + "a\\ntovrin: b?");
    expectRefusal({ "walk", "script.lua" }, wrongUsage, "no command \"walk\"" + advice + "walk?");
}

TEST_F(CommandLineTest, AWrongBacklogIsToldWithTheLimits)
{
    for (const std::string number : { "0", "-1", "many", "1.5", "0x10", "1e3", " 1", "18446744073709551616" }) {
        expectRefusal({ "run", "--max-backlog=" + number, "script.lua" }, wrongUsage,
            "--max-backlog: \"" + number
                + "\" is not allowed: it must be a whole number from 1 to 18446744073709551615\n");
    }
    write("script.lua", "print('ran')");
    for (const std::string number : { "1", "18446744073709551615" }) {
        EXPECT_EQ(tovrin({ "run", "--max-backlog", number, "script.lua" }).out, "ran\n") << number;
    }
}

TEST_F(CommandLineTest, AWrongFeatureIsToldWithThoseThatThereAre)
{
    expectRefusal({ "run", "--feature", "TIMER_PPE=maybe", "script.lua" }, wrongUsage,
        "\"TIMER_PPE=maybe\" is not allowed: a feature is on or off");
    expectRefusal({ "run", "--feature", "SPEED=on", "script.lua" }, wrongUsage,
        "\"SPEED=on\" is not allowed: the features are TIMER_PPE");
    expectRefusal({ "run", "--feature", "TIMER_PPE", "script.lua" }, wrongUsage,
        "\"TIMER_PPE\" is not allowed: it must have the form NAME=on or NAME=off");
}

TEST_F(CommandLineTest, AWrongMaskOrChannelIsToldWithWhatIsAllowed)
{
    const std::string numbers = " is not allowed: a mask is a number from 0 to 4294967295 (0xffffffff)";
    for (const std::string mask : { "x", "", "-1", "0x", "0x1g", "4294967296", "4 " }) {
        const std::string text = "tovrintimer::workHandler=" + mask;
        expectRefusal({ "run", "--log", text, "script.lua" }, wrongUsage, "\"" + text + "\"" + numbers);
    }
    expectRefusal({ "run", "--log", "timer=4", "script.lua" }, wrongUsage,
        "\"timer=4\" is not allowed: the channels are tovrintimer::TimerScheduler, tovrintimer::WorkItem, "
        "tovrintimer::workHandler");
    expectRefusal({ "run", "--log", "4", "script.lua" }, wrongUsage, "it must have the form CHANNEL=MASK");
}

TEST_F(CommandLineTest, AFileThatCannotBeRunIsNamed)
{
    expectRefusal({ "run", "missing.lua" }, failed, "cannot open missing.lua");
    boost::filesystem::create_directory(folder() + "/directory");
    expectRefusal({ "run", "directory" }, failed, "directory");
    write("syntax.lua", "local = 1");
    expectRefusal({ "run", "syntax.lua" }, failed, "tovrin: error in script: syntax.lua:1: ");
}

TEST_F(CommandLineTest, AFileThatMayNotBeReadIsNamed)
{
    const std::string secret = write("secret.lua", "print('secret')");
    boost::filesystem::permissions(secret, boost::filesystem::no_perms);
    if (platform::mayReadEverything()) {
        // Permissions mean nothing to this user: the script runs.
        EXPECT_EQ(tovrin({ "run", "secret.lua" }).out, "secret\n");
    } else {
        expectRefusal({ "run", "secret.lua" }, failed, "cannot open secret.lua");
    }
}

TEST_F(CommandLineTest, ALogFileThatCannotBeWrittenIsNamed)
{
    expectRefusal({ "run", "--log-file", "missing/log.txt", "script.lua" }, failed, "missing/log.txt");
}

TEST_F(CommandLineTest, HelpIsShownOnRequest)
{
    const Outcome outcome = tovrin({ "run", "--help" });

    for (const char* word : { "FILE", "--feature", "--log ", "--log-file", "--max-backlog", "--trace",
             "--late-above", "SIGUSR1", "Exit status" }) {
        EXPECT_THAT(outcome.out, HasSubstr(word));
    }
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(CommandLineTest, OptionsOfTheScriptStandBehindTwoDashes)
{
    write("script.lua", "print(...)");

    EXPECT_EQ(tovrin({ "run", "script.lua", "--", "--fast", "-1" }).out, "--fast\t-1\n");
}

} // namespace

} // namespace scripts
