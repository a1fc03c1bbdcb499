#pragma once

#include "timer_src/main/TimerScheduler.hpp"

#include <vector>

namespace tovrintimer {

/// Looks into the scheduler without taking its lock: nothing else runs meanwhile.
class TimerSchedulerPeer {
public:
    /// The item that is due last stands first.
    static const std::vector<WorkItemVariant>& queue(const TimerScheduler& scheduler)
    {
        return scheduler.workQueue;
    }

    static const void* mutex(const TimerScheduler& scheduler) { return &scheduler.m_mutex; }
    static const void* workCondition(const TimerScheduler& scheduler) { return &scheduler.m_workCondition; }
    static const void* consumerCondition(const TimerScheduler& scheduler)
    {
        return &scheduler.m_consumerCondition;
    }
};

} // namespace tovrintimer
