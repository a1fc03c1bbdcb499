#include "embedded_host/log/LoggerRegistry.hpp"
#include "embedded_host/log/RecordGate.hpp"
#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <boost/log/attributes/function.hpp>
#include <boost/log/sources/severity_feature.hpp>

#include <mutex>
#include <utility>

namespace foundation::log {

using boost::log::sources::aux::get_severity_level;

basic_diagnostic_logger<char>::basic_diagnostic_logger(const std::string& channel)
    : m_channel(channel)
    , m_mask(0)
{
    m_attributes.insert("Channel", tovrinhost::LoggerRegistry::instance().channelAttribute(m_channel));
    // Read as the record opens: a record that is written while this one is being formatted does not change it.
    m_attributes.insert("Severity",
        boost::log::attributes::make_function([] { return static_cast<std::uint32_t>(get_severity_level()); }));
    m_attributes.insert("Indent", m_indent);
    m_attributes.insert(
        "InBeing", boost::log::attributes::make_function([] { return tovrinhost::RecordInBeing(); }));
    // Last, since from here on others may set the mask.
    tovrinhost::LoggerRegistry::instance().add(*this);
}

basic_diagnostic_logger<char>::~basic_diagnostic_logger()
{
    tovrinhost::LoggerRegistry::instance().remove(*this);
    // A thread that outlives it, as a process ends without an orderly shutdown, finds nothing wanted; one that has
    // just found something is waited for, or finds that the logger is none any more.
    const std::lock_guard lock(m_lock);
    set_mask(0);
}

boost::log::record basic_diagnostic_logger<char>::open_record(std::uint32_t severity)
{
    // Until the record has one of its own.
    const tovrinhost::RecordInBeing inBeing;
    if (tovrinhost::isRecordGateShut()) {
        return {};
    }
    const std::lock_guard lock(m_lock);
    if (!tovrinhost::LoggerRegistry::instance().has(*this)) {
        return {};
    }
    get_severity_level() = severity;
    return tovrinhost::recordCore().open_record(m_attributes);
}

void basic_diagnostic_logger<char>::push_record(boost::log::record&& record)
{
    tovrinhost::recordCore().push_record(std::move(record));
}

} // namespace foundation::log
