#pragma once

#include "timer_src/main/TimerScheduler.hpp"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tovrintimer {

/// Looks into the queue, and calls what the scheduler keeps to itself.
class TimerSchedulerPeer {
public:
    /// A copy of the queue: the item that is due last stands first.
    static std::vector<WorkItemVariant> queue(TimerScheduler& scheduler)
    {
        const Lock lock(scheduler.m_mutex);
        return scheduler.workQueue;
    }

    /// The soonest item, read under the lock as the scheduler thread does.
    static std::pair<WorkItemVariant, DueTime> soonest(TimerScheduler& scheduler)
    {
        const Lock lock(scheduler.m_mutex);
        return std::as_const(scheduler).getTimePointForBackOfWorkQueue();
    }

    /// Takes the soonest item off the queue, as the scheduler thread does.
    static WorkItemVariant take(TimerScheduler& scheduler)
    {
        const Lock lock(scheduler.m_mutex);
        if (scheduler.workQueue.empty()) {
            throw std::logic_error("nothing is queued");
        }
        WorkItemVariant work = std::move(scheduler.workQueue.back());
        scheduler.workQueue.pop_back();
        return work;
    }

    static void remove(TimerScheduler& scheduler, const foundation::msg_svc::exchange::IDType& id)
    {
        scheduler.removeWorkMatchingId(id);
    }

    template <int kind> static void bypass(TimerScheduler& scheduler, WorkItem<kind> item)
    {
        scheduler.bypassSchedulerAndForceWork(std::move(item));
    }

    /// Wakes the scheduler thread with nothing changed, as the system may at any time.
    static void wake(TimerScheduler& scheduler)
    {
        // A thread that is only going to sleep would not hear it.
        lock(scheduler).unlock();
        scheduler.m_workCondition.notify_one();
    }

    /// While it is held, the scheduler thread is either in its wait or outside the queue.
    static Lock lock(TimerScheduler& scheduler) { return Lock(scheduler.m_mutex); }

    static ConditionVariable& consumerCondition(TimerScheduler& scheduler)
    {
        return scheduler.m_consumerCondition;
    }

    /// Only for when no other thread starts or joins it.
    static bool hasThread(TimerScheduler& scheduler) { return scheduler.m_thread.joinable(); }

    static bool isFinishing(TimerScheduler& scheduler) { return scheduler.m_finish; }
};

} // namespace tovrintimer
