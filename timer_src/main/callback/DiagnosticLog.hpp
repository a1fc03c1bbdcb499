#pragma once

#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <boost/log/core/core.hpp>
#include <boost/log/sources/record_ostream.hpp>

#include <cstdint>
#include <ios>

namespace tovrintimer {

using DiagnosticLogger = foundation::log::basic_diagnostic_logger<char>;

/// One bit each; a logger's mask says which are wanted.
enum class Severity : std::uint32_t {
    Trace = 4,
    Detail = 16,
    ScopeEntry = 32,
    ScopeExit = 64,
};

inline bool isEnabled(const DiagnosticLogger& logger, Severity severity) noexcept
{
    return logger.is_enabled(static_cast<std::uint32_t>(severity));
}

/// Writes one record, the pieces streamed one after the other.
///
/// A record that is not wanted costs one bit test, and formats nothing. A record whose formatting or sink throws
/// is dropped, and nothing of it leaves this call: logging never changes the flow of the code that logs.
/// Threading: any thread. Sinks are host code: what is logged under a lock must not make them need that lock.
template <typename... Pieces>
void writeRecord(DiagnosticLogger& logger, Severity severity, const Pieces... pieces) noexcept
{
    if (!isEnabled(logger, severity)) {
        return;
    }
    try {
        if (!boost::log::core::get()->get_logging_enabled()) {
            return;
        }
        if (boost::log::record record = logger.open_record(static_cast<std::uint32_t>(severity))) {
            // As it is destroyed, the pump pushes the record, unless an exception is on its way.
            const auto pump = boost::log::aux::make_record_pump(logger, record);
            // Flags are shown as 0 and 1; record streams would spell them out.
            static_cast<void>((pump.stream() << std::noboolalpha << ... << pieces));
        }
    } catch (...) {
        // The record is lost, and nothing else.
    }
}

} // namespace tovrintimer
