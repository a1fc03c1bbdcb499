#pragma once

#include <ctime>

namespace tovrintimer::platform {

// What differs between operating systems; one source file for each of them.

/// Asks for timers of 1 ms resolution. Any thread; each call is paired with one `endTimerResolution`.
void beginTimerResolution();

/// Takes the request back. Any thread.
void endTimerResolution();

/// Brings the calling thread's timers to the resolution asked for, where that is the thread's own affair.
/// The scheduler thread calls it before each wait.
void adoptTimerResolution() noexcept;

/// Local calendar time; all zero where the platform cannot tell. Any thread.
std::tm localTime(std::time_t seconds) noexcept;

} // namespace tovrintimer::platform
