#pragma once

#include "timer_src/main/WorkItem.hpp"

#include <atomic>
#include <memory>

namespace tovrintimer {

/// The item of one fixed-rate callback, shared by its dispatch and its task.
///
/// The dispatch counts the callback after it has handed the task over. The task, when the callback has returned,
/// ends the run if that was the last one and there is no StopFcn to do so. The two may come in either order, so
/// the second of them makes this final check, and finds what the first has written:
///
///     dispatching thread                    thread of the task
///     ------------------                    ------------------
///     hand the task over  ---------------->  evaluate the callback
///     count it in m_taskCount                        :
///     callbackCounted()  --- the second ---  callbackReturned()
///                                |
///                      endRunWithoutStopFcn
///
/// A host may also run the task inside the hand-over, on the handing thread. Nothing has been counted then, and
/// the task's own check finds it so: such a run goes on until it is stopped.
///
/// Threading: the counter and the task count belong to the dispatching thread until it calls `callbackCounted`.
class FixedRateItem : public WorkItem<TimerFcnWork> {
public:
    /// To be made on the thread that hands the task over.
    explicit FixedRateItem(const WorkItem<TimerFcnWork>& due);

    /// The dispatching thread's side.
    void callbackCounted();

    /// The task's side.
    void callbackReturned();

private:
    /// \returns true for the second to come
    bool meet() noexcept { return m_oneHasCome.exchange(true, std::memory_order_acq_rel); }

    const Thread::id m_handingThread;
    bool m_isCounted = false; // only for m_handingThread
    std::atomic<bool> m_oneHasCome { false };
};

} // namespace tovrintimer
