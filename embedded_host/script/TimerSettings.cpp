#include "embedded_host/script/TimerSettings.hpp"

#include <cmath>
#include <cstdint>

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

/// A run without end is one of more tasks than anybody lives to see.
size_t taskCount(double tasks)
{
    constexpr double firstTooLarge = 18446744073709551616.0;
    return tasks < firstTooLarge ? static_cast<size_t>(tasks) : std::numeric_limits<size_t>::max();
}

} // namespace

void TimerSettings::applyTo(tovrintimer::TimerInfo& timer) const
{
    timer.setExecutionMode(static_cast<size_t>(executionMode));
    timer.setBusyMode(static_cast<size_t>(busyMode));
    timer.setPeriod(toMilliseconds(periodSeconds));
    timer.setStartDelay(startDelayMilliseconds(startDelaySeconds));
    timer.setNumOfTasksToExecute(taskCount(tasksToExecute));
    timer.setStartFcnIsEmpty(!hasStartFcn);
    timer.setStopFcnIsEmpty(!hasStopFcn);
    timer.setErrorFcnIsEmpty(!hasErrorFcn);
}

} // namespace tovrinhost
