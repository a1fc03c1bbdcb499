#include "embedded_host/status/ValidText.hpp"

#include <array>
#include <cstdint>

namespace tovrinhost {

namespace {

bool isFollower(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// How many bytes of the text's beginning are a character; 0 if none are.
std::size_t lengthOfCharacter(std::string_view text)
{
    struct Form {
        std::uint32_t mask;
        std::uint32_t head;
        std::uint32_t smallest; // what would fit into fewer bytes is no character
    };
    static constexpr std::array<Form, 4> forms { { { 0x80, 0x00, 0 }, { 0xE0, 0xC0, 0x80 }, { 0xF0, 0xE0, 0x800 },
        { 0xF8, 0xF0, 0x10000 } } };
    const std::uint32_t head = static_cast<unsigned char>(text.front());
    for (std::size_t length = 1; length <= forms.size() && length <= text.size(); ++length) {
        const Form& form = forms.at(length - 1);
        if ((head & form.mask) != form.head) {
            continue;
        }
        std::uint32_t character = head & ~form.mask;
        for (std::size_t i = 1; i < length; ++i) {
            if (!isFollower(text[i])) {
                return 0;
            }
            character = (character << 6U) | (static_cast<unsigned char>(text[i]) & 0x3FU);
        }
        const bool isSurrogate = character >= 0xD800 && character < 0xE000;
        return character >= form.smallest && character <= 0x10FFFF && !isSurrogate ? length : 0;
    }
    return 0;
}

} // namespace

std::string validText(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string valid;
    valid.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacter(text);
        if (length == 0) {
            const auto byte = static_cast<unsigned char>(text.front());
            valid += { '\\', 'x', digits[byte >> 4U], digits[byte & 0xFU] };
        }
        valid += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return valid;
}

std::string shortened(std::string text, std::size_t most)
{
    constexpr std::string_view mark = "...";
    if (text.size() <= most) {
        return text;
    }
    std::size_t end = most - mark.size();
    while (end > 0 && isFollower(text[end])) {
        --end;
    }
    text.resize(end);
    return text += mark;
}

std::size_t characterCount(std::string_view text)
{
    std::size_t count = 0;
    for (const char byte : text) {
        count += isFollower(byte) ? 0 : 1;
    }
    return count;
}

std::string firstCharacters(std::string_view text, std::size_t count)
{
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        if (!isFollower(text[end]) && count-- == 0) {
            break;
        }
    }
    return std::string(text.substr(0, end));
}

} // namespace tovrinhost
