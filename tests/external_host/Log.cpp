#include "Log.hpp"

#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <boost/log/attributes/constant.hpp>
#include <boost/log/attributes/function.hpp>
#include <boost/log/core/core.hpp>

#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace {

using Logger = foundation::log::basic_diagnostic_logger<char>;

thread_local unsigned int depth = 0;
thread_local std::uint32_t recordSeverity = 0; // of the record that the thread opens

struct Loggers {
    std::mutex mutex;
    std::set<Logger*> all; // guarded by mutex, like the next
    std::map<std::string, std::uint32_t> masks;
};

/// Never destroyed: the library's loggers are made before `main` begins, and destroyed after it has ended.
Loggers& loggers()
{
    static Loggers& instance = *new Loggers;
    return instance;
}

} // namespace

void external_host::setLogMask(const std::string& channel, std::uint32_t mask)
{
    const std::lock_guard lock(loggers().mutex);
    loggers().masks[channel] = mask;
    for (Logger* const logger : loggers().all) {
        if (logger->channel() == channel) {
            logger->set_mask(mask);
        }
    }
}

namespace foundation::log {

namespace detail {

indent_attribute::indent_attribute()
    : boost::log::attribute(boost::log::attributes::make_function([] { return depth; }))
{
}

void indent_attribute::increase() noexcept
{
    ++depth;
}

void indent_attribute::decrease() noexcept
{
    --depth;
}

} // namespace detail

// A record goes wherever the program's Boost.Log core sends it.
basic_diagnostic_logger<char>::basic_diagnostic_logger(const std::string& channel)
    : m_channel(channel)
    , m_mask(~std::uint32_t { 0 })
{
    m_attributes.insert("Channel", boost::log::attributes::make_constant(m_channel));
    m_attributes.insert("Severity", boost::log::attributes::make_function([] { return recordSeverity; }));
    m_attributes.insert("Indent", m_indent);

    const std::lock_guard lock(loggers().mutex);
    loggers().all.insert(this);
    const auto mask = loggers().masks.find(channel);
    if (mask != loggers().masks.end()) {
        m_mask = mask->second;
    }
}

basic_diagnostic_logger<char>::~basic_diagnostic_logger()
{
    const std::lock_guard lock(loggers().mutex);
    loggers().all.erase(this);
}

boost::log::record basic_diagnostic_logger<char>::open_record(std::uint32_t severity)
{
    const std::unique_lock lock(m_lock);
    recordSeverity = severity; // read as the record opens
    return boost::log::core::get()->open_record(m_attributes);
}

void basic_diagnostic_logger<char>::push_record(boost::log::record&& record)
{
    boost::log::core::get()->push_record(std::move(record));
}

} // namespace foundation::log
