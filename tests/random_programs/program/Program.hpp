#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace random_programs {

enum class Verb {
    Start,
    Stop,
    Delete,
    Wait, ///< for so many milliseconds at most; -1: without a limit
    Pause, ///< for so many milliseconds
    Busy, ///< for so many milliseconds
    SetPeriod, ///< to so many milliseconds; 0 is refused
    SetTasks, ///< 0 is refused, -1: without end
    SetBusyMode, ///< by its place
    SetStartDelay, ///< refused while the timer runs
    Assign, ///< a callback, by its place
    Remove, ///< a callback, by its place; the TimerFcn cannot be
    Raise, ///< an error
    Caught, ///< an error that goes no further
    Exit, ///< os.exit with this code
    Collect, ///< the garbage
    Once, ///< a timer that nobody holds, after so many milliseconds
    Appoint, ///< the same, at a moment of the wall clock
    OnTheSecond, ///< the same, at the next full second
    Often, ///< the same, three times
    WaitBoth, ///< for two timers, as Wait
    WaitEither,
    SetKeepsAlive, ///< 0: to false
    Haunt, ///< a finalizer that looks at the timer
};

/// Callbacks by their place.
constexpr int startFcn = 0;
constexpr int timerFcn = 1;
constexpr int stopFcn = 2;
constexpr int errorFcn = 3;
constexpr int callbackKinds = 4;

/// Who acts, when he is no timer: the script.
constexpr int script = -1;

/// One action of the script or of a timer's callback.
struct Step {
    int actor = script;
    int callback = timerFcn; ///< of a timer that acts
    int call = 0; ///< at which of its calls; 0: at each
    Verb verb = Verb::Start;
    int timer = 0;
    int second = 0; ///< timer, of a wait for two
    double value = 0.0;
    bool inCoroutine = false;

    bool operator==(const Step&) const = default;
};

struct TimerSpec {
    int mode = 0; ///< by its place
    int busyMode = 0;
    double period = 1.0; ///< milliseconds, like the delay
    double startDelay = 0.0;
    int tasks = 1; ///< 0: without end
    std::array<bool, callbackKinds> has { false, true, false, false };

    bool operator==(const TimerSpec&) const = default;
};

/// Timers, and what the script and their callbacks do.
struct Program {
    std::vector<TimerSpec> timers;
    std::vector<Step> steps; ///< each actor's own in their order

    bool operator==(const Program&) const = default;
};

/// The program of a seed.
Program programOf(std::uint64_t seed);

/// As a script in the words of Trace.lua.
std::string toLua(const Program& program);

} // namespace random_programs
