#include "embedded_host/log/Escape.hpp"

namespace tovrinhost {

namespace {

void appendHex(std::string& text, unsigned char byte)
{
    constexpr std::string_view digits = "0123456789abcdef";
    text += "\\x";
    text += digits[byte >> 4U];
    text += digits[byte & 0xFU];
}

} // namespace

std::string escape(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size());
    unsigned char previous = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            escaped += "\\n";
        } else if (character == '\r') {
            escaped += "\\r";
        } else if (character == '\t') {
            escaped += "\\t";
        } else if (byte < 0x20 || byte == 0x7F) {
            appendHex(escaped, byte);
        } else if (previous == 0xC2 && byte >= 0x80 && byte < 0xA0) {
            // U+0080 to U+009F, two bytes in UTF-8: terminals obey these, too.
            escaped.pop_back();
            appendHex(escaped, previous);
            appendHex(escaped, byte);
        } else {
            escaped += character;
        }
        previous = byte;
    }
    return escaped;
}

std::string escapeLines(std::string_view text)
{
    std::string escaped;
    std::size_t begin = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        // A break in front of anything but an indented line comes from a name in it.
        const bool isBreak = text[at] == '\n' && text.substr(at + 1, 1) == "\t";
        if (isBreak || text[at] == '\t') {
            escaped += escape(text.substr(begin, at - begin)) + text[at];
            begin = at + 1;
        }
    }
    return escaped + escape(text.substr(begin));
}

} // namespace tovrinhost
