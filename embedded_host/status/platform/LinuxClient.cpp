#include "embedded_host/status/StatusClient.hpp"
#include "embedded_host/status/StatusProtocol.hpp"
#include "embedded_host/status/platform/LinuxSocket.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <csignal>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tovrinhost {

using platform::Descriptor;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience { 3 };

std::string programNamed(std::int64_t process)
{
    return "the program " + std::to_string(process);
}

[[noreturn]] void failOf(std::int64_t process, const std::string& what)
{
    throw std::runtime_error(programNamed(process) + ' ' + what);
}

[[noreturn]] void failForLackOfSocket(std::int64_t process)
{
    const bool isThere = kill(static_cast<pid_t>(process), 0) == 0 || errno == EPERM;
    if (!isThere) {
        throw std::runtime_error("there is no process " + std::to_string(process));
    }
    failOf(process, "serves no status to you; tovrin run --status FILE starts one that does");
}

/// An exchange with one program, with an end.
class Conversation {
public:
    explicit Conversation(std::int64_t process)
        : m_process(process)
    {
    }

    void connect()
    {
        const std::string folder = platform::statusFolder();
        if (!platform::checkStatusFolder(folder)) {
            failForLackOfSocket(m_process);
        }
        const std::string path = platform::statusSocket(folder, m_process);
        for (;;) {
            auto [connection, error] = platform::connectTo(path);
            if (connection) {
                m_connection = std::move(connection);
                break;
            }
            if (error == ENOENT) {
                failForLackOfSocket(m_process);
            }
            if (error == ECONNREFUSED) {
                unlink(path.c_str());
                failOf(m_process, "has ended");
            }
            if (error != EAGAIN) {
                platform::failWith("cannot reach " + programNamed(m_process), error);
            }
            // As many wait as may.
            checkTime();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (!platform::isOfThisUser(m_connection)) {
            failOf(m_process, "is another user's");
        }
    }

    void say(const std::string& request)
    {
        std::size_t said = 0;
        while (said < request.size()) {
            const ssize_t now
                = send(*m_connection, request.data() + said, request.size() - said, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (now < 0 && errno != EAGAIN && errno != EINTR) {
                fail(errno);
            }
            said += now > 0 ? static_cast<std::size_t>(now) : 0;
            if (said < request.size()) {
                await(POLLOUT);
            }
        }
    }

    /// \returns the answer, without the end of its line
    std::string listen()
    {
        std::string answer;
        std::array<char, 65'536> piece {};
        for (;;) {
            await(POLLIN);
            const ssize_t now = recv(*m_connection, piece.data(), piece.size(), MSG_DONTWAIT);
            if (now < 0 && errno != EAGAIN && errno != EINTR) {
                fail(errno);
            }
            if (now == 0) {
                failOf(m_process, "went away before it had answered");
            }
            answer.append(piece.data(), now > 0 ? static_cast<std::size_t>(now) : 0);
            if (!answer.empty() && answer.back() == '\n') {
                answer.pop_back();
                return answer;
            }
            if (answer.size() > protocol::longestAnswer) {
                failOf(m_process, "answers without an end");
            }
        }
    }

private:
    [[noreturn]] void fail(int error) const
    {
        if (error == EPIPE || error == ECONNRESET) {
            failOf(m_process, "went away before it had answered");
        }
        platform::failWith("cannot reach " + programNamed(m_process), error);
    }

    std::chrono::milliseconds timeLeft() const
    {
        return std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now());
    }

    void checkTime() const
    {
        if (timeLeft().count() <= 0) {
            failOf(m_process, "has not answered within " + std::to_string(patience.count()) + " s");
        }
    }

    void await(short what) const
    {
        checkTime();
        pollfd awaited { *m_connection, what, 0 };
        poll(&awaited, 1, static_cast<int>(timeLeft().count()));
        if (awaited.revents == 0) {
            checkTime();
        }
    }

    const std::int64_t m_process;
    const Clock::time_point m_end = Clock::now() + patience;
    Descriptor m_connection;
};

/// \returns the process whose socket it is; 0 if it is none
std::int64_t processOf(const std::string& fileName)
{
    constexpr std::string_view ending = ".sock";
    std::int64_t process = 0;
    const char* const last = fileName.data() + fileName.size();
    const auto [end, error] = std::from_chars(fileName.data(), last, process);
    return error == std::errc() && std::string_view(end, static_cast<std::size_t>(last - end)) == ending ? process
                                                                                                         : 0;
}

} // namespace

std::string askProgram(std::int64_t process, const std::string& request)
{
    Conversation conversation(process);
    conversation.connect();
    conversation.say(request);
    return conversation.listen();
}

std::vector<std::int64_t> servingPrograms()
{
    const std::string folder = platform::statusFolder();
    std::vector<std::int64_t> programs;
    if (!platform::checkStatusFolder(folder)) {
        return programs;
    }
    std::error_code ignored; // what cannot be read has no sockets for us
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
        const std::int64_t process = processOf(entry.path().filename().string());
        if (process <= 0) {
            continue;
        }
        if (platform::connectTo(entry.path().string()).second == ECONNREFUSED) {
            unlink(entry.path().c_str());
        } else {
            programs.push_back(process);
        }
    }
    std::sort(programs.begin(), programs.end());
    return programs;
}

} // namespace tovrinhost
