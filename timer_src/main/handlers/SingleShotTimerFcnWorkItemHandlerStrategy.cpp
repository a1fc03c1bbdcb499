#include "timer_src/main/handlers/SingleShotTimerFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/callback/HandOver.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"
#include "timer_src/main/handlers/NextWorkItem.hpp"

namespace tovrintimer {

namespace {

/// The StopFcn follows, or without one the run ends here.
void endRun(const WorkItem<TimerFcnWork>& item, TimerInfo& timer)
{
    endRunWithoutStopFcn(item.m_taskCount, timer);
    if (auto stop = makeStopFcnWorkItem(item.m_timerInfo, timer)) {
        scheduleIfTimerIsRunning(std::move(*stop), timer);
    } else {
        // Once more, as for a timer that lost its StopFcn in between: the flag is false already, or becomes so.
        timer.setActivationStatus(false);
    }
}

} // namespace

void SingleShotTimerFcnWorkItemHandlerStrategy::handle(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const
{
    const auto only = std::make_shared<WorkItem<TimerFcnWork>>(item.m_id, item.m_executeAt, item.m_timerInfo, 1);
    trace("Requesting SingleShot Processing");
    const auto runTimerFcn = [current = only->shared_from_this()](TimerInfo& info, vorn::VORN& engine) {
        trace("Processing SingleShot Callback");
        current->m_taskCount = 0;
        info.updateTimerFunRunStatus();
        evaluateTimerCallback(info, engine, TimerFcnWork);
        endRun(*current, info);
    };
    handOver<SingleShotTimerFcnWorkItemHandlerStrategy>(timer, item, runTimerFcn);
}

} // namespace tovrintimer
