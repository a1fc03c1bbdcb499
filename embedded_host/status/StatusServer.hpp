#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tovrinhost {

/// Answers requests at a socket of the user's own, on a thread of its own, for as long as it lives.
///
/// What a client can take from the program is limited, whatever it does:
///
///     clients at a time            8; the next ones wait
///     a client's stay              2 s, the answer included
///     a request                    200 bytes; one for each client
///     the thread's share           a twentieth of a processor: it rests for 19 times as long as it has worked
///     users                        the program's own; others are hung up on
///
/// Threading: the answers are made on the server's thread.
class StatusServer {
public:
    /// Returns the answer to a line; may throw, which hangs up.
    using Answer = std::function<std::string(std::string_view request)>;

    /// Makes the socket, and its folder if there is none.
    /// \throws std::runtime_error with a text for people if that cannot be, as where the folder is somebody else's
    explicit StatusServer(Answer answer);
    StatusServer(const StatusServer&) = delete;
    StatusServer& operator=(const StatusServer&) = delete;

    /// Hangs up on all, and removes the socket.
    ~StatusServer();

private:
    class Serving;
    const std::unique_ptr<Serving> m_serving;
};

/// The number of this process.
std::int64_t ownProcess();

} // namespace tovrinhost
