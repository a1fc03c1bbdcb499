#pragma once

#include "timer_src/main/WorkItem.hpp"

namespace tovrintimer {

/// Hands the TimerFcn over, once whatever the number of tasks; the callback task ends the run.
class SingleShotTimerFcnWorkItemHandlerStrategy {
public:
    void handle(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const;
};

} // namespace tovrintimer
