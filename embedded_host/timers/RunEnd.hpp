#pragma once

#include <string>

namespace tovrinhost {

/// By what a run of a timer has come to its end. Where all its TimerFcns have run, or run, as it is stopped, that
/// is `TasksDone` all the same: the stop has prevented nothing.
enum class EndReason {
    TasksDone,
    Stopped,
    Deleted,
    Error, ///< of its StartFcn or a TimerFcn
    Overrun, ///< its callbacks took too long, in busy mode Error or for the backlog
    Interrupted, ///< the program ends
};

/// As scripts are told.
inline const char* nameOf(EndReason reason)
{
    switch (reason) {
    case EndReason::TasksDone:
        return "tasks done";
    case EndReason::Stopped:
        return "stopped";
    case EndReason::Deleted:
        return "deleted";
    case EndReason::Error:
        return "error";
    case EndReason::Overrun:
        return "overrun";
    case EndReason::Interrupted:
        return "interrupted";
    }
    return "";
}

/// What an ErrorFcn is called for.
struct Failure {
    std::string callback; ///< the one that failed; "overrun" or "backlog" where none did
    std::string message;
    std::string traceback; ///< empty if there is none
};

} // namespace tovrinhost
