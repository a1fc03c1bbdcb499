#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>

namespace tovrinhost {

// What stands behind an option, read. What is not allowed is a CLI::ValidationError that names the option, the
// value and what is allowed.

[[noreturn]] void failOption(const std::string& option, const std::string& value, const std::string& allowed);

/// A whole number.
std::size_t toCount(const char* option, const std::string& text,
    std::size_t most = std::numeric_limits<std::size_t>::max(), std::size_t least = 1);

double toSeconds(const char* option, const std::string& text);

/// Of a clock: none for "real", 0 for "virtual", N for "real:N".
std::optional<double> toPace(const char* option, const std::string& text);

} // namespace tovrinhost
