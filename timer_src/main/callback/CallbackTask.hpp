#pragma once

#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/WorkKind.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace tovrintimer {

/// What each pending callback is: a task for the host to run, on a thread and at a time of the host's choice.
using CallbackTask = std::function<void()>;

/// A task for the host that does `body(timer, engine)`, or nothing at all where the timer has gone by then.
///
/// Ownership: between hand-over and run it holds the timer weakly, and the engine strongly; while it runs, both
/// strongly. What the body needs besides, it captures.
/// Errors: the task catches nothing. What the body throws is the host's.
template <typename Body>
CallbackTask makeCallbackTask(std::weak_ptr<TimerInfo> timer, std::shared_ptr<vorn::VORN> engine, Body body)
{
    return [timer = std::move(timer), engine = std::move(engine), body = std::move(body)] {
        if (const auto info = timer.lock()) {
            body(*info, *engine);
        }
    };
}

/// Evaluates the timer's callback of this kind in the engine, and waits until it has finished.
/// \throws what the callback raised, and whatever the host's operations throw
void evaluateTimerCallback(TimerInfo& timer, vorn::VORN& engine, WorkKind kind);

} // namespace tovrintimer
