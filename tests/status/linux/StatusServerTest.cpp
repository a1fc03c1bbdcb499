#include "embedded_host/status/StatusServer.hpp"
#include "embedded_host/status/StatusClient.hpp"
#include "embedded_host/status/StatusProtocol.hpp"
#include "embedded_host/status/platform/LinuxSocket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include <csignal>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tovrinhost {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using platform::Descriptor;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A runtime folder of the test's own.
class StatusServerTest : public testing::Test {
protected:
    StatusServerTest()
    {
        std::string form = (fs::temp_directory_path() / "tovrin-status-XXXXXX").string();
        m_runtime = mkdtemp(form.data());
        setenv("XDG_RUNTIME_DIR", m_runtime.c_str(), 1);
    }

    ~StatusServerTest() override
    {
        unsetenv("XDG_RUNTIME_DIR");
        std::error_code ignored;
        fs::remove_all(m_runtime, ignored);
    }

    std::string folder() const { return m_runtime + "/tovrin"; }
    std::string socketPath() const { return folder() + '/' + std::to_string(getpid()) + ".sock"; }

    static unsigned modeOf(const std::string& path)
    {
        struct stat found { };
        EXPECT_EQ(lstat(path.c_str(), &found), 0) << path;
        return found.st_mode & 07777U;
    }

    Descriptor connection() const
    {
        auto [made, error] = platform::connectTo(socketPath());
        EXPECT_EQ(error, 0);
        return std::move(made);
    }

    static bool say(const Descriptor& connection, const std::string& text)
    {
        return send(*connection, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
    }

    /// \returns what comes until the server hangs up; "(late)" if it does not within the time
    static std::string all(const Descriptor& connection, milliseconds limit = std::chrono::seconds(30))
    {
        const auto end = Clock::now() + limit;
        std::string text;
        for (;;) {
            pollfd awaited { *connection, POLLIN, 0 };
            const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
            if (left.count() <= 0 || poll(&awaited, 1, static_cast<int>(left.count())) == 0) {
                return "(late)";
            }
            std::array<char, 65'536> piece {};
            const ssize_t now = recv(*connection, piece.data(), piece.size(), 0);
            if (now <= 0) {
                return text;
            }
            text.append(piece.data(), static_cast<std::size_t>(now));
        }
    }

    /// \returns whether the server hangs up on someone who does not read, within half a minute
    static bool isHungUpOn(const Descriptor& connection)
    {
        pollfd end { *connection, 0, 0 };
        constexpr int limit = 30'000;
        return poll(&end, 1, limit) == 1 && (end.revents & POLLHUP) != 0;
    }

    /// \returns how many bytes a socket holds for someone who does not read
    static std::size_t roomOfASocket()
    {
        const Descriptor socket = platform::makeSocket();
        int room = 0;
        socklen_t size = sizeof room;
        EXPECT_EQ(getsockopt(*socket, SOL_SOCKET, SO_SNDBUF, &room, &size), 0);
        return static_cast<std::size_t>(room);
    }

    template <typename Action> static std::string complaint(const Action& action)
    {
        try {
            action();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    }

    static std::string echo(std::string_view request) { return "<" + std::string(request) + ">\n"; }

    std::string complaintOfServer() const
    {
        return complaint([] { const StatusServer server(echo); });
    }

    std::string m_runtime;
};

TEST_F(StatusServerTest, ARequestIsAnsweredAndTheServerHangsUp)
{
    const StatusServer server(echo);
    const Descriptor client = connection();
    EXPECT_TRUE(say(client, "how "));
    EXPECT_TRUE(say(client, "are you\nand more"));
    EXPECT_EQ(all(client), "<how are you>\n");
    EXPECT_EQ(askProgram(getpid(), "again\n"), "<again>");
}

TEST_F(StatusServerTest, FolderAndSocketAreTheUsersAloneAndTheSocketGoesWithTheServer)
{
    const mode_t before = umask(0);
    {
        const StatusServer server(echo);
        EXPECT_EQ(modeOf(folder()), 0700U);
        EXPECT_EQ(modeOf(socketPath()), 0600U);
        EXPECT_THAT(servingPrograms(), ElementsAre(getpid()));
    }
    umask(before);
    EXPECT_TRUE(fs::is_empty(folder()));
    EXPECT_THAT(servingPrograms(), IsEmpty());
}

TEST_F(StatusServerTest, AFolderThatIsNotTheUsersAloneIsRefused)
{
    const std::string what
        = "the folder \"" + folder() + "\", for the sockets of programs that serve their status, ";
    fs::create_directory(folder());
    for (const auto& [mode, text] :
        { std::pair(0755U, "0755"), { 0701U, "0701" }, { 01700U, "1700" }, { 0500U, "0500" } }) {
        chmod(folder().c_str(), mode);
        EXPECT_EQ(complaintOfServer(), what + "has the mode " + text + "; it must be 0700");
        EXPECT_EQ(complaint(servingPrograms), what + "has the mode " + text + "; it must be 0700");
    }
    chmod(folder().c_str(), 0700);
    EXPECT_EQ(complaintOfServer(), "none");

    fs::rename(folder(), m_runtime + "/elsewhere");
    fs::create_directory_symlink(m_runtime + "/elsewhere", folder());
    EXPECT_EQ(complaintOfServer(), what + "is a symbolic link; it must be a folder");
    fs::remove(folder());
    std::ofstream(folder()) << "x";
    EXPECT_EQ(complaintOfServer(), what + "is no folder");
    EXPECT_TRUE(fs::is_empty(m_runtime + "/elsewhere"));

    setenv("XDG_RUNTIME_DIR", (m_runtime + "/none").c_str(), 1);
    EXPECT_THAT(complaintOfServer(),
        HasSubstr("none/tovrin\", for the sockets of programs that serve their status, "
                  "cannot be made: No such file or directory"));
    EXPECT_THAT(servingPrograms(), IsEmpty());
    setenv("XDG_RUNTIME_DIR", (m_runtime + '/' + std::string(100, 'x')).c_str(), 1);
    fs::create_directory(std::getenv("XDG_RUNTIME_DIR"));
    EXPECT_THAT(complaintOfServer(), HasSubstr(" bytes; it may have 107"));
}

TEST_F(StatusServerTest, AFolderOfSomebodyElseIsRefused)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make a folder of somebody else";
    }
    fs::create_directory(folder());
    chmod(folder().c_str(), 0700);
    ASSERT_EQ(chown(folder().c_str(), 12'345, 0), 0);
    EXPECT_THAT(complaintOfServer(), HasSubstr("belongs to the user 12345; it must be yours, which is 0"));
    EXPECT_THAT(complaint([] { askProgram(1, "x\n"); }), HasSubstr("belongs to the user 12345"));
}

TEST_F(StatusServerTest, AnotherUserIsHungUpOnEvenWhereTheFolderLetsHimIn)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can ask as somebody else";
    }
    const StatusServer server(echo);
    chmod(m_runtime.c_str(), 0755);
    chmod(folder().c_str(), 0755);
    chmod(socketPath().c_str(), 0666);
    const std::string path = socketPath();
    const pid_t child = fork();
    if (child == 0) {
        bool isRefused = false;
        if (setresuid(12'345, 12'345, 12'345) == 0) {
            const auto [made, error] = platform::connectTo(path);
            isRefused = error == 0 && (say(made, "x\n"), all(made).empty());
        }
        _exit(isRefused ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    chmod(folder().c_str(), 0700);
    EXPECT_EQ(askProgram(getpid(), "x\n"), "<x>");
}

TEST_F(StatusServerTest, ASocketOfADeadProcessIsRemovedByWhoeverComesUponIt)
{
    const auto leave = [this](const std::string& name) {
        const Descriptor socket = platform::makeSocket();
        const auto address = platform::addressOf(folder() + '/' + name);
        EXPECT_EQ(bind(*socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    };
    fs::create_directory(folder());
    chmod(folder().c_str(), 0700);
    std::ofstream(folder() + "/notes.txt") << "x";

    leave("4000001.sock");
    EXPECT_THAT(servingPrograms(), IsEmpty());
    EXPECT_FALSE(fs::exists(folder() + "/4000001.sock"));

    leave("4000001.sock");
    EXPECT_EQ(complaint([] { askProgram(4'000'001, "x\n"); }), "the program 4000001 has ended");
    EXPECT_FALSE(fs::exists(folder() + "/4000001.sock"));

    leave("4000001.sock");
    leave(std::to_string(getpid()) + ".sock"); // of an earlier process of this number
    leave(std::to_string(getpid()) + ".sock.new");
    const StatusServer server(echo);
    EXPECT_FALSE(fs::exists(folder() + "/4000001.sock"));
    EXPECT_EQ(askProgram(getpid(), "x\n"), "<x>");
    EXPECT_THAT(servingPrograms(), ElementsAre(getpid()));
    EXPECT_TRUE(fs::exists(folder() + "/notes.txt"));
}

TEST_F(StatusServerTest, ARequestThatIsTooLongIsHungUpOn)
{
    const StatusServer server(echo);
    const std::string most(protocol::longestRequest - 1, 'x');
    const Descriptor fits = connection();
    say(fits, most + '\n');
    EXPECT_EQ(all(fits), '<' + most + ">\n");
    const Descriptor tooLong = connection();
    say(tooLong, most + "x\n");
    EXPECT_EQ(all(tooLong), "");
    const Descriptor endless = connection();
    while (say(endless, std::string(10'000, 'x'))) { }
    EXPECT_EQ(all(endless), "");
}

TEST_F(StatusServerTest, WhoStallsIsHungUpOnAndThoseWhoWaitGetTheirTurn)
{
    const StatusServer server(echo);
    const auto begin = Clock::now();
    std::vector<Descriptor> stalling;
    for (int client = 0; client < 8; ++client) {
        stalling.push_back(connection());
        say(stalling.back(), "tovrin 1 tim");
    }
    EXPECT_EQ(askProgram(getpid(), "x\n"), "<x>");
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(2));
    for (const Descriptor& client : stalling) {
        EXPECT_EQ(all(client), "");
    }
}

TEST_F(StatusServerTest, WhoDoesNotReadHisAnswerIsHungUpOn)
{
    const std::string longAnswer(3 * roomOfASocket(), 'x');
    const StatusServer server(
        [&](std::string_view request) { return request == "long" ? longAnswer : echo(request); });
    const Descriptor client = connection();
    say(client, "long\n");
    ASSERT_TRUE(isHungUpOn(client));
    const std::string got = all(client);
    EXPECT_GT(got.size(), 0U);
    EXPECT_LT(got.size(), longAnswer.size());

    const Descriptor reading = connection();
    say(reading, "long\n");
    EXPECT_EQ(all(reading), longAnswer);
}

TEST_F(StatusServerTest, AnAnswerThatFailsHarmsNoLaterOne)
{
    const StatusServer server([](std::string_view request) -> std::string {
        if (request == "fail") {
            throw std::bad_alloc();
        }
        return echo(request);
    });
    EXPECT_THAT(complaint([] { askProgram(getpid(), "fail\n"); }), HasSubstr("went away before it had answered"));
    EXPECT_EQ(askProgram(getpid(), "x\n"), "<x>");
}

TEST_F(StatusServerTest, AFloodGetsATwentiethOfAProcessorAtMost)
{
    // How long the server's thread has worked, at the end of each answer.
    std::atomic<std::int64_t> worked { 0 };
    const auto work = [&worked](std::string_view request) {
        timespec now {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        const std::int64_t end = now.tv_sec * 1'000'000'000 + now.tv_nsec + 5'000'000;
        do {
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
            worked = now.tv_sec * 1'000'000'000 + now.tv_nsec;
        } while (worked < end);
        return echo(request);
    };
    const StatusServer server(work);
    const auto begin = Clock::now();
    std::atomic<bool> ends { false };
    std::vector<std::thread> flooding;
    for (int client = 0; client < 4; ++client) {
        flooding.emplace_back([this, &ends] {
            while (!ends) {
                auto [made, error] = platform::connectTo(socketPath());
                if (error == 0) {
                    say(made, "x\n" + std::string(5000, 'x'));
                    all(made, milliseconds(200));
                }
            }
        });
    }
    std::this_thread::sleep_for(std::chrono::seconds(2));
    const std::int64_t took = worked;
    const auto passed = std::chrono::nanoseconds(Clock::now() - begin).count();
    ends = true;
    for (std::thread& thread : flooding) {
        thread.join();
    }
    EXPECT_GT(took, 10'000'000);
    EXPECT_LT(took, passed / 20 + 20'000'000); // and an answer that is under way
}

TEST_F(StatusServerTest, WhoAsksIsToldWhyThereIsNoAnswer)
{
    EXPECT_EQ(complaint([] { askProgram(2'000'000'000, "x\n"); }), "there is no process 2000000000");
    EXPECT_THAT(complaint([] { askProgram(getpid(), "x\n"); }), HasSubstr("serves no status to you"));
    EXPECT_THAT(complaint([] { chooseProgram(std::nullopt); }), HasSubstr("tovrin run --status FILE starts one"));
    EXPECT_EQ(chooseProgram(7), 7);

    // One that listens, and says nothing.
    fs::create_directory(folder());
    chmod(folder().c_str(), 0700);
    const Descriptor silent = platform::makeSocket();
    const auto address = platform::addressOf(socketPath());
    ASSERT_EQ(bind(*silent, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(*silent, 8), 0);
    EXPECT_EQ(complaint([] { askProgram(getpid(), "x\n"); }),
        "the program " + std::to_string(getpid()) + " has not answered within 3 s");
    EXPECT_EQ(chooseProgram(std::nullopt), getpid());
    // And one that is already there is not replaced.
    EXPECT_THAT(complaintOfServer(), HasSubstr("cannot make the socket"));
}

} // namespace

} // namespace tovrinhost
