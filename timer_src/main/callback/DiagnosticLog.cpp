#include "timer_src/main/callback/DiagnosticLog.hpp"

#include <boost/log/core/core.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>

#include <ios>

namespace tovrintimer {

void writeEnabledRecord(
    DiagnosticLogger& logger, Severity severity, const RecordText& text, const SourceLocation* location) noexcept
{
    try {
        if (!boost::log::core::get()->get_logging_enabled()) {
            return;
        }
        boost::log::record record = logger.open_record(static_cast<std::uint32_t>(severity));
        if (!record) {
            return;
        }
        // As it is destroyed, the pump pushes the record, unless an exception is on its way.
        const auto pump = boost::log::aux::make_record_pump(logger, record);
        if (location != nullptr) {
            pump.stream() << boost::log::add_value("File", location->file)
                          << boost::log::add_value("Line", location->line);
        }
        // Record streams would spell flags out.
        pump.stream() << std::noboolalpha;
        text.writeTo(pump.stream().stream());
    } catch (...) {
        // The record is lost, and nothing else.
    }
}

} // namespace tovrintimer
