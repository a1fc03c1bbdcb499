#include "timer_src/main/handlers/StartFcnWorkItemHandlerStrategy.hpp"

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

void StartFcnWorkItemHandlerStrategy::handle(WorkItem<StartFcnWork> item) const
{
    const auto timer = item.m_timerInfo.lock();
    if (!timer) {
        return;
    }
    if (timer->getStartFcnIsEmpty()) {
        trace("Skipping StartFcn scheduling, since it's empty");
    } else {
        trace("Requesting StartFcn Processing");
        handOver<StartFcnWorkItemHandlerStrategy>(timer, runStartFcn);
    }
    scheduleIfTimerIsRunning(makeFirstTimerFcnWorkItem(*timer, item.m_id, item.m_timerInfo));
}

} // namespace tovrintimer
