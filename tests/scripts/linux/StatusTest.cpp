#include "tests/scripts/ScriptTest.hpp"
#include "tests/scripts/linux/ServingProgram.hpp"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace scripts {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

/// A program that serves its status, and those that ask it.
class StatusTest : public ScriptTest {
protected:
    StatusTest() { fs::create_directory(runtime()); }

    std::string runtime() const { return folder() + "/runtime"; }

    /// A script that goes on until it is told otherwise.
    ServingProgram start(const std::string& script, const std::string& name = "script.lua")
    {
        write(name, script);
        return { folder(), runtime(), name };
    }

    /// `tovrin` with these words of a shell.
    Outcome ask(const std::string& words)
    {
        return shell("XDG_RUNTIME_DIR='" + runtime() + "' exec \"$TOVRIN\" " + words);
    }

    std::string outputOf(const std::string& script) const
    {
        std::ifstream file(folder() + '/' + script + ".out");
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

    /// \returns a connection; or -1 if too many want one
    static int connect(const std::string& path)
    {
        const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.data(), path.size());
        if (::connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            return made;
        }
        close(made);
        return -1;
    }

    const std::string serveForLong = "timer { Name = 'poll', ExecutionMode = 'FixedRate', Period = 0.05, "
                                     "TimerFcn = function() end }:start()\n";
};

TEST_F(StatusTest, TimersPrintsTheTableOfTheOnlyProgramThatServes)
{
    const auto program = start(serveForLong + R"(
timer { Name = "later", StartDelay = 3600, TimerFcn = print }:start()
timer { Name = "bad\27[31m\xff\n", TimerFcn = print }
local over = timer { Name = "over", TimerFcn = function() end }
over:start()
over:wait())");
    const Outcome outcome = ask("timers");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    const auto all = lines(outcome.out);
    ASSERT_EQ(all.size(), 6U) << outcome.out;
    EXPECT_THAT(all[0],
        MatchesRegex("tovrin " + program.name()
            + ", script\\.lua: 4 timers after [0-9.]+ s of the steady clock; due, left and last run in s, "
              "lateness in "
              "ms, its 99 % by the latest 32768 firings of all timers"));
    EXPECT_THAT(all[1],
        MatchesRegex("timer +state +settings +due +left +last run +runs +late: last +99 % +most +busy % +dropped "
                     "+backlog"));
    EXPECT_THAT(all[2], MatchesRegex("poll +(due|waits|runs) +FixedRate, Drop, 0\\.05 s +[0-9].*"));
    EXPECT_THAT(
        all[3], MatchesRegex("later +due +SingleShot +3600\\.[0-9]+ +35[0-9.]+ +- +0 +- +- +- +0\\.0 +0 +0"));
    EXPECT_THAT(all[4], StartsWith("bad\\x1b[31m\\xff\\n  new"));
    EXPECT_THAT(all[5], MatchesRegex("over +stopped +SingleShot +- +- +[0-9.]+ +1 .*"));
    EXPECT_EQ(ask("timers " + program.name()).status, 0);
}

TEST_F(StatusTest, TimersPrintsADocumentForPrograms)
{
    const auto program = start(serveForLong);
    const Outcome outcome = ask("timers --json " + program.name());
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("{\"moreTimers\":0,\"now\":"));
    EXPECT_THAT(outcome.out, HasSubstr("\"name\":\"poll\",\"number\":1"));
    EXPECT_THAT(outcome.out, HasSubstr("\"tovrin\":1}\n"));
}

TEST_F(StatusTest, FolderAndSocketAreTheUsersAloneAndTheSocketGoesWithTheProgram)
{
    auto program = start(serveForLong);
    struct stat found { };
    ASSERT_EQ(lstat((runtime() + "/tovrin").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 07777U, 0700U);
    ASSERT_EQ(lstat(program.socketPath().c_str(), &found), 0);
    EXPECT_TRUE(S_ISSOCK(found.st_mode));
    EXPECT_EQ(found.st_mode & 07777U, 0600U);
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 143);
    EXPECT_TRUE(fs::is_empty(runtime() + "/tovrin"));
}

TEST_F(StatusTest, WithoutARuntimeFolderTheSocketIsInATemporaryOneOfTheUser)
{
    write("script.lua", "local f = io.popen('ls -d /tmp/tovrin-*/*.sock') print(f:read('a'))");
    const Outcome outcome
        = shell("unset XDG_RUNTIME_DIR; sh -c 'echo $$; exec \"$0\" run --status script.lua' \"$TOVRIN\"");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out,
        HasSubstr("/tmp/tovrin-" + std::to_string(geteuid()) + '/' + lines(outcome.out).front() + ".sock\n"));
}

TEST_F(StatusTest, TwoProgramsAreToldApart)
{
    const auto one = start(serveForLong, "one.lua");
    const auto two = start(serveForLong, "two.lua");
    const auto [first, second] = one.process() < two.process()
        ? std::pair(one.name() + " (one.lua)", two.name() + " (two.lua)")
        : std::pair(two.name() + " (two.lua)", one.name() + " (one.lua)");
    const Outcome outcome = ask("timers");
    EXPECT_EQ(outcome.err,
        "tovrin: several programs serve their status, say which by its number: " + first + ", " + second + "\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(ask("timers " + two.name()).out, HasSubstr(", two.lua: 1 timer after "));
}

TEST_F(StatusTest, ADeadProgramsSocketIsRemovedByTheNextOneAndByTimers)
{
    const auto leaveSocket = [this] {
        auto program = start(serveForLong);
        program.signal(SIGKILL);
        program.wait();
        EXPECT_TRUE(fs::exists(program.socketPath()));
        return program.socketPath();
    };
    std::string left = leaveSocket();
    EXPECT_EQ(ask("timers").err,
        "tovrin: no program of yours serves its status; tovrin run --status FILE starts one that does\n");
    EXPECT_FALSE(fs::exists(left));

    left = leaveSocket();
    const auto program = start(serveForLong);
    EXPECT_FALSE(fs::exists(left));
    EXPECT_EQ(ask("timers").status, 0);
}

TEST_F(StatusTest, AProgramThatCannotBeAskedIsToldOf)
{
    Outcome outcome = ask("timers 2000000000");
    EXPECT_EQ(outcome.err, "tovrin: there is no process 2000000000\n");
    EXPECT_EQ(outcome.status, 1);
    outcome = ask("timers " + std::to_string(getpid()));
    EXPECT_EQ(outcome.err,
        "tovrin: the program " + std::to_string(getpid())
            + " serves no status to you; tovrin run --status FILE starts one that does\n");
    EXPECT_EQ(outcome.status, 1);
    const auto program = start(serveForLong);
    program.signal(SIGSTOP);
    outcome = ask("timers " + program.name());
    EXPECT_EQ(outcome.err, "tovrin: the program " + program.name() + " has not answered within 3 s\n");
    EXPECT_EQ(outcome.status, 1);
    program.signal(SIGCONT);
    for (const char* wrong :
        { "timers x", "timers 0", "timers -- -1", "timers 1 2", "timers 99999999999", "top 1x" }) {
        EXPECT_EQ(ask(wrong).status, 2) << wrong;
    }
    EXPECT_EQ(ask("timers x").err,
        "tovrin: PID: \"x\" is not allowed: it must be a whole number from 1 to 2147483647\nTry 'tovrin timers "
        "--help'.\n");
}

TEST_F(StatusTest, AScriptDoesNotBeginWhereTheFolderIsNotTheUsersAlone)
{
    fs::create_directory(runtime() + "/tovrin");
    chmod((runtime() + "/tovrin").c_str(), 0750);
    write("script.lua", "print('begun')");
    Outcome outcome = ask("run --status script.lua");
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
        "tovrin: the folder \"" + runtime()
            + "/tovrin\", for the sockets of programs that serve their status, has the mode 0750; it must be "
              "0700\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(ask("timers").err, outcome.err);
    EXPECT_EQ(ask("run script.lua").out, "begun\n");
    if (geteuid() != 0) {
        return; // only root can make a folder of somebody else
    }
    chmod((runtime() + "/tovrin").c_str(), 0700);
    ASSERT_EQ(chown((runtime() + "/tovrin").c_str(), 12'345, 12'345), 0);
    outcome = ask("run --status script.lua");
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("belongs to the user 12345; it must be yours, which is 0"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(StatusTest, ClientsThatFloodStallOrLieDoNotSlowTheScript)
{
    // How many firings were dropped, and how late the latest one was.
    const std::string script = R"(
local t = timer { ExecutionMode = "FixedRate", Period = 0.01, TasksToExecute = 300, TimerFcn = function() end }
t:start() t:wait()
local s = t:statistics()
print("runs " .. s.Runs) print("drops " .. s.Drops) print("p99 " .. s.Lateness.P99))";
    retrySlower([&](double factor) -> std::string {
        auto program = start(script);
        std::atomic<bool> ends { false };
        std::atomic<int> refused { 0 };
        std::vector<std::thread> clients;
        for (const std::string& words : { std::string("tovrin 1 timers\n"), std::string("tovrin 1 timer 1\n"),
                 std::string(100'000, 'x'), std::string("tovrin 1 tim"), std::string("\0\n{}", 4) }) {
            clients.emplace_back([&, words] {
                std::vector<int> stalling;
                while (!ends) {
                    const int made = connect(program.socketPath());
                    if (made < 0) {
                        ++refused;
                        // Else what is measured is how busy the flood itself keeps the processor.
                        std::this_thread::sleep_for(std::chrono::milliseconds(1));
                        continue;
                    }
                    send(made, words.data(), words.size(), MSG_NOSIGNAL);
                    stalling.push_back(made);
                    if (stalling.size() > 20) {
                        close(stalling.front());
                        stalling.erase(stalling.begin());
                    }
                }
                for (const int made : stalling) {
                    close(made);
                }
            });
        }
        const int status = program.wait();
        ends = true;
        for (std::thread& client : clients) {
            client.join();
        }
        EXPECT_EQ(status, 0);
        EXPECT_GT(refused, 0); // the flood was one
        const std::string output = outputOf("script.lua");
        EXPECT_THAT(numbersAfter(output, "runs"), ElementsAre(300)) << output;
        const auto late = numbersAfter(output, "p99");
        const auto drops = numbersAfter(output, "drops");
        const bool isSlowed = late.size() != 1 || drops.size() != 1 || late[0] > 0.005 * factor || drops[0] > 0;
        return isSlowed ? "the script was slowed: " + output : "";
    });
}

} // namespace

} // namespace scripts
