#pragma once

#include "tests/simulation/VirtualTime.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace simulation {

/// What can be set on a timer.
struct Settings {
    std::size_t mode = 0;
    std::size_t busy = 0;
    double period = 1.0;
    double delay = 0.0;
    std::size_t tasks = 1;
    bool hasStart = false; ///< constant
    bool hasStop = false;
    bool hasError = false;
};

/// What the host does about a callback that raises an error.
enum class OnError { Nothing, ForceError, ForceErrorAndStop };

struct TimerSpec {
    Settings settings;
    double lasts = 0.0; ///< milliseconds of each callback
    OnError onError = OnError::Nothing;
};

enum class Verb {
    Start,
    Stop,
    Fail,
    FailAndStop,
    Destroy,
    Make, ///< a new one in place of a timer that has been destroyed
    SetPeriod,
    SetTasks,
    SetBusy,
    SetMode,
    SetDelay,
    SetHasStop,
    SetHasError,
    Sleep,
    Raise, ///< only of callbacks: it ends with an error
};

/// Something that a host thread does, or a callback. The steps of one actor are done in order: a host thread does
/// them all, each callback of a timer does one.
struct Step {
    bool byCallback = false;
    int actor = 0; ///< the host thread, or the timer whose callback it is
    Verb verb = Verb::Sleep;
    int timer = 0;
    double value = 0.0;
};

enum class Ending {
    StopAll, ///< all timers are stopped, and their callbacks run, before the cleanup
    CleanupWhileRunning, ///< the host threads have ended
    CleanupAtOnce, ///< the host threads go on
    DestroyWhileRunning, ///< all other threads have ended, but the scheduler's has not: there is no cleanup before
};

/// A program for the simulation, and the weather and the seed under which it runs: all that a run depends on.
struct Program {
    std::uint64_t schedule = 1;
    Weather weather;
    bool timerPpe = true;
    bool logs = false;
    double settle = 0.0; ///< milliseconds between the host threads' end, or their start, and the end of it all
    Ending ending = Ending::StopAll;
    std::vector<TimerSpec> timers;
    std::vector<Step> steps;

    int hostThreads() const;
};

/// A random program. From the same choices comes the same program.
Program randomProgram(Choices& choices);

/// As text, a line for each timer and each step.
std::string toText(const Program& program);

/// \throws std::invalid_argument, naming the line
Program fromText(const std::string& text);

} // namespace simulation
