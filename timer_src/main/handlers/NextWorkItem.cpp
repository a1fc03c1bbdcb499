#include "timer_src/main/handlers/NextWorkItem.hpp"

#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

namespace tovrintimer {

using foundation::msg_svc::exchange::IDType;

namespace {

bool isRunning(const std::weak_ptr<TimerInfo>& timer)
{
    const auto info = timer.lock();
    return info && info->getIsRunning();
}

template <int kind> void scheduleIfRunning(WorkItem<kind> item)
{
    if (isRunning(item.m_timerInfo)) {
        TimerScheduler::getPerTOVRINProcessInstance()->insertAscendingSorted(std::move(item));
    }
}

struct ScheduleVisitor {
    void operator()(std::monostate /*nothing*/) const { }

    template <int kind> void operator()(WorkItem<kind>& item) const { scheduleIfTimerIsRunning(std::move(item)); }
};

} // namespace

void scheduleNextWorkItem(NextWorkItem next)
{
    std::visit(ScheduleVisitor(), next);
}

void scheduleIfTimerIsRunning(WorkItem<StopFcnWork> item)
{
    scheduleIfRunning(std::move(item));
}

void scheduleIfTimerIsRunning(WorkItem<TimerFcnWork> item)
{
    scheduleIfRunning(std::move(item));
}

WorkItem<TimerFcnWork> makeFirstTimerFcnWorkItem(
    const TimerInfo& timer, IDType id, std::weak_ptr<TimerInfo> handle)
{
    const std::uint64_t tasks = timer.getNumOfTasksToExecute();
    return { id, nowPlus(timer.getStartDelay()), std::move(handle), std::make_shared<std::uint64_t>(tasks),
        tasks };
}

boost::optional<WorkItem<StopFcnWork>> makeStopFcnWorkItem(std::weak_ptr<TimerInfo> timer, IDType id)
{
    const auto info = timer.lock();
    if (!info || info->getStopFcnIsEmpty()) {
        return boost::none;
    }
    return WorkItem<StopFcnWork>(now(), id, std::move(timer));
}

void endRunWithoutStopFcn(const WorkItem<TimerFcnWork>& last)
{
    const auto info = last.m_timerInfo.lock();
    if (info && last.m_taskCount == 0 && info->getStopFcnIsEmpty()) {
        info->setActivationStatus(false);
    }
}

} // namespace tovrintimer
