#include "tests/random_programs/run/File.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

namespace random_programs {

namespace {

void check(bool succeeds, const char* what)
{
    if (!succeeds) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

} // namespace

int openMemory()
{
    const int file = memfd_create("random_programs", 0);
    check(file >= 0, "memfd_create");
    return file;
}

void writeFile(int file, const std::string& text)
{
    check(ftruncate(file, 0) == 0, "ftruncate");
    check(lseek(file, 0, SEEK_SET) == 0, "lseek");
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t written = write(file, text.data() + at, text.size() - at);
        check(written > 0, "write");
        at += static_cast<std::size_t>(written);
    }
}

std::string readFile(int file)
{
    std::string text;
    std::array<char, 65536> part {};
    for (;;) {
        const ssize_t length = pread(file, part.data(), part.size(), static_cast<off_t>(text.size()));
        check(length >= 0, "pread");
        if (length == 0) {
            return text;
        }
        text.append(part.data(), static_cast<std::size_t>(length));
    }
}

} // namespace random_programs
