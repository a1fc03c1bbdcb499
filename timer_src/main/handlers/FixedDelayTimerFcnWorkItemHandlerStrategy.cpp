#include "timer_src/main/handlers/FixedDelayTimerFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/handlers/SelfCountingTask.hpp"

namespace tovrintimer {

void FixedDelayTimerFcnWorkItemHandlerStrategy::handle(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const
{
    handOverSelfCountingTask<FixedDelayTimerFcnWorkItemHandlerStrategy>(
        item, timer, [](WorkItem<TimerFcnWork>& current, TimerInfo& info, vorn::VORN& engine) {
            countAndScheduleNext(current, info);
            evaluateTimerCallback(info, engine, TimerFcnWork);
        });
}

} // namespace tovrintimer
