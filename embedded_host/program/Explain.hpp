#pragma once

#include "embedded_host/diagnosis/TraceReader.hpp"

namespace tovrinhost {

/// `tovrin explain`: prints explanations from a trace.
/// \throws std::runtime_error if the trace cannot be read, or holds nothing that was asked for
void explainTrace(const TraceQuestion& question);

} // namespace tovrinhost
