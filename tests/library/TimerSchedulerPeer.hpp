#pragma once

#include "timer_src/main/TimerScheduler.hpp"

#include <vector>

namespace tovrintimer {

/// Looks into a scheduler, which shows its queue to nobody. Where nothing else is said, the lock is the caller's
/// business.
class TimerSchedulerPeer {
public:
    static WorkQueue& workQueue(TimerScheduler& scheduler);

    /// A copy of the queue, made under the lock: the item that is due last stands first.
    static std::vector<WorkItemVariant> queue(TimerScheduler& scheduler);

    static void remove(TimerScheduler& scheduler, const foundation::msg_svc::exchange::IDType& id);

    /// Wakes the scheduler thread with nothing changed, as the system may at any time.
    static void wake(TimerScheduler& scheduler);

    /// While it is held, the scheduler thread is either in its wait or outside the queue.
    static Lock lock(TimerScheduler& scheduler);

    static Mutex& mutex(TimerScheduler& scheduler);
    static ConditionVariable& workCondition(TimerScheduler& scheduler);
    static ConditionVariable& consumerCondition(TimerScheduler& scheduler);

    /// Only for when no other thread starts or joins it.
    static bool hasThread(TimerScheduler& scheduler);

    static bool isFinishing(TimerScheduler& scheduler);
};

/// What a queue holds, until it changes: the item that is due last stands first.
std::vector<const WorkItemVariant*> contents(const WorkQueue& queue);

} // namespace tovrintimer
