#pragma once

#include <optional>
#include <string>
#include <vector>

namespace random_programs {

/// Times are printed in whole microseconds: a difference of two of them may be off by as much.
inline constexpr double grain = 0.000002;

/// What a timer tells of itself.
struct Reading {
    std::string running; ///< "true", "false", "deleted", or "-" where there is no timer
    std::string tasksExecuted;
    std::string lastError; ///< "nil" if there is none
};

/// A line that a random program has printed.
struct Event {
    enum class Kind {
        New,
        Made, ///< and started, by a short form
        Begin,
        Told, ///< what the callback that has begun is told of the end of its run
        End,
        Call,
        Done,
        Failed,
        Raise,
        Exit,
        Over,
        Ending, ///< no run begins any more
        Report, ///< of an error, by the program tovrin
    };

    Kind kind = Kind::Over;
    int line = 0; ///< counted from 1
    double time = 0.0; ///< seconds
    std::string timer; ///< "-" if it is about none
    std::string what; ///< the callback, or the verb; where a report says that the error was
    std::string text; ///< argument, result, error or exit code
    Reading reading;
    /// Of a new timer: mode, busy mode, period, delay, tasks, callbacks. Of one that a short form has made,
    /// besides when that was called.
    std::vector<std::string> settings;
};

/// Makes events of a program's output, standard error included.
/// \returns nothing for a line of a traceback
/// \throws std::invalid_argument if the line is neither an event, nor a report, nor of a traceback
std::optional<Event> parseLine(const std::string& line, int number);

} // namespace random_programs
