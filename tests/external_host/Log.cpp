#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <boost/log/attributes/constant.hpp>
#include <boost/log/attributes/function.hpp>
#include <boost/log/core/core.hpp>

#include <mutex>
#include <utility>

namespace foundation::log {

namespace {
thread_local unsigned int depth = 0;
} // namespace

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

// All is recorded, and goes wherever the program's Boost.Log core sends it.
basic_diagnostic_logger<char>::basic_diagnostic_logger(const std::string& channel)
    : m_channel(channel)
    , m_mask(~std::uint32_t { 0 })
{
    m_attributes.insert("Channel", boost::log::attributes::make_constant(m_channel));
    m_attributes.insert("Indent", m_indent);
}

basic_diagnostic_logger<char>::~basic_diagnostic_logger() = default;

boost::log::record basic_diagnostic_logger<char>::open_record(std::uint32_t severity)
{
    const std::unique_lock lock(m_lock);
    m_attributes["Severity"] = boost::log::attributes::make_constant(severity);
    return boost::log::core::get()->open_record(m_attributes);
}

void basic_diagnostic_logger<char>::push_record(boost::log::record&& record)
{
    boost::log::core::get()->push_record(std::move(record));
}

} // namespace foundation::log
