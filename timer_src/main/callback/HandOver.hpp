#pragma once

#include "host/foundation/feature/Feature.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "timer_src/main/Concurrency.hpp"
#include "timer_src/main/NeverDestroyed.hpp"
#include "timer_src/main/Observation.hpp"
#include "timer_src/main/callback/CallbackTask.hpp"

#include <memory>
#include <utility>

namespace tovrintimer {

/// The way of one handler's callback tasks to the host.
///
/// Threading: any thread. Called with no lock held: all that happens here happens in the host.
class HandOver {
public:
    HandOver();

    /// Hands the task of this work to the host's re-entrancy checker and, where the feature "TIMER_PPE" is off,
    /// wakes the interpreter's request line. Reports in the log, once, which of the two ways is taken.
    /// \throws whatever the host's operations throw
    template <int kind>
    void operator()(const std::shared_ptr<vorn::VORN>& engine, const CallbackTask& task, WorkItem<kind>& work)
    {
        processTovrinTimerTask(engine, task);
        tellHandedOver(work);
        wakeInterpreter(*engine);
    }

private:
    void wakeInterpreter(const vorn::VORN& engine);

    foundation::feature::Feature m_timerPpe;
    Atomic<bool> m_reported { false };
};

/// Hands a task that does `body(timer, engine)` over to the host for a piece of work of `timer`, in the engine
/// that the timer was made in. Each handler has a way of its own, which is never destroyed.
///
/// \throws whatever the host's operations throw
template <typename Handler, int kind, typename Body>
void handOver(const TimerInfo& timer, WorkItem<kind>& work, Body body)
{
    static NeverDestroyed<HandOver> way;
    const auto& engine = engineOf(timer);
    (*way)(engine, makeCallbackTask(work.m_timerInfo, engine, std::move(body)), work);
}

} // namespace tovrintimer
