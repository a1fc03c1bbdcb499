#pragma once

#include "embedded_host/report/TraceContents.hpp"

#include <string>

namespace tovrinhost {

/// Writes one page of HTML that needs nothing but itself: what fired when, why it was late, and how late each
/// timer was.
///
/// \throws std::runtime_error that names the file which cannot be read or written. A file that could not be
///         written as a whole is removed
void writeReport(const std::string& traceFile, const TraceWindow& window, const std::string& pageFile);

} // namespace tovrinhost
