#include "embedded_host/log/ValidText.hpp"

#include "embedded_host/values/Utf8.hpp"

namespace tovrinhost {

namespace {

bool isFollower(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

} // namespace

std::string validText(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string valid;
    valid.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = firstCharacter(text).length;
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
