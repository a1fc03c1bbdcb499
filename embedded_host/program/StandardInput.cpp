#include "embedded_host/program/StandardInput.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace tovrinhost {

std::string readStandardInput()
{
    std::string text;
    std::array<char, BUFSIZ> piece {};
    while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), stdin)) {
        text.append(piece.data(), size);
    }
    if (std::ferror(stdin) != 0) {
        throw std::runtime_error("standard input cannot be read: " + std::generic_category().message(errno));
    }
    constexpr const char* mark = "\xEF\xBB\xBF"; // of UTF-8, which Lua skips in a file, too
    text.erase(0, text.starts_with(mark) ? 3 : 0);
    if (text.starts_with('#')) {
        text.erase(0, text.find('\n'));
    }
    return text;
}

} // namespace tovrinhost
