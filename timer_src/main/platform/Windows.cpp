#include "timer_src/main/platform/Platform.hpp"

#include <windows.h>

#include <timeapi.h>

namespace tovrintimer::platform {

namespace {

constexpr UINT resolutionMs = 1;

} // namespace

// The system keeps the finest resolution that a process has asked for and not taken back.
void beginTimerResolution()
{
    timeBeginPeriod(resolutionMs);
}

void endTimerResolution()
{
    timeEndPeriod(resolutionMs);
}

void adoptTimerResolution() noexcept
{
    // It holds for all threads of the process.
}

std::tm localTime(std::time_t seconds) noexcept
{
    std::tm local {};
    if (localtime_s(&local, &seconds) != 0) {
        local = {};
    }
    return local;
}

} // namespace tovrintimer::platform
