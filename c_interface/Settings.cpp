#include "c_interface/Settings.hpp"

#include "c_interface/SizedStruct.hpp"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace tovrin_c {

using tovrinhost::TimerSettings;
using tovrintimer::BusyMode;
using tovrintimer::ExecutionMode;

namespace {

constexpr double shortestPeriodOfC = 0.001;

/// The steady clock counts 292 years of nanoseconds, from a moment that may be some years ago.
constexpr double longestSpan = 9e9;

/// Beyond it, not every whole number is a double.
constexpr std::uint64_t mostTasksOfC = 9007199254740992;

constexpr std::uint64_t usualBacklog = 10'000;

constexpr std::uint32_t allSeverities
    = TOVRIN_LOG_ERROR | TOVRIN_LOG_TRACE | TOVRIN_LOG_DETAIL | TOVRIN_LOG_ENTER | TOVRIN_LOG_LEAVE;

std::string shown(double number)
{
    std::array<char, 32> text {};
    std::snprintf(text.data(), text.size(), "%g", number);
    return text.data();
}

[[noreturn]] void refuseValue(const std::string& what, const std::string& value, const std::string& allowed)
{
    throw Misuse(TOVRIN_ERROR_ARGUMENT, what + " is " + value + "; allowed: " + allowed);
}

void requireBetween(const char* what, double value, double least, double most)
{
    if (!(value >= least && value <= most)) { // NaN is refused, too
        refuseValue(what, shown(value), "from " + shown(least) + " to " + shown(most));
    }
}

void requireMode(const char* what, std::int32_t value, std::int32_t last)
{
    if (value < 0 || value > last) {
        refuseValue(what, std::to_string(value), "from 0 to " + std::to_string(last));
    }
}

} // namespace

tovrin_settings defaultSettings()
{
    tovrin_settings settings {};
    settings.execution_mode = TOVRIN_SINGLE_SHOT;
    settings.busy_mode = TOVRIN_DROP;
    settings.period = 1.0;
    return settings;
}

Settings takeSettings(const tovrin_settings* given)
{
    const tovrin_settings taken = takeStruct(given, "settings");
    Settings settings;
    if (taken.name != nullptr) {
        settings.timer.name = taken.name;
        if (settings.timer.name.empty()) {
            refuseValue("settings.name", "\"\"", "a text that is not empty, or NULL");
        }
    }
    requireMode("settings.execution_mode", taken.execution_mode, TOVRIN_FIXED_RATE);
    requireMode("settings.busy_mode", taken.busy_mode, TOVRIN_BUSY_ERROR);
    requireBetween("settings.period", taken.period, shortestPeriodOfC, longestSpan);
    requireBetween("settings.start_delay", taken.start_delay, 0.0, longestSpan);
    if (taken.tasks_to_execute > mostTasksOfC) {
        refuseValue("settings.tasks_to_execute", std::to_string(taken.tasks_to_execute),
            std::string("from 1 to ") + std::to_string(mostTasksOfC) + ", or 0 for a run without end");
    }
    if (taken.timer_fcn.function == nullptr) {
        refuseValue("settings.timer_fcn.function", "NULL", "a function");
    }
    settings.timer.executionMode = static_cast<ExecutionMode>(taken.execution_mode);
    settings.timer.busyMode = static_cast<BusyMode>(taken.busy_mode);
    settings.timer.periodSeconds = taken.period;
    settings.timer.startDelaySeconds = taken.start_delay;
    settings.timer.tasksToExecute = taken.tasks_to_execute == 0 ? std::numeric_limits<double>::infinity()
                                                                : static_cast<double>(taken.tasks_to_execute);
    settings.timer.hasStartFcn = taken.start_fcn.function != nullptr;
    settings.timer.hasStopFcn = taken.stop_fcn.function != nullptr;
    settings.timer.hasErrorFcn = taken.error_fcn.function != nullptr;
    settings.callbacks = { taken.start_fcn, taken.timer_fcn, taken.stop_fcn, taken.error_fcn };
    return settings;
}

tovrin_settings toStruct(const Settings& settings)
{
    const TimerSettings& timer = settings.timer;
    tovrin_settings values {};
    values.name = timer.name.c_str();
    values.execution_mode = static_cast<std::int32_t>(timer.executionMode);
    values.busy_mode = static_cast<std::int32_t>(timer.busyMode);
    values.period = timer.periodSeconds;
    values.start_delay = timer.startDelaySeconds;
    values.tasks_to_execute = std::isinf(timer.tasksToExecute) ? 0 : timer.taskCount();
    values.start_fcn = settings.callbacks.start;
    values.timer_fcn = settings.callbacks.timer;
    values.stop_fcn = settings.callbacks.stop;
    values.error_fcn = settings.callbacks.error;
    return values;
}

tovrin_host_settings defaultHostSettings()
{
    tovrin_host_settings settings {};
    settings.log_severities = TOVRIN_LOG_ERROR;
    settings.max_backlog = usualBacklog;
    return settings;
}

tovrin_host_settings takeHostSettings(const tovrin_host_settings* given)
{
    if (given == nullptr) {
        return defaultHostSettings();
    }
    tovrin_host_settings taken = takeStruct(given, "settings");
    if ((taken.log_severities & ~allSeverities) != 0) {
        refuseValue(
            "settings.log_severities", std::to_string(taken.log_severities), "a sum of 1, 4, 16, 32 and 64");
    }
    if (taken.max_backlog == 0) {
        taken.max_backlog = usualBacklog;
    }
    return taken;
}

tovrinhost::EventLoop::Deadline deadlineAfter(double seconds)
{
    if (seconds > longestSpan && std::isinf(seconds)) {
        return std::nullopt;
    }
    if (!(seconds >= 0.0 && seconds <= longestSpan)) {
        refuseValue("seconds", shown(seconds), "from 0 to " + shown(longestSpan) + ", or INFINITY");
    }
    using Clock = tovrinhost::EventLoop::Clock;
    const auto span = std::chrono::ceil<Clock::duration>(std::chrono::duration<double>(seconds));
    return Clock::now() + std::min(span, Clock::time_point::max() - Clock::now());
}

} // namespace tovrin_c
