#include "timer_src/main/handlers/ErrorFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/Observation.hpp"
#include "timer_src/main/callback/HandOver.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"

namespace tovrintimer {

namespace {

void runErrorFcn(TimerInfo& timer, vorn::VORN& engine)
{
    trace("Processing ErrorFcn Callback");
    evaluateTimerCallback(timer, engine, ErrorFcnWork);
}

} // namespace

void ErrorFcnWorkItemHandlerStrategy::handle(WorkItem<ErrorFcnWork>&& item, TimerInfo& timer) const
{
    if (timer.getErrorFcnIsEmpty()) {
        trace("Skipping ErrorFcn scheduling, since it's empty");
        tellDropped(item, DropReason::NoCallback);
        return;
    }
    trace("Requesting ErrorFcn Processing");
    handOver<ErrorFcnWorkItemHandlerStrategy>(timer, item, runErrorFcn);
}

} // namespace tovrintimer
