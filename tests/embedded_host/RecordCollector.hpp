#pragma once

#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>

#include <cstdint>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace tovrinhost {

using Logger = foundation::log::basic_diagnostic_logger<char>;

/// Writes a record, where the logger and the core want one.
inline void write(Logger& logger, std::uint32_t severity, const std::string& text)
{
    if (!logger.is_enabled(severity)) {
        return;
    }
    if (boost::log::record record = logger.open_record(severity)) {
        boost::log::record_ostream stream(record);
        stream << text;
        stream.flush();
        logger.push_record(std::move(record));
    }
}

struct CollectedRecord {
    std::string channel;
    std::uint32_t severity;
    unsigned int indent;
    std::string text;

    friend bool operator==(const CollectedRecord& left, const CollectedRecord& right)
    {
        return std::tie(left.channel, left.severity, left.indent, left.text)
            == std::tie(right.channel, right.severity, right.indent, right.text);
    }

    friend std::ostream& operator<<(std::ostream& stream, const CollectedRecord& record)
    {
        return stream << '[' << record.channel << "] " << record.severity << " indent " << record.indent << " \""
                      << record.text << '"';
    }
};

/// Puts a sink for all records in place, as long as it lives.
///
/// Threading: `records` is to be looked at once nobody writes any more.
class RecordCollector {
public:
    RecordCollector() { boost::log::core::get()->add_sink(m_sink); }
    RecordCollector(const RecordCollector&) = delete;
    RecordCollector& operator=(const RecordCollector&) = delete;
    ~RecordCollector() { boost::log::core::get()->remove_sink(m_sink); }

    const std::vector<CollectedRecord>& records() const { return m_backend->records; }

private:
    struct Backend : boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
        void consume(const boost::log::record_view& record)
        {
            // As strict as can be: an attribute that is missing, or of another type, throws.
            records.push_back({ boost::log::extract_or_throw<std::string>("Channel", record),
                boost::log::extract_or_throw<std::uint32_t>("Severity", record),
                boost::log::extract_or_throw<unsigned int>("Indent", record),
                boost::log::extract_or_throw<std::string>("Message", record) });
        }

        std::vector<CollectedRecord> records;
    };

    boost::shared_ptr<Backend> m_backend = boost::make_shared<Backend>();
    boost::shared_ptr<boost::log::sinks::sink> m_sink
        = boost::make_shared<boost::log::sinks::synchronous_sink<Backend>>(m_backend);
};

} // namespace tovrinhost
