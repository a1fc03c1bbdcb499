#pragma once

#include "timer_src/main/WorkItem.hpp"

namespace tovrintimer {

/// Hands the StartFcn over, where there is one, and queues the first TimerFcn.
class StartFcnWorkItemHandlerStrategy {
public:
    void handle(WorkItem<StartFcnWork>&& item, TimerInfo& timer) const;
};

} // namespace tovrintimer
