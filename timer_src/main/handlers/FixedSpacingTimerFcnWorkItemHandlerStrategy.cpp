#include "timer_src/main/handlers/FixedSpacingTimerFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/NeverDestroyed.hpp"
#include "timer_src/main/callback/CallbackTask.hpp"
#include "timer_src/main/handlers/NextWorkItem.hpp"

namespace tovrintimer {

void FixedSpacingTimerFcnWorkItemHandlerStrategy::handle(WorkItem<TimerFcnWork> item) const
{
    static NeverDestroyed<HandOver> handOver;

    const auto timer = item.m_timerInfo.lock();
    if (!timer) {
        return;
    }
    auto engine = timer->getVORNInstanceWhereTimerWasFirstCreated();
    const auto runTimerFcn = [current = makeCurrentWorkItem(item)](TimerInfo& info, vorn::VORN& vorn) {
        info.updateTimerFunRunStatus();
        evaluateTimerCallback(info, vorn, TimerFcnWork);
        countAndScheduleNext(*current, info, std::make_shared<prevCallBackStatus>());
        endRunWithoutStopFcn(*current);
    };
    (*handOver)(*timer, makeCallbackTask(std::move(item.m_timerInfo), std::move(engine), runTimerFcn));
}

} // namespace tovrintimer
