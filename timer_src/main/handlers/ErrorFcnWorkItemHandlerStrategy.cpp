#include "timer_src/main/handlers/ErrorFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/NeverDestroyed.hpp"
#include "timer_src/main/callback/CallbackTask.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"

namespace tovrintimer {

namespace {

void runErrorFcn(TimerInfo& timer, vorn::VORN& engine)
{
    trace("Processing ErrorFcn Callback");
    evaluateTimerCallback(timer, engine, ErrorFcnWork);
}

} // namespace

void ErrorFcnWorkItemHandlerStrategy::handle(WorkItem<ErrorFcnWork> item) const
{
    static NeverDestroyed<HandOver> handOver;

    const auto timer = item.m_timerInfo.lock();
    if (!timer) {
        return;
    }
    if (timer->getErrorFcnIsEmpty()) {
        trace("Skipping ErrorFcn scheduling, since it's empty");
        return;
    }
    auto engine = timer->getVORNInstanceWhereTimerWasFirstCreated();
    trace("Requesting ErrorFcn Processing");
    (*handOver)(*timer, makeCallbackTask(std::move(item.m_timerInfo), std::move(engine), runErrorFcn));
}

} // namespace tovrintimer
