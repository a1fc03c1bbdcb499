#pragma once

#include "timer_src/main/WorkItem.hpp"

#include <boost/optional.hpp>

#include <variant>

namespace tovrintimer {

/// What follows a TimerFcn: nothing, the next TimerFcn, or the StopFcn.
using NextWorkItem = std::variant<std::monostate, WorkItem<TimerFcnWork>, WorkItem<StopFcnWork>>;

// `timer` is everywhere the item's own, which the caller holds: a dispatch, or a callback task that is running.

/// Queues what follows, if anything, while the timer is running.
/// \throws std::bad_variant_access if an exception left the holder without a value
void scheduleNextWorkItem(NextWorkItem&& next, const TimerInfo& timer);

// The one gate for follow-on work: queues the item if its timer is running, else drops it. The flag is not held
// while queueing: a timer that stops in between still receives this item.
void scheduleIfTimerIsRunning(WorkItem<StopFcnWork>&& item, const TimerInfo& timer);
void scheduleIfTimerIsRunning(WorkItem<TimerFcnWork>&& item, const TimerInfo& timer);

/// The first TimerFcn of a run, due after the start delay.
WorkItem<TimerFcnWork> makeFirstTimerFcnWorkItem(std::weak_ptr<TimerInfo> handle, const TimerInfo& timer);

/// A copy of the item that is being dispatched, for its callback task to count in. Its record is new.
std::shared_ptr<WorkItem<TimerFcnWork>> makeCurrentWorkItem(const WorkItem<TimerFcnWork>& due);

/// A StopFcn due now; none where the timer has no StopFcn.
boost::optional<WorkItem<StopFcnWork>> makeStopFcnWorkItem(std::weak_ptr<TimerInfo> handle, TimerInfo& timer);

/// An ErrorFcn due now; none where the timer has no ErrorFcn.
boost::optional<WorkItem<ErrorFcnWork>> makeErrorFcnWorkItem(std::weak_ptr<TimerInfo> handle, TimerInfo& timer);

/// What follows a periodic TimerFcn after which `taskCount` callbacks are left: the StopFcn where that is none,
/// else the next TimerFcn, due now or a period from now.
/// \param status the record of the callback before the next one
NextWorkItem makeNextWorkItem(std::weak_ptr<TimerInfo> handle, TimerInfo& timer,
    std::shared_ptr<prevCallBackStatus> status, bool fireImmediately, std::shared_ptr<std::uint64_t> counter,
    std::uint64_t taskCount);

/// Counts the callback of this item, in the item, and queues what follows it a period from now. Its record is new.
void countAndScheduleNext(WorkItem<TimerFcnWork>& current, TimerInfo& timer);

/// Ends the run after the callback that counted down to 0 where there is no StopFcn to do so.
void endRunWithoutStopFcn(std::uint64_t taskCount, TimerInfo& timer);

} // namespace tovrintimer
