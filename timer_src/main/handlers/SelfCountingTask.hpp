#pragma once

#include "timer_src/main/callback/HandOver.hpp"
#include "timer_src/main/handlers/NextWorkItem.hpp"

#include <utility>

namespace tovrintimer {

/// Hands the TimerFcn over for a mode whose task does all that a run needs: it evaluates the callback, counts it
/// and queues what follows. \param countAndEvaluate does so with the item that it counts in, in the order that is
/// the mode's
template <typename Handler, typename Body>
void handOverSelfCountingTask(WorkItem<TimerFcnWork>& item, TimerInfo& timer, Body countAndEvaluate)
{
    auto runTimerFcn
        = [current = makeCurrentWorkItem(item), countAndEvaluate](TimerInfo& info, vorn::VORN& engine) {
              info.updateTimerFunRunStatus();
              countAndEvaluate(*current, info, engine);
              endRunWithoutStopFcn(current->m_taskCount, info);
          };
    handOver<Handler>(timer, item, std::move(runTimerFcn));
}

} // namespace tovrintimer
