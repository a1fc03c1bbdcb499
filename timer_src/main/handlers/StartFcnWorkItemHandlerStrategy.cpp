#include "timer_src/main/handlers/StartFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/Observation.hpp"
#include "timer_src/main/callback/HandOver.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"
#include "timer_src/main/handlers/NextWorkItem.hpp"

namespace tovrintimer {

namespace {

void runStartFcn(TimerInfo& timer, vorn::VORN& engine)
{
    trace("Processing StartFcn Callback");
    evaluateTimerCallback(timer, engine, StartFcnWork);
}

} // namespace

void StartFcnWorkItemHandlerStrategy::handle(WorkItem<StartFcnWork>&& item, TimerInfo& timer) const
{
    if (timer.getStartFcnIsEmpty()) {
        trace("Skipping StartFcn scheduling, since it's empty");
        tellDropped(item, DropReason::NoCallback);
    } else {
        trace("Requesting StartFcn Processing");
        handOver<StartFcnWorkItemHandlerStrategy>(timer, item, runStartFcn);
    }
    scheduleIfTimerIsRunning(makeFirstTimerFcnWorkItem(item.m_timerInfo, timer), timer);
}

} // namespace tovrintimer
