#include "timer_src/main/callback/ScopeTrace.hpp"

#include <exception>

namespace tovrintimer {

namespace {

template <typename... Pieces>
void writeScopeRecord(
    DiagnosticLogger& logger, Severity severity, const SourceLocation& location, Pieces... pieces) noexcept
{
    if (isEnabled(logger, severity)) {
        writeEnabledRecord(logger, severity, PiecesText<Pieces...>(pieces...), &location);
    }
}

} // namespace

ScopeTrace::ScopeTrace(DiagnosticLogger& logger, const SourceLocation& location)
    : m_logger(logger)
    , m_location(location)
    , m_enabled(isEnabled(logger, Severity::ScopeEntry))
    , m_exceptionsOnEntry(std::uncaught_exceptions())
{
    if (m_enabled) {
        writeScopeRecord(m_logger, Severity::ScopeEntry, m_location, m_location.function);
        m_logger.indent().increase();
    }
}

ScopeTrace::~ScopeTrace()
{
    if (m_enabled) {
        m_logger.indent().decrease();
        const bool throwing = std::uncaught_exceptions() > m_exceptionsOnEntry;
        writeScopeRecord(
            m_logger, Severity::ScopeExit, m_location, m_location.function, throwing ? " [throw]" : "");
    }
}

} // namespace tovrintimer
