#pragma once

#include "timer_src/main/WorkItem.hpp"

namespace tovrintimer {

/// Hands the StopFcn over; without one, the timer stops running at once.
class StopFcnWorkItemHandlerStrategy {
public:
    void handle(WorkItem<StopFcnWork>&& item, TimerInfo& timer) const;
};

} // namespace tovrintimer
