#include "timer_src/main/handlers/Dispatch.hpp"

#include "timer_src/main/Observation.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/handlers/ErrorFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/FixedDelayTimerFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/FixedRateTimerFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/FixedSpacingTimerFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/SingleShotTimerFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/StartFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/StopFcnWorkItemHandlerStrategy.hpp"

namespace tovrintimer {

namespace {

void handle(WorkItem<StartFcnWork>&& item, TimerInfo& timer)
{
    StartFcnWorkItemHandlerStrategy().handle(std::move(item), timer);
}

void handle(WorkItem<StopFcnWork>&& item, TimerInfo& timer)
{
    StopFcnWorkItemHandlerStrategy().handle(std::move(item), timer);
}

void handle(WorkItem<ErrorFcnWork>&& item, TimerInfo& timer)
{
    ErrorFcnWorkItemHandlerStrategy().handle(std::move(item), timer);
}

void handle(WorkItem<TimerFcnWork>&& item, TimerInfo& timer)
{
    switch (static_cast<ExecutionMode>(timer.getExecutionMode())) {
    case ExecutionMode::SingleShot:
        SingleShotTimerFcnWorkItemHandlerStrategy().handle(std::move(item), timer);
        return;
    case ExecutionMode::FixedSpacing:
        FixedSpacingTimerFcnWorkItemHandlerStrategy().handle(std::move(item), timer);
        return;
    case ExecutionMode::FixedDelay:
        FixedDelayTimerFcnWorkItemHandlerStrategy().handle(std::move(item), timer);
        return;
    case ExecutionMode::FixedRate:
        FixedRateTimerFcnWorkItemHandlerStrategy().handle(std::move(item), timer);
        return;
    }
    // Any other number names no mode.
    tellDropped(item, DropReason::NoSuchMode);
}

template <int kind> void dispatchItem(WorkItem<kind>&& item)
{
    tellDispatched(item);
    const auto timer = item.m_timerInfo.lock();
    if (!timer) {
        tellDropped(item, DropReason::TimerGone);
        return;
    }
    try {
        handle(std::move(item), *timer);
    } catch (...) {
        tellDropped(item, DropReason::NotHandedOver);
        throw;
    }
}

} // namespace

void dispatch(WorkItem<StartFcnWork>&& item, Dispatcher* /*dispatcher*/)
{
    dispatchItem(std::move(item));
}

void dispatch(WorkItem<StopFcnWork>&& item, Dispatcher* /*dispatcher*/)
{
    dispatchItem(std::move(item));
}

void dispatch(WorkItem<TimerFcnWork>&& item, Dispatcher* /*dispatcher*/)
{
    dispatchItem(std::move(item));
}

void dispatch(WorkItem<ErrorFcnWork>&& item, Dispatcher* /*dispatcher*/)
{
    dispatchItem(std::move(item));
}

void dispatch(WorkItemVariant&& work, Dispatcher* /*dispatcher*/)
{
    boost::apply_visitor([](auto& item) { dispatchItem(std::move(item)); }, work);
}

} // namespace tovrintimer
