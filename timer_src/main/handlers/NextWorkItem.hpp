#pragma once

#include "timer_src/main/WorkItem.hpp"

#include <boost/optional.hpp>

#include <variant>

namespace tovrintimer {

/// What follows a TimerFcn: nothing, the next TimerFcn, or the StopFcn.
using NextWorkItem = std::variant<std::monostate, WorkItem<TimerFcnWork>, WorkItem<StopFcnWork>>;

/// Queues what follows, if anything, while the timer is running.
/// \throws std::bad_variant_access if an exception left the holder without a value
void scheduleNextWorkItem(NextWorkItem next);

// The one gate for follow-on work: queues the item if its timer exists and is running, else drops it. The flag is
// not held while queueing: a timer that stops in between still receives this item.
void scheduleIfTimerIsRunning(WorkItem<StopFcnWork> item);
void scheduleIfTimerIsRunning(WorkItem<TimerFcnWork> item);

/// The first TimerFcn of a run, due after the start delay.
WorkItem<TimerFcnWork> makeFirstTimerFcnWorkItem(
    const TimerInfo& timer, foundation::msg_svc::exchange::IDType id, std::weak_ptr<TimerInfo> handle);

/// A copy of the item that is being dispatched, for its callback task to count in. Its record is new.
std::shared_ptr<WorkItem<TimerFcnWork>> makeCurrentWorkItem(const WorkItem<TimerFcnWork>& due);

/// A StopFcn due now; none where the timer has gone or has no StopFcn.
boost::optional<WorkItem<StopFcnWork>> makeStopFcnWorkItem(
    std::weak_ptr<TimerInfo> timer, foundation::msg_svc::exchange::IDType id);

/// An ErrorFcn due now; none where the timer has gone or has no ErrorFcn.
boost::optional<WorkItem<ErrorFcnWork>> makeErrorFcnWorkItem(
    foundation::msg_svc::exchange::IDType id, std::weak_ptr<TimerInfo> timer);

/// What follows a periodic TimerFcn after which `taskCount` callbacks are left: the StopFcn where that is none,
/// else the next TimerFcn, due now or a period from now. Nothing where the timer has gone.
/// \param status the record of the callback before the next one
NextWorkItem makeNextWorkItem(std::weak_ptr<TimerInfo> timer, std::shared_ptr<prevCallBackStatus> status,
    bool fireImmediately, foundation::msg_svc::exchange::IDType id, std::shared_ptr<std::uint64_t> counter,
    std::uint64_t taskCount);

/// Counts the callback of this item, in the item, and queues what follows it a period from now. Its record is new.
void countAndScheduleNext(WorkItem<TimerFcnWork>& current, const TimerInfo& timer);

/// Ends the run after the callback that counted down to 0 where there is no StopFcn to do so.
void endRunWithoutStopFcn(const WorkItem<TimerFcnWork>& last);

} // namespace tovrintimer
