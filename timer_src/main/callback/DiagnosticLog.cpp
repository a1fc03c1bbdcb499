#include "timer_src/main/callback/DiagnosticLog.hpp"

#include <boost/log/core/core.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>

#include <ios>
#include <memory>
#include <utility>

namespace tovrintimer {

namespace {

/// Returns one of the streams that Boost.Log keeps. Before the record is pushed, unlike its record pump: a process
/// that ends without an orderly shutdown waits for the records that there are, and then destroys those streams'
/// store.
struct ReturnStream {
    using Streams = boost::log::aux::stream_provider<char>;
    void operator()(Streams::stream_compound* stream) const noexcept { Streams::release_compound(stream); }
};

void format(boost::log::record& record, const RecordText& text, const SourceLocation* location)
{
    const std::unique_ptr<ReturnStream::Streams::stream_compound, ReturnStream> kept(
        ReturnStream::Streams::allocate_compound(record));
    auto& stream = kept->stream;
    if (location != nullptr) {
        stream << boost::log::add_value("File", location->file) << boost::log::add_value("Line", location->line);
    }
    // Record streams would spell flags out.
    stream << std::noboolalpha;
    text.writeTo(stream.stream());
    stream.flush();
}

} // namespace

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
        format(record, text, location);
        logger.push_record(std::move(record));
    } catch (...) {
        // The record is lost, and nothing else.
    }
}

} // namespace tovrintimer
