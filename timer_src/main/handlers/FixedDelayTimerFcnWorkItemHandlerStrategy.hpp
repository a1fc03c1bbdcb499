#pragma once

#include "timer_src/main/WorkItem.hpp"

namespace tovrintimer {

/// Hands the TimerFcn over; the callback task counts it and queues the next one, a period after it has started.
class FixedDelayTimerFcnWorkItemHandlerStrategy {
public:
    void handle(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const;
};

} // namespace tovrintimer
