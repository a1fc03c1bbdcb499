#include "embedded_host/log/LogLine.hpp"

#include "embedded_host/log/Escape.hpp"

#include <boost/date_time/c_local_time_adjustor.hpp>
#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/log/attributes/value_extraction.hpp>

#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>

namespace tovrinhost {

namespace {

RecordTime (*recordClock)() noexcept = std::chrono::system_clock::now;

boost::posix_time::ptime toLocalTime(RecordTime moment)
{
    using boost::posix_time::ptime;
    const auto since1970 = std::chrono::duration_cast<std::chrono::microseconds>(moment.time_since_epoch());
    const ptime universal = boost::posix_time::from_time_t(0) + boost::posix_time::microseconds(since1970.count());
    return boost::date_time::c_local_adjustor<ptime>::utc_to_local(universal);
}

/// The record's value of that name, or an empty one: other sources of records need not have it.
template <typename Value> Value valueOf(const boost::log::record_view& record, const char* name)
{
    const auto value = boost::log::extract<Value>(name, record);
    return value ? *value : Value {};
}

} // namespace

void setRecordClock(RecordTime (*now)() noexcept)
{
    recordClock = now;
}

std::string formatLogLine(const boost::log::record_view& record)
{
    const auto now = toLocalTime(recordClock());
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
