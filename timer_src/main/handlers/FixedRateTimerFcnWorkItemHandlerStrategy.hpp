#pragma once

#include "timer_src/main/WorkItem.hpp"

#include <memory>

namespace tovrintimer {

/// Hands the TimerFcn over, counts it and queues the next one, a period after this dispatch. Where the callback
/// before it is still running, the timer's busy mode decides instead.
class FixedRateTimerFcnWorkItemHandlerStrategy {
public:
    void handle(WorkItem<TimerFcnWork> item) const;

private:
    bool isPreviousCallbackStillRunning(const WorkItem<TimerFcnWork>& item) const;
    void handleFixedRateTimerFcnWithNoContention(
        const std::shared_ptr<TimerInfo>& timer, WorkItem<TimerFcnWork>&& item) const;
    void handleFixedRateTimerFcnWithContention(TimerInfo& timer, WorkItem<TimerFcnWork>&& item) const;
};

} // namespace tovrintimer
