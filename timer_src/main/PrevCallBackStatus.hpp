#pragma once

#include "timer_src/main/Concurrency.hpp"

namespace tovrintimer {

/// How far one callback has come. A record serves one callback, and is never reset.
///
/// Threading: shared without a lock between the thread that runs the callback, which writes, and the scheduler
/// thread, which reads; the other way round for isAwaited. None of the flags guards other data.
/// Ownership: shared by the callback task and the work item after it; in a fixed-rate run, as a part of what these
/// two share.
class prevCallBackStatus {
public:
    /// Nobody sets it: it stands in the record for the contention trace, which therefore always shows 0.
    Atomic<bool> hasStarted { false };

    /// Set once the callback has returned; never set for one that raised an error.
    Atomic<bool> hasCompleted { false };

    /// Set before an item that found this callback running is queued again to wait for its end.
    Atomic<bool> isAwaited { false };
};

static_assert(Atomic<bool>::is_always_lock_free);

} // namespace tovrintimer
