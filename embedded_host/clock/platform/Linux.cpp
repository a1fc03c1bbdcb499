#include "embedded_host/clock/platform/Platform.hpp"

namespace tovrinhost::platform {

// The kernel waits for the moment itself, and counts anew when the clock is set.
const std::chrono::seconds longestWait = std::chrono::hours(24);

std::tm localTime(std::time_t seconds) noexcept
{
    std::tm local {};
    return localtime_r(&seconds, &local) != nullptr ? local : std::tm {};
}

} // namespace tovrinhost::platform
