#include "embedded_host/shell/platform/PrivateFile.hpp"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tovrinhost::platform {

namespace {

[[noreturn]] void fail(const std::string& path)
{
    throw std::system_error(errno, std::generic_category(), path);
}

void writeTo(const std::string& path, int flags, const std::string& text)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, S_IRUSR | S_IWUSR);
    if (file < 0) {
        fail(path);
    }
    const ssize_t written = write(file, text.data(), text.size());
    if (written >= 0 && written < static_cast<ssize_t>(text.size())) {
        errno = ENOSPC;
    }
    const int error = errno;
    close(file);
    errno = error;
    if (written != static_cast<ssize_t>(text.size())) {
        fail(path);
    }
}

} // namespace

void makePrivateFolder(const std::string& path)
{
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string folder = path.substr(0, end);
        if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
            fail(folder);
        }
        if (end == std::string::npos) {
            return;
        }
    }
}

void appendPrivately(const std::string& path, const std::string& text)
{
    writeTo(path, O_APPEND, text);
}

void replacePrivately(const std::string& path, const std::string& text)
{
    const std::string fresh = path + ".new";
    writeTo(fresh, O_TRUNC, text);
    if (std::rename(fresh.c_str(), path.c_str()) != 0) {
        fail(path);
    }
}

} // namespace tovrinhost::platform
