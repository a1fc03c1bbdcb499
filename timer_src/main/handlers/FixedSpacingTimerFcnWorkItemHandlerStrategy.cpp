#include "timer_src/main/handlers/FixedSpacingTimerFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/handlers/SelfCountingTask.hpp"

namespace tovrintimer {

void FixedSpacingTimerFcnWorkItemHandlerStrategy::handle(WorkItem<TimerFcnWork> item) const
{
    handOverSelfCountingTask<FixedSpacingTimerFcnWorkItemHandlerStrategy>(
        item, [](WorkItem<TimerFcnWork>& current, TimerInfo& timer, vorn::VORN& engine) {
            evaluateTimerCallback(timer, engine, TimerFcnWork);
            countAndScheduleNext(current, timer);
        });
}

} // namespace tovrintimer
