#pragma once

#include "embedded_host/engine/Engine.hpp"
#include "timer_src/main/TimerInfo.hpp"

#include <memory>

namespace tovrinhost {

/// Tells when the scheduler thread has brought everything that it was about to bring.
///
/// What the scheduler thread is doing at this moment, and may still queue while it does so, is not seen from here.
/// But it dispatches in order of due times: once it has brought a piece of work that was queued after that,
/// nothing of it can be left.
///
/// Threading: the interpreter thread only.
class SchedulerBarrier {
public:
    explicit SchedulerBarrier(std::shared_ptr<Engine> engine);
    SchedulerBarrier(const SchedulerBarrier&) = delete;
    SchedulerBarrier& operator=(const SchedulerBarrier&) = delete;
    ~SchedulerBarrier();

    /// The first call starts it. The event loop is woken when it is time to ask again.
    bool isPassed();

private:
    class Mark;

    void send();

    const std::shared_ptr<Engine> m_engine;
    std::shared_ptr<Mark> m_mark; // the latest that is on its way
    const std::shared_ptr<InterruptStateData> m_interruptState;
    std::shared_ptr<tovrintimer::TimerInfo> m_timer;
    int m_sent = 0;
};

} // namespace tovrinhost
