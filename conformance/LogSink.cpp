#include "conformance/LogSink.hpp"

#include <boost/log/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/unlocked_frontend.hpp>

#include <boost/smart_ptr/make_shared.hpp>

#include <utility>

namespace conformance {

class LogSink::Frontend {
public:
    class Backend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::concurrent_feeding> {
    public:
        explicit Backend(Function function)
            : m_function(std::move(function))
        {
        }

        void consume(const boost::log::record_view& record) { m_function(record); }

    private:
        const Function m_function;
    };
    using Sink = boost::log::sinks::unlocked_sink<Backend>;

    explicit Frontend(Function function)
        : sink(boost::make_shared<Sink>(boost::make_shared<Backend>(std::move(function))))
    {
    }

    const boost::shared_ptr<Sink> sink;
};

LogSink::LogSink(Function function)
    : m_frontend(std::make_unique<Frontend>(std::move(function)))
{
    const auto core = boost::log::core::get();
    core->add_sink(m_frontend->sink);
    core->set_logging_enabled(true);
}

LogSink::~LogSink()
{
    boost::log::core::get()->remove_sink(m_frontend->sink);
}

} // namespace conformance
