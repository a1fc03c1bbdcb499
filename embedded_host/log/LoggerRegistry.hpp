#pragma once

#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <boost/log/attributes/attribute.hpp>

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace tovrinhost {

/// All loggers that exist, and the masks that were set by channel.
///
/// Threading: any operation, any thread.
/// Ownership: the loggers own themselves, and take themselves out as they are destroyed.
/// Lifetime: there is one, made with the first logger and never destroyed, since loggers of any library may be
/// made before `main` begins and destroyed after it ends.
/// Lock order: m_mutex is taken last; nothing is called under it.
class LoggerRegistry {
public:
    using Logger = foundation::log::basic_diagnostic_logger<char>;

    static LoggerRegistry& instance();

    /// For `instance` alone.
    LoggerRegistry();
    LoggerRegistry(const LoggerRegistry&) = delete;
    LoggerRegistry& operator=(const LoggerRegistry&) = delete;

    /// Takes a logger in, and gives it the mask of its channel.
    void add(Logger& logger);
    void remove(Logger& logger);
    bool has(Logger& logger);

    /// The attribute of all loggers of the channel. Kept: a record's share of it may be the last that is in use.
    boost::log::attribute channelAttribute(const std::string& channel);

    /// For the loggers of the channel that exist, and for those to come.
    void setMask(const std::string& channel, std::uint32_t mask);

private:
    std::mutex m_mutex;

    // Guarded by m_mutex.
    std::map<std::string, std::uint32_t> m_masks;
    std::map<std::string, boost::log::attribute> m_channels;
    std::set<Logger*> m_loggers;
};

} // namespace tovrinhost
