#pragma once

#include "timer_src/main/callback/DiagnosticLog.hpp"

namespace tovrintimer {

/// The logger of all handlers and callback tasks, made on first use.
inline DiagnosticLogger& workHandlerLogger()
{
    static DiagnosticLogger logger("tovrintimer::workHandler");
    return logger;
}

/// Writes a trace record of a handler or a callback task.
template <typename... Pieces> void trace(Pieces... pieces) noexcept
{
    try {
        writeRecord(workHandlerLogger(), Severity::Trace, pieces...);
    } catch (...) {
        // The logger could not be made; the next record tries again.
    }
}

} // namespace tovrintimer
