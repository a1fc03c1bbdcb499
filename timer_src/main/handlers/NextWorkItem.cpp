#include "timer_src/main/handlers/NextWorkItem.hpp"

#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/Observation.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"
#include "timer_src/main/handlers/TaskCounting.hpp"

#include <type_traits>

namespace tovrintimer {

namespace {

template <int kind> void scheduleIfRunning(WorkItem<kind>&& item, const TimerInfo& timer)
{
    if (timer.getIsRunning()) {
        TimerScheduler::getPerTOVRINProcessInstance()->insertAscendingSorted(std::move(item));
    } else {
        tellNotQueued(item, DropReason::TimerNotRunning);
    }
}

} // namespace

void scheduleNextWorkItem(NextWorkItem&& next, const TimerInfo& timer)
{
    std::visit(
        [&timer]<typename Next>(Next& item) {
            if constexpr (!std::is_same_v<Next, std::monostate>) {
                scheduleIfTimerIsRunning(std::move(item), timer);
            }
        },
        next);
}

void scheduleIfTimerIsRunning(WorkItem<StopFcnWork>&& item, const TimerInfo& timer)
{
    scheduleIfRunning(std::move(item), timer);
}

void scheduleIfTimerIsRunning(WorkItem<TimerFcnWork>&& item, const TimerInfo& timer)
{
    scheduleIfRunning(std::move(item), timer);
}

WorkItem<TimerFcnWork> makeFirstTimerFcnWorkItem(std::weak_ptr<TimerInfo> handle, const TimerInfo& timer)
{
    const std::uint64_t tasks = timer.getNumOfTasksToExecute();
    return { timer.getId(), nowPlus(timer.getStartDelay()), std::move(handle),
        std::make_shared<std::uint64_t>(tasks), tasks };
}

std::shared_ptr<WorkItem<TimerFcnWork>> makeCurrentWorkItem(const WorkItem<TimerFcnWork>& due)
{
    return std::make_shared<WorkItem<TimerFcnWork>>(
        due.m_id, due.m_executeAt, due.m_timerInfo, due.m_sharedTaskCounter, due.m_taskCount);
}

boost::optional<WorkItem<StopFcnWork>> makeStopFcnWorkItem(std::weak_ptr<TimerInfo> handle, TimerInfo& timer)
{
    if (timer.getStopFcnIsEmpty()) {
        return boost::none;
    }
    return WorkItem<StopFcnWork>(now(), timer.getId(), std::move(handle));
}

boost::optional<WorkItem<ErrorFcnWork>> makeErrorFcnWorkItem(std::weak_ptr<TimerInfo> handle, TimerInfo& timer)
{
    if (timer.getErrorFcnIsEmpty()) {
        return boost::none;
    }
    return WorkItem<ErrorFcnWork>(now(), timer.getId(), std::move(handle));
}

NextWorkItem makeNextWorkItem(std::weak_ptr<TimerInfo> handle, TimerInfo& timer,
    std::shared_ptr<prevCallBackStatus> status, bool fireImmediately, std::shared_ptr<std::uint64_t> counter,
    std::uint64_t taskCount)
{
    if (taskCount == 0) {
        if (auto stop = makeStopFcnWorkItem(std::move(handle), timer)) {
            return std::move(*stop);
        }
        return {};
    }
    const DueTime due = fireImmediately ? now() : nowPlus(timer.getPeriod());
    return NextWorkItem(std::in_place_type<WorkItem<TimerFcnWork>>, timer.getId(), due, std::move(handle),
        std::move(counter), taskCount, std::move(status));
}

void countAndScheduleNext(WorkItem<TimerFcnWork>& current, TimerInfo& timer)
{
    auto status = std::make_shared<prevCallBackStatus>();
    countCallback(current, timer);
    scheduleNextWorkItem(makeNextWorkItem(current.m_timerInfo, timer, std::move(status), false,
                             current.m_sharedTaskCounter, current.m_taskCount),
        timer);
}

void endRunWithoutStopFcn(std::uint64_t taskCount, TimerInfo& timer)
{
    if (taskCount == 0 && timer.getStopFcnIsEmpty()) {
        timer.setActivationStatus(false);
    }
}

} // namespace tovrintimer
