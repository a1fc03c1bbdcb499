#include "timer_src/main/handlers/Dispatch.hpp"

#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/handlers/ErrorFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/FixedDelayTimerFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/FixedRateTimerFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/FixedSpacingTimerFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/SingleShotTimerFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/StartFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/StopFcnWorkItemHandlerStrategy.hpp"

namespace tovrintimer {

void dispatch(WorkItem<StartFcnWork> item, Dispatcher* /*dispatcher*/)
{
    StartFcnWorkItemHandlerStrategy().handle(std::move(item));
}

void dispatch(WorkItem<StopFcnWork> item, Dispatcher* /*dispatcher*/)
{
    StopFcnWorkItemHandlerStrategy().handle(std::move(item));
}

void dispatch(WorkItem<TimerFcnWork> item, Dispatcher* /*dispatcher*/)
{
    // Held until the handler returns, so that the timer cannot go while it is being handled.
    const auto timer = item.m_timerInfo.lock();
    if (!timer) {
        return;
    }
    switch (static_cast<ExecutionMode>(timer->getExecutionMode())) {
    case ExecutionMode::SingleShot:
        SingleShotTimerFcnWorkItemHandlerStrategy().handle(std::move(item));
        return;
    case ExecutionMode::FixedSpacing:
        FixedSpacingTimerFcnWorkItemHandlerStrategy().handle(std::move(item));
        return;
    case ExecutionMode::FixedDelay:
        FixedDelayTimerFcnWorkItemHandlerStrategy().handle(std::move(item));
        return;
    case ExecutionMode::FixedRate:
        FixedRateTimerFcnWorkItemHandlerStrategy().handle(std::move(item));
        return;
    }
    // Any other number names no mode: the item is dropped.
}

void dispatch(WorkItem<ErrorFcnWork> item, Dispatcher* /*dispatcher*/)
{
    ErrorFcnWorkItemHandlerStrategy().handle(std::move(item));
}

void dispatch(WorkItemVariant&& work, Dispatcher* dispatcher)
{
    boost::apply_visitor([dispatcher](auto& item) { dispatch(std::move(item), dispatcher); }, work);
}

} // namespace tovrintimer
