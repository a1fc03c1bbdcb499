#include "embedded_host/log/LogLine.hpp"

#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/log/attributes/value_extraction.hpp>

#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>

namespace tovrinhost {

namespace {

/// The record's value of that name, or an empty one: other sources of records need not have it.
template <typename Value> Value valueOf(const boost::log::record_view& record, const char* name)
{
    const auto value = boost::log::extract<Value>(name, record);
    return value ? *value : Value {};
}

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

std::string formatLogLine(const boost::log::record_view& record)
{
    const auto now = boost::posix_time::microsec_clock::local_time();
    const std::tm calendar = boost::posix_time::to_tm(now);
    const auto microsecond = now.time_of_day().total_microseconds() % 1'000'000;

    std::ostringstream line;
    line.imbue(std::locale::classic());
    line << std::put_time(&calendar, "%Y-%m-%d %H:%M:%S") << '.' << std::setfill('0') << std::setw(6)
         << microsecond << " [" << escape(valueOf<std::string>(record, "Channel")) << "] 0x" << std::hex
         << std::setw(2) << valueOf<std::uint32_t>(record, "Severity") << ' '
         << std::string(std::size_t { 2 } * valueOf<unsigned int>(record, "Indent"), ' ')
         << escape(valueOf<std::string>(record, "Message")) << '\n';
    return line.str();
}

} // namespace tovrinhost
