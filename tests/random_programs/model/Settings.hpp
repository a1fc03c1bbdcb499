#pragma once

#include <string>
#include <vector>

namespace random_programs {

/// The settings of a timer, as its program has made them.
struct Settings {
    std::string mode;
    std::string busyMode;
    double period = 0.0; ///< seconds, like the delay
    double startDelay = 0.0;
    double tasks = 0.0;
    bool hasStartFcn = false;
    bool hasStopFcn = false;
    bool hasErrorFcn = false;
    bool keepsAlive = true; ///< the program, while it runs

    /// \param fields mode, busy mode, period, delay, tasks, callbacks
    static Settings of(const std::vector<std::string>& fields);

    /// \returns whether the property may have this value
    bool assign(const std::string& property, const std::string& value);

    bool isFixedRate() const { return mode == "FixedRate"; }
    bool canOverrun() const { return isFixedRate() && busyMode == "Error"; }

    /// How many TimerFcns a run has at most.
    double most() const { return mode == "SingleShot" ? 1.0 : tasks; }
};

} // namespace random_programs
