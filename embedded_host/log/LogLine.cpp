#include "embedded_host/log/LogLine.hpp"

#include "embedded_host/log/Escape.hpp"

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

} // namespace

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
