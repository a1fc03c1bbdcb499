#include "timer_src/main/handlers/TaskCounting.hpp"

#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/callback/DiagnosticLog.hpp"

namespace tovrintimer {

std::pair<std::uint64_t, std::uint64_t> updateCallbackCounter(const WorkItem<TimerFcnWork>& current,
    std::uint64_t tasksToExecute, std::uint64_t counterValue, std::uint64_t taskCount)
{
    const auto after = afterCallback(tasksToExecute, counterValue, taskCount);
    if (after.first != counterValue) {
        traceChangedTotal(current.m_taskCount);
    }
    return after;
}

std::pair<std::uint64_t, std::uint64_t> afterCallback(
    std::uint64_t tasksToExecute, std::uint64_t counterValue, std::uint64_t taskCount)
{
    if (counterValue == tasksToExecute || taskCount == 0) {
        return { counterValue, taskCount - 1 };
    }
    const std::uint64_t dispatchedBefore = counterValue - taskCount;
    if (dispatchedBefore >= tasksToExecute - 1) {
        return { counterValue, taskCount - 1 };
    }
    return { tasksToExecute, (tasksToExecute - dispatchedBefore) - 1 };
}

void traceChangedTotal(std::uint64_t taskCount)
{
    writeRecord(workItemLogger, Severity::Trace, "TasksToExecute changed, affecting callback ctr ", taskCount);
}

void countCallback(WorkItem<TimerFcnWork>& current, const TimerInfo& timer)
{
    const auto [total, left] = updateCallbackCounter(
        current, timer.getNumOfTasksToExecute(), *current.m_sharedTaskCounter, current.m_taskCount);
    // A new object: the items before this one keep the total that they were counted by.
    current.m_sharedTaskCounter = std::make_shared<std::uint64_t>(total);
    current.m_taskCount = left;
}

} // namespace tovrintimer
