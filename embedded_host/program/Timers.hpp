#pragma once

#include <cstdint>
#include <optional>

namespace tovrinhost {

/// `tovrin timers`: what it is to tell.
struct TimersCommand {
    std::optional<std::int64_t> process; ///< none: the only one that serves its status
    bool asJson = false;
};

/// Prints how the timers of another program are doing.
/// \throws std::runtime_error with a text for people if it does not say
void printTimers(const TimersCommand& command);

} // namespace tovrinhost
