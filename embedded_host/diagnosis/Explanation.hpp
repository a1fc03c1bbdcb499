#pragma once

#include "embedded_host/diagnosis/Activity.hpp"
#include "embedded_host/diagnosis/Firing.hpp"

#include <cstdint>
#include <vector>

namespace tovrinhost {

/// What a part of a firing's lateness was spent on.
enum class Cause : std::uint8_t {
    WakeUp, ///< the scheduler's thread was not awake yet
    OtherDispatches, ///< the scheduler dispatched other work first
    Asking, ///< it had not been asked for yet: due in the millisecond in which somebody dispatched it himself
    Dispatching, ///< until the host had its task
    Queue, ///< in the host's queue, while the interpreter thread was at something
};

struct Part {
    Cause cause = Cause::WakeUp;
    Nanoseconds length = 0;
    std::uint64_t others = 0; ///< OtherDispatches: how many
    Activity activity; ///< Queue: what the interpreter thread was at
};

/// Why a firing was late. The lengths of the parts sum up to its lateness, to the nanosecond; a firing that has
/// not started, or that was not late, has no parts.
struct Explanation {
    Firing firing;
    std::vector<Part> parts;
};

/// What else went on between a firing's due time and its start.
struct Circumstances {
    /// When the scheduler's thread was at other work, in any order.
    struct Dispatch {
        Nanoseconds from;
        Nanoseconds to;
    };
    std::vector<Dispatch> dispatches;

    /// What the interpreter thread was at, the oldest first. Where nothing is said it looked for work.
    std::vector<Activity> activities;
};

Explanation explain(const Firing& firing, const Circumstances& circumstances);

} // namespace tovrinhost
