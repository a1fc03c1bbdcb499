#include "timer_src/main/handlers/StopFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/Observation.hpp"
#include "timer_src/main/callback/HandOver.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"

namespace tovrintimer {

void StopFcnWorkItemHandlerStrategy::handle(WorkItem<StopFcnWork>&& item, TimerInfo& timer) const
{
    if (timer.getStopFcnIsEmpty()) {
        timer.setActivationStatus(false);
        trace("Skipping StopFcn scheduling, since it's empty");
        tellDropped(item, DropReason::NoCallback);
        return;
    }
    const auto copy = std::make_shared<WorkItem<StopFcnWork>>(item.m_executeAt, item.m_id, item.m_timerInfo);
    trace("Requesting StopFcn Processing");
    // The task keeps its item until it has run.
    const auto runStopFcn = [kept = copy->shared_from_this()](TimerInfo& info, vorn::VORN& engine) {
        info.setActivationStatus(false);
        evaluateTimerCallback(info, engine, StopFcnWork);
    };
    handOver<StopFcnWorkItemHandlerStrategy>(timer, item, runStopFcn);
}

} // namespace tovrintimer
