#include "embedded_host/status/platform/LinuxSocket.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tovrinhost::platform {

namespace {

constexpr mode_t folderMode = 0700;

[[noreturn]] void refuseFolder(const std::string& folder, const std::string& why)
{
    throw std::runtime_error(
        "the folder \"" + folder + "\", for the sockets of programs that serve their status, " + why);
}

} // namespace

Descriptor::~Descriptor()
{
    if (m_number >= 0) {
        close(m_number);
    }
}

void failWith(const std::string& what, int error)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(error));
}

std::string statusFolder()
{
    // Nobody in this process changes its environment. NOLINTNEXTLINE(concurrency-mt-unsafe)
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && *runtime == '/') {
        return std::string(runtime) + "/tovrin";
    }
    return "/tmp/tovrin-" + std::to_string(geteuid());
}

void makeStatusFolder(const std::string& folder)
{
    if (mkdir(folder.c_str(), folderMode) != 0 && errno != EEXIST) {
        const int error = errno;
        refuseFolder(folder, "cannot be made: " + std::generic_category().message(error));
    }
    checkStatusFolder(folder);
}

bool checkStatusFolder(const std::string& folder)
{
    // What is looked at is the folder itself, whatever is put in its place meanwhile: nobody else can do so, since
    // what it stands in is either the user's own, or sticky.
    struct stat found { };
    if (lstat(folder.c_str(), &found) != 0) {
        if (errno == ENOENT) {
            return false;
        }
        const int error = errno;
        refuseFolder(folder, "cannot be looked at: " + std::generic_category().message(error));
    }
    if (S_ISLNK(found.st_mode)) {
        refuseFolder(folder, "is a symbolic link; it must be a folder");
    }
    if (!S_ISDIR(found.st_mode)) {
        refuseFolder(folder, "is no folder");
    }
    if (found.st_uid != geteuid()) {
        refuseFolder(folder,
            "belongs to the user " + std::to_string(found.st_uid) + "; it must be yours, which is "
                + std::to_string(geteuid()));
    }
    constexpr mode_t permissions = 07777;
    if ((found.st_mode & permissions) != folderMode) {
        std::array<char, 8> mode {};
        std::snprintf(mode.data(), mode.size(), "%04o", static_cast<unsigned>(found.st_mode & permissions));
        refuseFolder(folder, std::string("has the mode ") + mode.data() + "; it must be 0700");
    }
    return true;
}

std::string statusSocket(const std::string& folder, std::int64_t process)
{
    return folder + '/' + std::to_string(process) + ".sock";
}

Descriptor makeSocket()
{
    Descriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!made) {
        failWith("cannot make a socket", errno);
    }
    return made;
}

sockaddr_un addressOf(const std::string& path)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::runtime_error("the name of the socket \"" + path + "\" has " + std::to_string(path.size())
            + " bytes; it may have " + std::to_string(sizeof address.sun_path - 1));
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    return address;
}

bool isOfThisUser(const Descriptor& socket)
{
    ucred peer {};
    socklen_t size = sizeof peer;
    return getsockopt(*socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

std::pair<Descriptor, int> connectTo(const std::string& path)
{
    Descriptor connection = makeSocket();
    const sockaddr_un address = addressOf(path);
    // Addresses of all kinds are handed over as one. NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    const int result = connect(*connection, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int error = result == 0 ? 0 : errno;
    return { error == 0 ? std::move(connection) : Descriptor(), error };
}

} // namespace tovrinhost::platform
