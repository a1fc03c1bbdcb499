#include "tests/recording_host/PlatformDouble.hpp"

#include "tests/recording_host/Journal.hpp"
#include "timer_src/main/platform/Platform.hpp"

#include <atomic>
#include <mutex>

namespace {

std::atomic<std::size_t> begins { 0 };
std::atomic<std::size_t> ends { 0 };
std::atomic<std::size_t> adoptions { 0 };

} // namespace

namespace tovrintimer::platform {

void beginTimerResolution()
{
    ++begins;
    recording::journal().add({ recording::Kind::Detail, "beginTimerResolution" });
}

void endTimerResolution()
{
    ++ends;
    recording::journal().add({ recording::Kind::Detail, "endTimerResolution" });
}

void adoptTimerResolution() noexcept
{
    ++adoptions;
}

std::tm localTime(std::time_t seconds) noexcept
{
    // The one form that every platform has, made safe for several threads.
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const std::tm* const local = std::localtime(&seconds);
    return local != nullptr ? *local : std::tm {};
}

} // namespace tovrintimer::platform

namespace recording {

std::size_t timerResolutionBegins()
{
    return begins;
}

std::size_t timerResolutionEnds()
{
    return ends;
}

std::size_t timerResolutionAdoptions()
{
    return adoptions;
}

void resetPlatform()
{
    begins = 0;
    ends = 0;
    adoptions = 0;
}

} // namespace recording
