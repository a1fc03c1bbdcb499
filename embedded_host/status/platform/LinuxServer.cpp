#include "embedded_host/status/StatusClient.hpp"
#include "embedded_host/status/StatusProtocol.hpp"
#include "embedded_host/status/StatusServer.hpp"
#include "embedded_host/status/platform/LinuxSocket.hpp"
#include "host/setCurrentThreadName.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <stdexcept>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tovrinhost {

using platform::Descriptor;

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t mostClients = 8;
constexpr int mostThatWait = 8;
constexpr std::chrono::seconds longestStay { 2 };
constexpr int restForWork = 19; // so many times as long
constexpr std::chrono::nanoseconds longestRest = milliseconds(950);
constexpr milliseconds restForLack { 100 };

/// What this thread has worked so far.
std::chrono::nanoseconds workedSoFar()
{
    timespec time {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// A socket that listens, under a name that nobody finds before it does.
Descriptor listenAt(const std::string& path)
{
    Descriptor listener = platform::makeSocket();
    const std::string unfinished = path + ".new";
    const sockaddr_un address = platform::addressOf(unfinished);
    unlink(unfinished.c_str()); // left by a process of the same number that was killed
    constexpr mode_t mode = 0600;
    // Addresses of all kinds are handed over as one. NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    const bool isDone = bind(*listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
        && chmod(unfinished.c_str(), mode) == 0 && listen(*listener, mostThatWait) == 0
        && link(unfinished.c_str(), path.c_str()) == 0; // not over one that there is
    const int error = errno;
    unlink(unfinished.c_str());
    if (!isDone) {
        platform::failWith("cannot make the socket \"" + path + '"', error);
    }
    return listener;
}

std::string makePlace()
{
    const std::string folder = platform::statusFolder();
    platform::makeStatusFolder(folder);
    servingPrograms(); // removes what dead ones have left
    return platform::statusSocket(folder, getpid());
}

/// One who asks.
struct Client {
    Descriptor connection;
    Clock::time_point end;
    std::string request;
    std::string answer;
    std::size_t said = 0;

    bool isAnswered() const { return !answer.empty(); }
};

} // namespace

class StatusServer::Serving {
public:
    explicit Serving(Answer answer)
        : m_answer(std::move(answer))
        , m_path(makePlace())
        , m_listener(listenAt(m_path))
        , m_ends(eventfd(0, EFD_CLOEXEC))
    {
        try {
            if (!m_ends) {
                platform::failWith("cannot serve the status", errno);
            }
            m_thread = std::thread([this] { run(); });
        } catch (...) {
            unlink(m_path.c_str());
            throw;
        }
    }

    Serving(const Serving&) = delete;
    Serving& operator=(const Serving&) = delete;

    ~Serving()
    {
        eventfd_write(*m_ends, 1);
        m_thread.join();
        unlink(m_path.c_str());
    }

private:
    void run() noexcept
    {
        setCurrentThreadName("status");
        while (!mayEnd(m_rest)) {
            const auto before = workedSoFar();
            const auto atLeast = serveOrGiveUp();
            m_rest = std::clamp((workedSoFar() - before) * restForWork, atLeast, longestRest);
        }
        m_clients.clear();
    }

    std::chrono::nanoseconds serveOrGiveUp() noexcept
    {
        try {
            return serve();
        } catch (...) {
            // No memory, as a rule: nobody is owed an answer.
            m_clients.clear();
            return restForLack;
        }
    }

    /// \returns whether it is to end; after that rest, if not
    bool mayEnd(std::chrono::nanoseconds rest) const
    {
        pollfd end { *m_ends, POLLIN, 0 };
        const timespec time { 0, rest.count() }; // less than a second
        ppoll(&end, 1, &time, nullptr);
        return end.revents != 0;
    }

    /// Waits until something happens, and sees to it.
    /// \returns for how long to rest at least
    std::chrono::nanoseconds serve()
    {
        // With the end of the server first, then all clients, then the listener where there is room.
        std::vector<pollfd> awaited { { *m_ends, POLLIN, 0 } };
        auto end = Clock::time_point::max();
        for (const Client& client : m_clients) {
            awaited.push_back(
                { *client.connection, static_cast<short>(client.isAnswered() ? POLLOUT : POLLIN), 0 });
            end = std::min(end, client.end);
        }
        const bool hasRoom = m_clients.size() < mostClients;
        if (hasRoom) {
            awaited.push_back({ *m_listener, POLLIN, 0 });
        }
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        const int limit = m_clients.empty() ? -1 : static_cast<int>(std::max<std::int64_t>(0, left.count()));
        poll(awaited.data(), awaited.size(), limit);
        const auto now = Clock::now();
        m_hasAnswered = false;
        std::size_t place = 0;
        std::erase_if(m_clients, [&](Client& client) {
            const bool hasNews = awaited[++place].revents != 0;
            return (hasNews && isDoneWith(client)) || now >= client.end;
        });
        return hasRoom && awaited.back().revents != 0 ? acceptAll(now) : std::chrono::nanoseconds::zero();
    }

    std::chrono::nanoseconds acceptAll(Clock::time_point now)
    {
        while (m_clients.size() < mostClients) {
            Descriptor connection(accept4(*m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (!connection) {
                const bool isNobodyThere = errno == EAGAIN || errno == ECONNABORTED || errno == EINTR;
                return isNobodyThere ? milliseconds::zero() : restForLack;
            }
            if (platform::isOfThisUser(connection)) {
                m_clients.push_back({ std::move(connection), now + longestStay, {}, {}, 0 });
            }
        }
        return {};
    }

    /// Goes on with a client as far as can be without waiting.
    bool isDoneWith(Client& client)
    {
        if (client.isAnswered()) {
            return hasSaidAll(client);
        }
        // One answer at a time, with a rest after it: so none can be late by more than the others' rests.
        return !m_hasAnswered && hasHungUpOrTalksTooMuch(client);
    }

    bool hasHungUpOrTalksTooMuch(Client& client)
    {
        std::array<char, protocol::longestRequest> piece {};
        const ssize_t now = recv(*client.connection, piece.data(), piece.size(), MSG_DONTWAIT);
        if (now <= 0) {
            return now == 0 || (errno != EAGAIN && errno != EINTR);
        }
        client.request.append(piece.data(), static_cast<std::size_t>(now));
        const std::size_t end = client.request.find('\n');
        if (end < protocol::longestRequest) {
            m_hasAnswered = true;
            client.answer = m_answer(std::string_view(client.request).substr(0, end));
            return false;
        }
        return client.request.size() >= protocol::longestRequest;
    }

    static bool hasSaidAll(Client& client)
    {
        const ssize_t now = send(*client.connection, client.answer.data() + client.said,
            client.answer.size() - client.said, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (now < 0) {
            return errno != EAGAIN && errno != EINTR;
        }
        client.said += static_cast<std::size_t>(now);
        return client.said == client.answer.size();
    }

    const Answer m_answer;
    const std::string m_path;
    const Descriptor m_listener;
    const Descriptor m_ends;
    std::vector<Client> m_clients; // only for the thread, like the next
    bool m_hasAnswered = false; // in this round
    std::chrono::nanoseconds m_rest {};
    std::thread m_thread;
};

StatusServer::StatusServer(Answer answer)
    : m_serving(std::make_unique<Serving>(std::move(answer)))
{
}

StatusServer::~StatusServer() = default;

std::int64_t ownProcess()
{
    return getpid();
}

} // namespace tovrinhost
