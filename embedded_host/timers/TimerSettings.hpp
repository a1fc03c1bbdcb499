#pragma once

#include "embedded_host/diagnosis/TimerTable.hpp"
#include "timer_src/main/TimerInfo.hpp"

#include <array>
#include <cstdint>
#include <limits>
#include <string>

namespace tovrinhost {

// As scripts call them, by their numbers.
constexpr std::array<const char*, 4> executionModeNames { "SingleShot", "FixedSpacing", "FixedDelay",
    "FixedRate" };
constexpr std::array<const char*, 3> busyModeNames { "Drop", "Queue", "Error" };

/// What a script sets of a timer, in the script's units.
struct TimerSettings {
    std::string name;
    tovrintimer::ExecutionMode executionMode = tovrintimer::ExecutionMode::SingleShot;
    tovrintimer::BusyMode busyMode = tovrintimer::BusyMode::Drop;
    double periodSeconds = 1.0;
    double startDelaySeconds = 0.0;
    double tasksToExecute = std::numeric_limits<double>::infinity();
    std::string tag;
    bool keepsAlive = true; ///< the program does not end while it runs
    bool hasStartFcn = false;
    bool hasStopFcn = false;
    bool hasErrorFcn = false;

    /// Where the callbacks are defined, "script.lua:5" by kind as in TimerDescription.
    std::array<std::string, 4> places;

    /// For people who ask about the timer; all but its number.
    TimerDescription describe() const;

    /// As it has been set.
    Nanoseconds periodNanoseconds() const;

    /// What lies between two due moments of a fixed rate that is dispatched in time.
    Nanoseconds beatNanoseconds() const;

    /// The number of tasks as the library has it.
    std::uint64_t taskCount() const;

    /// Hands the settings to the library, in the library's units; but for the number of tasks, the busy mode, and
    /// which callbacks of a run's end there are, which is for the run to say.
    ///
    /// The library keeps time in whole milliseconds and drops what is beyond them, of a span and of the moment
    /// from which it counts. A start delay, and the period of a fixed spacing or a fixed delay, are promises not
    /// to be early by any clock: they are rounded up, with one millisecond for the part that has passed of the one
    /// from which they count. A fixed rate counts from due moments, which are whole: one millisecond more would be
    /// a slower rate.
    void applyTo(tovrintimer::TimerInfo& timer) const;

    /// The period alone, as it counts from this moment on.
    void applyPeriodTo(tovrintimer::TimerInfo& timer) const;
};

} // namespace tovrinhost
