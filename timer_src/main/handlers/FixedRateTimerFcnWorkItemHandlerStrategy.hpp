#pragma once

#include "timer_src/main/WorkItem.hpp"

namespace tovrintimer {

/// Hands the TimerFcn over, counts it and queues the next one, a period after this dispatch. Where the callback
/// before it is still running, the timer's busy mode decides instead.
class FixedRateTimerFcnWorkItemHandlerStrategy {
public:
    void handle(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const;

private:
    bool isPreviousCallbackStillRunning(const WorkItem<TimerFcnWork>& item) const;
    void handleFixedRateTimerFcnWithNoContention(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const;
    void handleFixedRateTimerFcnWithContention(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const;
};

} // namespace tovrintimer
