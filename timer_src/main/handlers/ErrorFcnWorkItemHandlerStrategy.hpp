#pragma once

#include "timer_src/main/WorkItem.hpp"

namespace tovrintimer {

/// Hands the ErrorFcn over, where there is one. The timer goes on as it was.
class ErrorFcnWorkItemHandlerStrategy {
public:
    void handle(WorkItem<ErrorFcnWork>&& item, TimerInfo& timer) const;
};

} // namespace tovrintimer
