#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <sys/un.h>

namespace tovrinhost::platform {

/// A file descriptor, closed at last.
class Descriptor {
public:
    explicit Descriptor(int number = -1) noexcept
        : m_number(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor();

    int operator*() const { return m_number; }
    explicit operator bool() const { return m_number >= 0; }

private:
    int m_number;
};

/// "WHAT: TEXT OF errno"
/// \throws std::runtime_error always
[[noreturn]] void failWith(const std::string& what, int error);

/// The folder of this user's sockets: $XDG_RUNTIME_DIR/tovrin, or where that is not set, /tmp/tovrin-UID.
std::string statusFolder();

/// Makes the folder where there is none, and sees to it that it is this user's alone.
/// \throws std::runtime_error if it is not
void makeStatusFolder(const std::string& folder);

/// \returns whether there is a folder
/// \throws std::runtime_error if there is, and it is not this user's alone
bool checkStatusFolder(const std::string& folder);

/// Where in the folder a process has its socket.
std::string statusSocket(const std::string& folder, std::int64_t process);

/// A new socket that does not block, and the address of one.
/// \throws std::runtime_error
Descriptor makeSocket();
sockaddr_un addressOf(const std::string& path);

/// Whether whoever is at the other end of it is this user.
bool isOfThisUser(const Descriptor& socket);

/// \returns a connection, or the errno why there is none; EAGAIN: too many want one
std::pair<Descriptor, int> connectTo(const std::string& path);

} // namespace tovrinhost::platform
