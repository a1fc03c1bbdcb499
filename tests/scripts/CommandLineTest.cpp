#include "tests/scripts/ScriptTest.hpp"
#include "tests/scripts/platform/Platform.hpp"

#include <boost/filesystem.hpp>

#include <regex>

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
TEST_F(CommandLineTest, WrongUsageIsToldWithStatusTwo)
{
    expectRefusal({ "run" }, wrongUsage, "tovrin: FILE is required\nTry 'tovrin run --help'.\n");
    expectRefusal({ "run", "--fast", "script.lua" }, wrongUsage, "not expected: --fast");
    expectRefusal({ "--fast", "script.lua" }, wrongUsage, "not expected: --fast");
    expectRefusal({ "--trace" }, wrongUsage, "--trace: 1 required FILE missing");
    expectRefusal({ "-e" }, wrongUsage, "-e: 1 required CODE missing");
}

TEST_F(CommandLineTest, AShellThatNothingIsKnownOfIsToldWithThoseThatAreKnown)
{
    expectRefusal({ "completion", "csh" }, wrongUsage,
        "tovrin: SHELL: \"csh\" is not allowed: it must be bash, zsh or fish\nTry 'tovrin completion --help'.\n");
    expectRefusal({ "completion" }, wrongUsage, "tovrin: SHELL is required\n");
}

TEST_F(CommandLineTest, WhatIsNeitherACommandNorAFileIsToldAsBoth)
{
    const std::string neither = ", and no file of that name";
    expectRefusal({ "walk", "script.lua" }, wrongUsage,
        "tovrin: there is no command \"walk\"" + neither + "\nTry 'tovrin --help'.\n");
    expectRefusal({ "explian", "script.lua" }, wrongUsage,
        "tovrin: there is no command \"explian\"" + neither
            + "; did you mean tovrin explain?\nTry 'tovrin --help'.\n");
    expectRefusal({ "a\ntovrin: b" }, wrongUsage, "no command \"a\\ntovrin: b\"" + neither + "\n");
}

TEST_F(CommandLineTest, AFileInThePlaceOfTheCommandIsRun)
{
    write("script.lua", "print(arg[0], ...)");
    write("run", "print('a file called run')");

    EXPECT_EQ(tovrin({ "script.lua" }).out, "script.lua\n");
    EXPECT_EQ(tovrin({ "./run" }).out, "a file called run\n");
    EXPECT_EQ(tovrin({ "--max-backlog", "5", "script.lua", "one" }).out, "script.lua\tone\n");
    EXPECT_EQ(tovrin({ "run", "--", "script.lua", "one" }).out, "script.lua\tone\n");
}

TEST_F(CommandLineTest, AllWordsBehindTheScriptAreItsOwn)
{
    const Words words { "-1", "--status", "--", "--trace", "-e", "--help", "script.lua" };
    const std::string seen = "\t-1\t--status\t--\t--trace\t-e\t--help\tscript.lua\n";
    write("script.lua", "print(arg[0], ...)");

    for (const Words& front : { Words { "script.lua" }, { "run", "script.lua" },
             { "run", "--feature", "TIMER_PPE=on", "script.lua" }, { "--max-backlog=5", "script.lua" } }) {
        Words all = front;
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_EQ(tovrin(all).out, "script.lua" + seen) << front.front();
    }
    for (const Words& front :
        { Words { "-e", "print(arg[0], ...)" }, { "run", "--max-backlog", "5", "-eprint(arg[0], ...)" } }) {
        Words all = front;
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_EQ(tovrin(all).out, "-e" + seen) << front.front();
    }
}

TEST_F(CommandLineTest, AnErrorInCodeOfTheCommandLineTellsItsLine)
{
    const Outcome outcome = tovrin({ "-e", "\nerror('wrong')" });
    EXPECT_THAT(outcome.err, testing::StartsWith("tovrin: error in script: (command line):2: wrong\n"));
    EXPECT_EQ(outcome.status, failed);
}

TEST_F(CommandLineTest, AScriptIsReadFromStandardInput)
{
    for (const Words& words : { Words {}, { "-" }, { "run", "-" }, { "run", "--", "-" } }) {
        setInput("timer { TimerFcn = function() print('fires') end }:start() print(arg[0], io.read())");
        EXPECT_EQ(tovrin(words).out, "-\tnil\nfires\n");
    }
    EXPECT_EQ(tovrin({ "-", "-x", "--" }).out, "-\tnil\nfires\n");
    setInput("#!/usr/bin/env tovrin\nerror('wrong')");
    EXPECT_THAT(tovrin({}).err, testing::StartsWith("tovrin: error in script: stdin:2: wrong\n"));
    setInput("\xEF\xBB\xBFprint('behind a mark of UTF-8')");
    EXPECT_EQ(tovrin({}).out, "behind a mark of UTF-8\n");
    setInput("");
    EXPECT_EQ(tovrin({}).status, 0);
}

TEST_F(CommandLineTest, AFirstLineForTheSystemIsSkipped)
{
    write("script.lua", "#!/usr/bin/env tovrin\nprint('runs') error('wrong')");
    const Outcome outcome = tovrin({ "script.lua" });
    EXPECT_EQ(outcome.out, "runs\n");
    EXPECT_THAT(outcome.err, testing::StartsWith("tovrin: error in script: script.lua:2: wrong\n"));
}

TEST_F(CommandLineTest, ModulesAreFoundBesideTheScriptFirst)
{
    write("mod.lua", "return 'in the present folder'");
    write("tool/mod.lua", "return 'beside the script'");
    write("tool/more/init.lua", "return 'in a folder beside the script, ' .. require('more.part')");
    write("tool/more/part.lua", "return 'in parts'");
    write("tool/script.lua", "print((require('mod'))) print((require('more')))");
    write("script.lua", "print((require('mod')))");

    EXPECT_EQ(tovrin({ "tool/script.lua" }).out, "beside the script\nin a folder beside the script, in parts\n");
    EXPECT_EQ(tovrin({ folder() + "/tool/script.lua" }).out,
        "beside the script\nin a folder beside the script, in parts\n");
    EXPECT_EQ(tovrin({ "script.lua" }).out, "in the present folder\n");
    EXPECT_EQ(tovrin({ "-e", "print((require('mod')))" }).out, "in the present folder\n");
}

TEST_F(CommandLineTest, AFolderThatThePathOfModulesCannotNameIsLeftOut)
{
    write("a;b/script.lua", "print(package.path:find('a;b', 1, true))");
    EXPECT_EQ(tovrin({ "a;b/script.lua" }).out, "nil\n");
}

TEST_F(CommandLineTest, TheVersionIsShownOnRequest)
{
    const Outcome outcome = tovrin({ "--version" });
    EXPECT_TRUE(std::regex_match(outcome.out, std::regex("tovrin [0-9]+\\.[0-9]+\\.[0-9]+\n"))) << outcome.out;
    EXPECT_EQ(outcome.status, 0);
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

    for (const char* word : { "FILE", "-e CODE", "--feature", "--log ", "--log-file", "--max-backlog", "--trace",
             "--late-above", "SIGUSR1" }) {
        EXPECT_THAT(outcome.out, HasSubstr(word));
    }
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(CommandLineTest, HelpOfTheProgramListsAllCommandsAndThatOfACommandItsOptions)
{
    const Outcome ofAll = tovrin({ "--help" });
    for (const char* command : { "run", "plan", "test", "explain", "report", "shell", "timers", "top" }) {
        EXPECT_THAT(ofAll.out, testing::ContainsRegex("\n  " + std::string(command) + " +\\w+ \\w+"));
    }
    for (const Words& words : { Words { "run", "-h" }, { "--help", "run" } }) {
        EXPECT_THAT(tovrin(words).out, HasSubstr("\n  --max-backlog N")) << words.front();
    }
}

TEST_F(CommandLineTest, HelpHasTheTableOfExitStatuses)
{
    for (const Words& words : { Words { "--help" }, { "run", "--help" } }) {
        EXPECT_THAT(tovrin(words).out, HasSubstr("\nExit status\n\nThe first row that holds:\n\n| status |"));
    }
}

} // namespace

} // namespace scripts
