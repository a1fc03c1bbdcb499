#include "embedded_host/clock/platform/Platform.hpp"

namespace tovrinhost::platform {

// A wait here is one for a span: while it lasts, it does not look at the clock.
const std::chrono::seconds longestWait { 1 };

std::tm localTime(std::time_t seconds) noexcept
{
    std::tm local {};
    return localtime_s(&local, &seconds) == 0 ? local : std::tm {};
}

} // namespace tovrinhost::platform
