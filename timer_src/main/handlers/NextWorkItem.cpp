#include "timer_src/main/handlers/NextWorkItem.hpp"

#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"
#include "timer_src/main/handlers/TaskCounting.hpp"

namespace tovrintimer {

using foundation::msg_svc::exchange::IDType;

namespace {

bool isRunning(const std::weak_ptr<TimerInfo>& timer)
{
    const auto info = timer.lock();
    return info && info->getIsRunning();
}

template <int kind> void scheduleIfRunning(WorkItem<kind>&& item)
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

std::shared_ptr<WorkItem<TimerFcnWork>> makeCurrentWorkItem(const WorkItem<TimerFcnWork>& due)
{
    return std::make_shared<WorkItem<TimerFcnWork>>(
        due.m_id, due.m_executeAt, due.m_timerInfo, due.m_sharedTaskCounter, due.m_taskCount);
}

boost::optional<WorkItem<StopFcnWork>> makeStopFcnWorkItem(std::weak_ptr<TimerInfo> timer, IDType id)
{
    const auto info = timer.lock();
    if (!info || info->getStopFcnIsEmpty()) {
        return boost::none;
    }
    return WorkItem<StopFcnWork>(now(), id, std::move(timer));
}

boost::optional<WorkItem<ErrorFcnWork>> makeErrorFcnWorkItem(IDType id, std::weak_ptr<TimerInfo> timer)
{
    const auto info = timer.lock();
    if (!info || info->getErrorFcnIsEmpty()) {
        return boost::none;
    }
    return WorkItem<ErrorFcnWork>(now(), id, std::move(timer));
}

NextWorkItem makeNextWorkItem(std::weak_ptr<TimerInfo> timer, std::shared_ptr<prevCallBackStatus> status,
    bool fireImmediately, IDType id, std::shared_ptr<std::uint64_t> counter, std::uint64_t taskCount)
{
    NextWorkItem next;
    const auto info = timer.lock();
    if (!info) {
        return next;
    }
    if (taskCount == 0) {
        if (auto stop = makeStopFcnWorkItem(std::move(timer), id)) {
            next = std::move(*stop);
        }
        return next;
    }
    const DueTime due = fireImmediately ? now() : nowPlus(info->getPeriod());
    next = WorkItem<TimerFcnWork>(id, due, std::move(timer), std::move(counter), taskCount, std::move(status));
    return next;
}

void countAndScheduleNext(WorkItem<TimerFcnWork>& current, const TimerInfo& timer)
{
    auto status = std::make_shared<prevCallBackStatus>();
    countCallback(current, timer);
    scheduleNextWorkItem(makeNextWorkItem(current.m_timerInfo, std::move(status), false, current.m_id,
        current.m_sharedTaskCounter, current.m_taskCount));
}

void endRunWithoutStopFcn(const WorkItem<TimerFcnWork>& last)
{
    const auto info = last.m_timerInfo.lock();
    if (info && last.m_taskCount == 0 && info->getStopFcnIsEmpty()) {
        info->setActivationStatus(false);
    }
}

} // namespace tovrintimer
