#pragma once

#include "tests/scripts/ScriptTest.hpp"

namespace scripts {

/// One callback, by the script's clock: seconds since just before the timer was started.
struct Callback {
    double start;
    double end;
};

/// What a run of a periodic timer has shown.
struct PeriodicRun {
    std::vector<std::string> order; ///< "StartFcn", "TimerFcn", ...
    std::vector<Callback> callbacks;
    double averagePeriod;
    std::string err;
};

/// Runs timers that have a StartFcn, a StopFcn and an ErrorFcn, and whose TimerFcn keeps the interpreter busy.
class PeriodicTest : public ScriptTest {
protected:
    /// Lower bounds are asserted to the millisecond in which the engine keeps time.
    static constexpr double resolution = 0.001;

    PeriodicRun runTimer(const std::string& settings, double callbackSeconds, const Words& options = {});

    static std::string settings(
        const std::string& mode, double period, int tasks, const std::string& busyMode = "Drop");

    /// When work was dispatched, by the records of the scheduler's channel: seconds since the first time.
    static std::vector<double> dispatchTimes(const std::string& log);

    /// Asserts when callbacks started: the first at 0, and each next one this much later; and that they took this
    /// long.
    static void expectStarts(const PeriodicRun& run, double distance, double callbackSeconds);

    /// Asserts that no callback starts before the one before it has ended.
    /// \returns what is wrong where the next one starts more than `atMost` seconds after that, else nothing
    static std::string gapsBeyond(const std::vector<Callback>& callbacks, double atMost);
};

/// The order of a run of so many TimerFcn.
std::vector<std::string> wholeRun(std::size_t tasks);

} // namespace scripts
