#include "c_interface/LastError.hpp"

#include "timer_src/main/Concurrency.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

namespace tovrin_c {

namespace {

/// Nothing has to be destroyed with the thread, which may outlive the library.
struct Text {
    std::array<char, 1024> bytes;
    std::size_t length;

    void append(std::string_view text) noexcept
    {
        constexpr unsigned char continued = 0x80;
        constexpr unsigned char mask = 0xC0;
        std::size_t fits = std::min(text.size(), bytes.size() - 1 - length);
        const auto isInsideCharacter = [&] {
            return fits > 0 && fits < text.size() && (static_cast<unsigned char>(text[fits]) & mask) == continued;
        };
        while (isInsideCharacter()) {
            --fits;
        }
        // The text may be this very one.
        std::copy_n(text.begin(), fits, bytes.begin() + static_cast<std::ptrdiff_t>(length));
        length += fits;
        bytes[length] = '\0';
    }
};

Text& ofThisThread() noexcept
{
    return tovrintimer::ofThisThread<Text>();
}

} // namespace

const char* lastError() noexcept
{
    return ofThisThread().bytes.data();
}

void setLastError(std::string_view text) noexcept
{
    ofThisThread().length = 0;
    ofThisThread().append(text);
}

void setLastError(std::string_view where, std::string_view text) noexcept
{
    setLastError(where);
    ofThisThread().append(": ");
    ofThisThread().append(text);
}

} // namespace tovrin_c
