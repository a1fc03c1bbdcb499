#pragma once

#include "host/foundation/msg_svc/exchange/IDType.hpp"
#include "timer_src/main/DueTime.hpp"
#include "timer_src/main/Export.hpp"
#include "timer_src/main/WorkKind.hpp"

#include <cstdint>

namespace tovrintimer {

/// One piece of work of a timer, as an observer is told of it.
struct ObservedWork {
    /// Joins the events of one piece of work. Counted from 1, and never given twice in a process.
    std::uint64_t number;

    /// The number of the dropped firing that this one makes up for: in busy mode `Drop`, where one attempt after
    /// the other finds the callback before it still running. Otherwise 0.
    std::uint64_t insteadOf;

    foundation::msg_svc::exchange::IDType timer; ///< `TimerInfo::getId` of its timer, which may have gone
    WorkKind kind; ///< which callback it is to run
    DueTime due; ///< when; in the past, where the dispatch is late
    bool wasQueued = false; ///< it is in the queue, or came out of it; else whoever asks for it dispatches it
};

/// Why a piece of work was not handed over.
enum class DropReason {
    BusyModeDrop, ///< the callback before it was still running; another attempt follows
    BusyModeError, ///< the callback before it was still running; the run ends with an ErrorFcn
    NoSuchMode, ///< the timer's execution mode, or the busy mode that was to decide, names none
    NoCallback, ///< the timer has no function of this kind
    TimerGone, ///< the timer has been destroyed
    TimerNotRunning, ///< the timer had stopped before the work was queued: it never was
    RemovedByStop, ///< a stop, or a forced error, discarded what was queued
    DiscardedByShutdown, ///< it was queued when the scheduler shut down
    NotQueued, ///< the queue could not take it; the exception went to whoever wanted it queued
    NotHandedOver, ///< the host's operation has thrown; the exception went to whoever dispatched it
};

/// What is told of each piece of work, as it happens.
///
///     queued ----> dispatched ----> handedOver
///       |              |
///       +--------------+----------> dropped
///
/// A piece of work that is due at once, and dispatched by the thread that asks for it, is never queued: its first
/// event is `dispatched`. One whose timer has stopped before it could be queued has `dropped` alone. Each piece of
/// work that was queued has exactly one end: `handedOver` or `dropped`. An observer that is set late is told of a
/// piece of work from when that is queued or dispatched next. Where memory for a note is wanting, the `dropped` of
/// what a stop or the shutdown discards is not told; nothing else is lost.
///
/// Threading: called on the thread that acts, be it the scheduler thread, a host thread that starts or stops a
/// timer or the thread of a callback task, and on several at once. No lock of the library is held. Events of one
/// piece of work come in order. Errors: nothing may be thrown. Lifetime: the observer lives until the scheduler
/// has been destroyed, or for ever: a thread may be about to tell it something when another one takes its place.
class TOVRINTIMER_API TimerObserver {
public:
    TimerObserver() = default;
    TimerObserver(const TimerObserver&) = delete;
    TimerObserver& operator=(const TimerObserver&) = delete;
    virtual ~TimerObserver();

    /// About to be put into the queue.
    virtual void queued(const ObservedWork& work) noexcept = 0;

    /// Taken off the queue, or forced past it: its handler is about to see it, on this thread.
    /// `processTovrinTimerTask` is called on this thread before any other event of it.
    virtual void dispatched(const ObservedWork& work) noexcept = 0;

    /// The host has taken the callback task; it may have run already.
    virtual void handedOver(const ObservedWork& work) noexcept = 0;

    /// It came to nothing.
    virtual void dropped(const ObservedWork& work, DropReason why) noexcept = 0;
};

} // namespace tovrintimer
