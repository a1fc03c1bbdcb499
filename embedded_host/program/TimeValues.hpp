#pragma once

#include "embedded_host/diagnosis/Firing.hpp"

#include <cstdint>
#include <string>

namespace tovrinhost {

// What stands behind an option that tells of a time, read; what is not allowed is refused as OptionValues.hpp has
// it.

/// A duration: "90", "90s", "1h30m".
Nanoseconds toSpan(const char* option, const std::string& text);

/// A local time: "2026-12-24 08:00". \returns seconds since 1970
std::int64_t toLocalMoment(const char* option, const std::string& text);

} // namespace tovrinhost
