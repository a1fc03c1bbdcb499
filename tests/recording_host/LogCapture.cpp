#include "tests/recording_host/LogCapture.hpp"

#include "tests/recording_host/Journal.hpp"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/unlocked_frontend.hpp>

#include <boost/smart_ptr/make_shared.hpp>

#include <string>

namespace recording {

class LogCapture::Sink {
public:
    /// Holds no lock while it consumes: an action may write records of its own.
    class Backend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::concurrent_feeding> {
    public:
        void consume(const boost::log::record_view& record)
        {
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
        }
    };

    boost::shared_ptr<boost::log::sinks::unlocked_sink<Backend>> frontend
        = boost::make_shared<boost::log::sinks::unlocked_sink<Backend>>();
};

LogCapture::LogCapture()
    : m_sink(std::make_shared<Sink>())
{
    const auto core = boost::log::core::get();
    core->add_sink(m_sink->frontend);
    core->set_logging_enabled(true);
}

LogCapture::~LogCapture()
{
    boost::log::core::get()->remove_sink(m_sink->frontend);
}

} // namespace recording
