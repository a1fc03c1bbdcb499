#include "embedded_host/timers/TimerSettings.hpp"

#include "timer_src/main/Concurrency.hpp"

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

double toWholeMilliseconds(double seconds)
{
    return std::ceil(toMilliseconds(seconds));
}

/// No shorter from whatever moment within a millisecond on: one more for the part of it that has passed by then.
double fromThisMoment(double seconds)
{
    return toWholeMilliseconds(seconds) + (tovrintimer::isAtMillisecond() ? 0.0 : 1.0);
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
    description.period = executionMode == ExecutionMode::FixedRate ? beatNanoseconds() : periodNanoseconds();
    description.places = places;
    return description;
}

Nanoseconds TimerSettings::periodNanoseconds() const
{
    return std::llround(periodSeconds * 1e9);
}

Nanoseconds TimerSettings::beatNanoseconds() const
{
    constexpr Nanoseconds millisecond = 1'000'000;
    return static_cast<Nanoseconds>(toWholeMilliseconds(periodSeconds)) * millisecond;
}

std::uint64_t TimerSettings::taskCount() const
{
    // A run without end is one of more tasks than anybody lives to see.
    constexpr double firstTooLarge = 18446744073709551616.0;
    return tasksToExecute < firstTooLarge ? static_cast<std::uint64_t>(tasksToExecute)
                                          : std::numeric_limits<std::uint64_t>::max();
}

void TimerSettings::applyPeriodTo(tovrintimer::TimerInfo& timer) const
{
    const bool isRate = executionMode == tovrintimer::ExecutionMode::FixedRate;
    timer.setPeriod(isRate ? toWholeMilliseconds(periodSeconds) : fromThisMoment(periodSeconds));
}

void TimerSettings::applyTo(tovrintimer::TimerInfo& timer) const
{
    timer.setExecutionMode(static_cast<size_t>(executionMode));
    applyPeriodTo(timer);
    timer.setStartDelay(startDelaySeconds > 0.0 ? fromThisMoment(startDelaySeconds) : 0.0);
    timer.setStartFcnIsEmpty(!hasStartFcn);
}

} // namespace tovrinhost
