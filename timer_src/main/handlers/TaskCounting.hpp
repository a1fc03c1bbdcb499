#pragma once

#include "timer_src/main/WorkItem.hpp"

#include <cstdint>
#include <utility>

namespace tovrintimer {

/// Counts one callback of a run, and takes a changed number of tasks into account.
///
/// A new number is honoured while at least one more callback is to come by it; one that has already been reached
/// is ignored, and the run goes on to the old total. Counts are unsigned and wrap: a run started with 0 tasks is
/// practically endless.
/// \param current the item that is being dispatched, for the log
/// \param tasksToExecute what the timer says now
/// \param counterValue the total in force
/// \param taskCount the callbacks still to be dispatched, this one included
/// \returns the total in force from now on, and the callbacks still to be dispatched after this one
std::pair<std::uint64_t, std::uint64_t> updateCallbackCounter(const WorkItem<TimerFcnWork>& current,
    std::uint64_t tasksToExecute, std::uint64_t counterValue, std::uint64_t taskCount);

/// The same without the record.
std::pair<std::uint64_t, std::uint64_t> afterCallback(
    std::uint64_t tasksToExecute, std::uint64_t counterValue, std::uint64_t taskCount);

/// Records that a changed number of tasks has been honoured.
/// \param taskCount the callbacks still to be dispatched before this one is counted
void traceChangedTotal(std::uint64_t taskCount);

/// Counts the callback of this item, in the item: a new counter object, and the callbacks that are left.
void countCallback(WorkItem<TimerFcnWork>& current, const TimerInfo& timer);

} // namespace tovrintimer
