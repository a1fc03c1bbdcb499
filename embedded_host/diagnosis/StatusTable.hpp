#pragma once

#include "embedded_host/diagnosis/Diagnosis.hpp"

#include <string>

namespace tovrinhost {

/// A table of all timers that there are, what the interpreter is at, and the ten firings that were the latest, out
/// of the log. Any thread.
std::string statusTable(const Diagnosis& diagnosis);

} // namespace tovrinhost
