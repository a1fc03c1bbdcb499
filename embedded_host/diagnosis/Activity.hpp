#pragma once

#include "embedded_host/diagnosis/Firing.hpp"

#include <cstdint>

namespace tovrinhost {

/// What the interpreter thread does.
enum class Doing : std::uint8_t {
    Unknown, ///< the log does not reach back so far
    Host, ///< looks for work
    Idle, ///< sleeps until there is some
    Script, ///< runs the script itself
    Callback,
};

/// What the interpreter thread did for a while, without a break.
struct Activity {
    Doing doing = Doing::Unknown;
    Nanoseconds from = 0;
    Nanoseconds to = 0;
    int line = 0; ///< Script: where it paused or waited next; 0 if it never did

    /// Callback: which one. Idle and Host: the callback that pauses or waits meanwhile, if one does.
    std::uint64_t number = 0;
    foundation::msg_svc::exchange::IDType timer { 0, 0 };
    tovrintimer::WorkKind kind = tovrintimer::TimerFcnWork;
    std::uint64_t run = 0;
};

} // namespace tovrinhost
