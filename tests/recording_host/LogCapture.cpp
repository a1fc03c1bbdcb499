#include "tests/recording_host/LogCapture.hpp"

#include "tests/recording_host/Journal.hpp"

#include <boost/log/attributes/value_extraction.hpp>

#include <string>

namespace recording {

LogCapture::LogCapture()
    : m_sink([](const boost::log::record_view& record) {
        using boost::log::extract_or_default;
        journal().add({
            .kind = Kind::Log,
            .text = extract_or_default<std::string>("Message", record, std::string()),
            .channel = extract_or_default<std::string>("Channel", record, std::string()),
            .severity = extract_or_default<std::uint32_t>("Severity", record, std::uint32_t { 0 }),
            .indent = extract_or_default<unsigned int>("Indent", record, 0U),
            .file = extract_or_default<std::string>("File", record, std::string()),
            .line = extract_or_default<int>("Line", record, 0),
        });
    })
{
}

} // namespace recording
