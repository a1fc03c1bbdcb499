#include "c_interface/HostLog.hpp"

#include "c_interface/CallGuard.hpp"
#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/log/RecordGate.hpp"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/unlocked_frontend.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>

#include <array>
#include <utility>

namespace tovrin_c {

namespace {

constexpr std::array<const char*, 3> engineChannels { "tovrintimer::TimerScheduler", "tovrintimer::WorkItem",
    "tovrintimer::workHandler" };

void call(tovrin_log_function function, void* data, std::uint32_t severity, const char* channel, const char* text)
{
    const tovrin_record record { sizeof(tovrin_record), severity, channel, text };
    const EmbeddersTurn turn;
    try {
        function(&record, data);
    } catch (...) {
        // There is nobody to tell of it.
    }
}

/// Passes records on, on the thread that writes them.
class FunctionSink : public boost::log::sinks::basic_sink_backend<boost::log::sinks::concurrent_feeding> {
public:
    FunctionSink(tovrin_log_function function, void* data)
        : m_function(function)
        , m_data(data)
    {
    }

    void consume(const boost::log::record_view& record)
    {
        const auto severity = boost::log::extract<std::uint32_t>("Severity", record);
        const auto channel = boost::log::extract<std::string>("Channel", record);
        const auto text = boost::log::extract<std::string>("Message", record);
        if (severity && channel && text) {
            call(m_function, m_data, *severity, channel->c_str(), text->c_str());
        }
    }

private:
    const tovrin_log_function m_function;
    void* const m_data;
};

void setMasks(std::uint32_t mask)
{
    for (const char* const channel : engineChannels) {
        tovrinhost::setLogMask(channel, mask);
    }
}

} // namespace

HostLog::HostLog(tovrin_log_function function, void* data, std::uint32_t severities)
    : m_function(function)
    , m_data(data)
    , m_severities(function != nullptr ? severities : 0)
{
    if (const std::uint32_t ofEngine = m_severities & ~std::uint32_t { TOVRIN_LOG_ERROR }; ofEngine != 0) {
        using Frontend = boost::log::sinks::unlocked_sink<FunctionSink>;
        m_sink = boost::make_shared<Frontend>(boost::make_shared<FunctionSink>(function, data));
        tovrinhost::recordCore().add_sink(m_sink);
        setMasks(ofEngine);
    }
}

HostLog::~HostLog()
{
    close();
}

void HostLog::close()
{
    if (const auto sink = std::exchange(m_sink, nullptr)) {
        setMasks(0);
        tovrinhost::recordCore().remove_sink(sink);
    }
}

void HostLog::tell(const std::string& text) const noexcept
{
    if ((m_severities & TOVRIN_LOG_ERROR) != 0) {
        call(m_function, m_data, TOVRIN_LOG_ERROR, "host", text.c_str());
    }
}

} // namespace tovrin_c
