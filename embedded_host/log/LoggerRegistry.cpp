#include "embedded_host/log/LoggerRegistry.hpp"

#include <boost/log/core/core.hpp>
#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>

namespace tovrinhost {

namespace {

/// A sink that wants no record.
///
/// Where there is no sink at all, Boost.Log prints the records on the console. This one is always there, so that
/// records without a sink that wants them are not even opened.
class NoRecords : public boost::log::sinks::sink {
public:
    NoRecords()
        : sink(false)
    {
    }

    bool will_consume(const boost::log::attribute_value_set&) override { return false; }
    void consume(const boost::log::record_view&) override { }
    void flush() override { }
};

} // namespace

LoggerRegistry& LoggerRegistry::instance()
{
    static auto* const registry = new LoggerRegistry;
    return *registry;
}

LoggerRegistry::LoggerRegistry()
{
    // The core is made here, if not earlier, and so before any logger: each can still write as it is destroyed.
    boost::log::core::get()->add_sink(boost::make_shared<NoRecords>());
}

void LoggerRegistry::add(Logger& logger)
{
    const std::lock_guard lock(m_mutex);
    m_loggers.insert(&logger);
    const auto mask = m_masks.find(logger.channel());
    logger.set_mask(mask != m_masks.end() ? mask->second : 0);
}

void LoggerRegistry::remove(Logger& logger)
{
    const std::lock_guard lock(m_mutex);
    m_loggers.erase(&logger);
}

void LoggerRegistry::setMask(const std::string& channel, std::uint32_t mask)
{
    const std::lock_guard lock(m_mutex);
    m_masks[channel] = mask;
    for (Logger* const logger : m_loggers) {
        if (logger->channel() == channel) {
            logger->set_mask(mask);
        }
    }
}

} // namespace tovrinhost
