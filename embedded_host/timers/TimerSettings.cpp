#include "embedded_host/timers/TimerSettings.hpp"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace tovrinhost {

namespace {

/// To the nearest nanosecond, so that 1.001 s gives 1001 ms and not 1000.99999.
double toMilliseconds(double seconds)
{
    return std::round(seconds * 1e9) / 1e6;
}

double startDelayMilliseconds(double seconds)
{
    return seconds > 0.0 ? std::ceil(toMilliseconds(seconds)) + 1.0 : 0.0;
}

} // namespace

TimerDescription TimerSettings::describe() const
{
    using tovrintimer::ExecutionMode;
    TimerDescription description;
    description.name = name;
    description.settings = executionModeNames.at(static_cast<std::size_t>(executionMode));
    if (executionMode == ExecutionMode::FixedRate) {
        description.settings += std::string(", ") + busyModeNames.at(static_cast<std::size_t>(busyMode));
    }
    if (executionMode != ExecutionMode::SingleShot) {
        std::array<char, 32> text {};
        std::snprintf(text.data(), text.size(), ", %g s", periodSeconds);
        description.settings += text.data();
    }
    description.period = periodNanoseconds();
    description.places = places;
    return description;
}

Nanoseconds TimerSettings::periodNanoseconds() const
{
    return static_cast<Nanoseconds>(periodSeconds * 1e9);
}

std::uint64_t TimerSettings::taskCount() const
{
    // A run without end is one of more tasks than anybody lives to see.
    constexpr double firstTooLarge = 18446744073709551616.0;
    return tasksToExecute < firstTooLarge ? static_cast<std::uint64_t>(tasksToExecute)
                                          : std::numeric_limits<std::uint64_t>::max();
}

void TimerSettings::applyTo(tovrintimer::TimerInfo& timer) const
{
    timer.setExecutionMode(static_cast<size_t>(executionMode));
    timer.setPeriod(toMilliseconds(periodSeconds));
    timer.setStartDelay(startDelayMilliseconds(startDelaySeconds));
    timer.setStartFcnIsEmpty(!hasStartFcn);
}

} // namespace tovrinhost
