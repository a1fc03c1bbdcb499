#include "embedded_host/shell/platform/LinuxWideText.hpp"

#include "embedded_host/values/Utf8.hpp"

namespace tovrinhost::platform {

namespace {

constexpr std::uint32_t firstByte = 0xDC00; // a half of a pair, which stands for nothing alone
constexpr std::uint32_t lastByte = firstByte + 0xFF;

std::wstring convert(std::string_view& bytes, bool isWhole)
{
    std::wstring wide;
    while (!bytes.empty()) {
        const Utf8Character first = firstCharacter(bytes);
        if (first.isCutShort && !isWhole) {
            break;
        }
        const bool isCharacter = first.length > 0 && first.character != 0;
        const std::uint32_t byte = firstByte + static_cast<unsigned char>(bytes.front());
        wide += static_cast<wchar_t>(isCharacter ? first.character : byte);
        bytes.remove_prefix(isCharacter ? first.length : 1);
    }
    return wide;
}

} // namespace

std::string toBytes(std::wstring_view wide)
{
    std::string bytes;
    for (const wchar_t unit : wide) {
        const std::uint32_t character = std::char_traits<wchar_t>::to_int_type(unit);
        if (character >= firstByte && character <= lastByte) {
            bytes += static_cast<char>(character - firstByte);
        } else {
            appendUtf8(bytes, character);
        }
    }
    return bytes;
}

std::wstring toWide(std::string_view bytes)
{
    return convert(bytes, true);
}

std::wstring takeWide(std::string& bytes)
{
    std::string_view rest = bytes;
    std::wstring wide = convert(rest, false);
    bytes.erase(0, bytes.size() - rest.size());
    return wide;
}

} // namespace tovrinhost::platform
