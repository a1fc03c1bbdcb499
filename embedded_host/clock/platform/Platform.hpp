#pragma once

#include <chrono>
#include <ctime>

namespace tovrinhost::platform {

// What differs between operating systems; one source file for each of them.

/// The longest wait for a moment of the wall clock that is asked of the system: where it does not notice that the
/// clock is set, it is asked again and again.
extern const std::chrono::seconds longestWait;

/// Local calendar time; all zero where the system cannot tell. Any thread.
std::tm localTime(std::time_t seconds) noexcept;

} // namespace tovrinhost::platform
