#pragma once

#include "timer_src/main/Concurrency.hpp"
#include "timer_src/main/WorkItem.hpp"

#include <cstdint>

namespace tovrintimer {

/// What the dispatch of one fixed-rate callback and its task share: the counts of the item, and the record of the
/// callback, which the next item looks at.
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
/// Threading: constant after construction, but for the counts and the record.
/// Ownership: shared by the dispatch and the task, and by the next item, for its record.
class FixedRateItem {
public:
    struct Count {
        std::uint64_t total = 0; ///< callbacks of the run
        std::uint64_t left = 0; ///< those still to be dispatched, after this one
        bool endsRun = false; ///< by the task: nothing follows
    };

    /// To be made on the thread that hands the task over.
    explicit FixedRateItem(const WorkItem<TimerFcnWork>& due);

    /// The dispatching thread's side.
    const Count& callbackHandedOver(const TimerInfo& timer);

    /// The task's side.
    /// \throws whatever the engine's `evalAsync` throws
    void callbackReturned(TimerInfo& timer);

    prevCallBackStatus record; ///< of this callback; new with it

private:
    Count countFor(const TimerInfo& timer) const;
    const Count& firstOf(const Count& mine);

    const std::uint64_t m_total; // before this callback is counted, like the next
    const std::uint64_t m_left;
    const Thread::id m_handingThread;
    bool m_isHandedOver = false; // only for m_handingThread

    Atomic<const Count*> m_first { nullptr }; // one of these, which is constant from then on
    Count m_byDispatch;
    Count m_byTask;
};

} // namespace tovrintimer
