#pragma once

#include "timer_src/main/callback/DiagnosticLog.hpp"

namespace tovrintimer {

/// Traces a scope: a record on entry, a record on exit, and what the thread logs in between is indented.
///
/// The exit record says " [throw]" where an exception is leaving the scope; it is written only where the entry was
/// enabled.
class ScopeTrace {
public:
    ScopeTrace(DiagnosticLogger& logger, const SourceLocation& location);
    ScopeTrace(const ScopeTrace&) = delete;
    ScopeTrace& operator=(const ScopeTrace&) = delete;
    ~ScopeTrace();

private:
    DiagnosticLogger& m_logger;
    const SourceLocation m_location;
    const bool m_enabled;
    const int m_exceptionsOnEntry;
};

} // namespace tovrintimer
