#include "timer_src/main/handlers/FixedDelayTimerFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/handlers/SelfCountingTask.hpp"

namespace tovrintimer {

void FixedDelayTimerFcnWorkItemHandlerStrategy::handle(WorkItem<TimerFcnWork> item) const
{
    handOverSelfCountingTask<FixedDelayTimerFcnWorkItemHandlerStrategy>(
        item, [](WorkItem<TimerFcnWork>& current, TimerInfo& timer, vorn::VORN& engine) {
            countAndScheduleNext(current, timer);
            evaluateTimerCallback(timer, engine, TimerFcnWork);
        });
}

} // namespace tovrintimer
