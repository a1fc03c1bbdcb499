#include "embedded_host/log/LoggerRegistry.hpp"

#include "embedded_host/log/RecordGate.hpp"
#include "timer_src/main/NeverDestroyed.hpp"

#include <boost/log/attributes/constant.hpp>

namespace tovrinhost {

LoggerRegistry& LoggerRegistry::instance()
{
    static tovrintimer::NeverDestroyed<LoggerRegistry> registry;
    return *registry;
}

LoggerRegistry::LoggerRegistry()
{
    // Here, and so before any logger: each can still write as it is destroyed.
    openRecordGate();
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

bool LoggerRegistry::has(Logger& logger)
{
    const std::lock_guard lock(m_mutex);
    return m_loggers.contains(&logger);
}

boost::log::attribute LoggerRegistry::channelAttribute(const std::string& channel)
{
    const std::lock_guard lock(m_mutex);
    return m_channels.try_emplace(channel, boost::log::attributes::constant<std::string>(channel)).first->second;
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
