#include "timer_src/main/handlers/FixedSpacingTimerFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/handlers/SelfCountingTask.hpp"

namespace tovrintimer {

void FixedSpacingTimerFcnWorkItemHandlerStrategy::handle(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const
{
    handOverSelfCountingTask<FixedSpacingTimerFcnWorkItemHandlerStrategy>(
        item, timer, [](WorkItem<TimerFcnWork>& current, TimerInfo& info, vorn::VORN& engine) {
            evaluateTimerCallback(info, engine, TimerFcnWork);
            countAndScheduleNext(current, info);
        });
}

} // namespace tovrintimer
