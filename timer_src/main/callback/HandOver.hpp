#pragma once

#include "host/foundation/feature/Feature.hpp"
#include "timer_src/main/Concurrency.hpp"

#include <functional>

namespace tovrintimer {

class TimerInfo;

/// What each pending callback is: a task for the host to run, on a thread and at a time of the host's choice.
using CallbackTask = std::function<void()>;

/// The way of one handler's callback tasks to the host.
///
/// Lifetime: each handler has one, which is never destroyed.
///
/// Threading: any thread. Called with no lock held: all that happens here happens in the host.
class HandOver {
public:
    HandOver();

    /// Hands the task to the host's re-entrancy checker and, where the feature "TIMER_PPE" is off, wakes the
    /// interpreter's request line. Reports in the log, once in the process, which of the two ways is taken.
    /// \throws whatever the host's operations throw
    void operator()(TimerInfo& timer, const CallbackTask& task);

private:
    foundation::feature::Feature m_timerPpe;
    Atomic<bool> m_reported { false };
};

} // namespace tovrintimer
