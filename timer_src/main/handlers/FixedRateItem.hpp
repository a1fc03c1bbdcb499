#pragma once

#include "timer_src/main/Concurrency.hpp"
#include "timer_src/main/WorkItem.hpp"

#include <cstdint>
#include <memory>

namespace tovrintimer {

/// The item of one fixed-rate callback, shared by its dispatch and its task.
///
/// The callback is counted once it has been handed over. When it has returned, its task ends the run if that was
/// the last one and there is no StopFcn to do so. The two may come in either order: the first counts, and the
/// second takes that count. So it is always the task that ends the run, and an error of the wake-up statement
/// leaves the task:
///
///     dispatching thread                    thread of the task
///     ------------------                    ------------------
///     hand the task over  ---------------->  evaluate the callback
///     callbackHandedOver()                   callbackReturned()
///       count  -------- the first counts --------  count
///       queue what follows                   end the run, if it is over without a StopFcn
///
/// A host may also run the task inside the hand-over, on the handing thread. It finds what stood before the count
/// then, and so such a run goes on until it is stopped.
///
/// Threading: constant after construction, but for the counts.
class FixedRateItem : public WorkItem<TimerFcnWork> {
public:
    struct Count {
        std::uint64_t total = 0; ///< callbacks of the run
        std::uint64_t left = 0; ///< those still to be dispatched, after this one
        bool endsRun = false; ///< by the task: nothing follows
    };

    /// To be made on the thread that hands the task over. What the due item owns is taken over, but for its
    /// record: nobody asks again for the callback before this one.
    explicit FixedRateItem(WorkItem<TimerFcnWork>&& due);

    /// The dispatching thread's side.
    const Count& callbackHandedOver(const TimerInfo& timer);

    /// The task's side.
    /// \throws whatever the engine's `evalAsync` throws
    void callbackReturned(TimerInfo& timer);

private:
    Count countFor(const TimerInfo& timer) const;
    const Count& firstOf(const Count& mine);

    const Thread::id m_handingThread;
    bool m_isHandedOver = false; // only for m_handingThread

    Atomic<const Count*> m_first { nullptr }; // one of these, which is constant from then on
    Count m_byDispatch;
    Count m_byTask;
};

} // namespace tovrintimer
