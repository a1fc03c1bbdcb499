#include "timer_src/main/callback/ScopeTrace.hpp"

#include <boost/log/attributes/attribute_value_impl.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>

#include <exception>

namespace tovrintimer {

ScopeTrace::ScopeTrace(DiagnosticLogger& logger, const SourceLocation& location)
    : m_logger(logger)
    , m_location(location)
    , m_enabled(isEnabled(logger, Severity::ScopeEntry))
    , m_exceptionsOnEntry(std::uncaught_exceptions())
{
    if (m_enabled) {
        writeRecord(m_logger, Severity::ScopeEntry, boost::log::add_value("File", m_location.file),
            boost::log::add_value("Line", m_location.line), m_location.function);
        m_logger.indent().increase();
    }
}

ScopeTrace::~ScopeTrace()
{
    if (m_enabled) {
        m_logger.indent().decrease();
        const bool throwing = std::uncaught_exceptions() > m_exceptionsOnEntry;
        writeRecord(m_logger, Severity::ScopeExit, boost::log::add_value("File", m_location.file),
            boost::log::add_value("Line", m_location.line), m_location.function, throwing ? " [throw]" : "");
    }
}

} // namespace tovrintimer
