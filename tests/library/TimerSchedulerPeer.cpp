#include "tests/library/TimerSchedulerPeer.hpp"

#include "tests/library/Opened.hpp"
#include "timer_src/main/WorkQueueItems.hpp"

#include <algorithm>
#include <iterator>

namespace tovrintimer {

struct Queue {
    friend auto open(Queue name);
};
template struct Opened<Queue, &TimerScheduler::workQueue>;

struct Guard {
    friend auto open(Guard name);
};
template struct Opened<Guard, &TimerScheduler::m_mutex>;

struct WorkCondition {
    friend auto open(WorkCondition name);
};
template struct Opened<WorkCondition, &TimerScheduler::m_workCondition>;

struct ConsumerCondition {
    friend auto open(ConsumerCondition name);
};
template struct Opened<ConsumerCondition, &TimerScheduler::m_consumerCondition>;

struct SchedulerThread {
    friend auto open(SchedulerThread name);
};
template struct Opened<SchedulerThread, &TimerScheduler::m_thread>;

struct Finish {
    friend auto open(Finish name);
};
template struct Opened<Finish, &TimerScheduler::m_finish>;

struct Items {
    friend auto open(Items name);
};
template struct Opened<Items, &WorkQueue::m_items>;

struct Removal {
    friend auto open(Removal name);
};
template struct Opened<Removal, &TimerScheduler::removeWorkMatchingId>;

WorkQueue& TimerSchedulerPeer::workQueue(TimerScheduler& scheduler)
{
    return scheduler.*open(Queue());
}

std::vector<WorkItemVariant> TimerSchedulerPeer::queue(TimerScheduler& scheduler)
{
    const Lock held = lock(scheduler);
    std::vector<WorkItemVariant> copy;
    for (const WorkItemVariant* const item : contents(workQueue(scheduler))) {
        copy.push_back(*item);
    }
    return copy;
}

void TimerSchedulerPeer::remove(TimerScheduler& scheduler, const foundation::msg_svc::exchange::IDType& id)
{
    (scheduler.*open(Removal()))(id);
}

void TimerSchedulerPeer::wake(TimerScheduler& scheduler)
{
    // A thread that is only going to sleep would not hear it.
    lock(scheduler).unlock();
    workCondition(scheduler).notify_one();
}

Lock TimerSchedulerPeer::lock(TimerScheduler& scheduler)
{
    return Lock(mutex(scheduler));
}

Mutex& TimerSchedulerPeer::mutex(TimerScheduler& scheduler)
{
    return scheduler.*open(Guard());
}

ConditionVariable& TimerSchedulerPeer::workCondition(TimerScheduler& scheduler)
{
    return scheduler.*open(WorkCondition());
}

ConditionVariable& TimerSchedulerPeer::consumerCondition(TimerScheduler& scheduler)
{
    return scheduler.*open(ConsumerCondition());
}

bool TimerSchedulerPeer::hasThread(TimerScheduler& scheduler)
{
    return (scheduler.*open(SchedulerThread())).joinable();
}

bool TimerSchedulerPeer::isFinishing(TimerScheduler& scheduler)
{
    return scheduler.*open(Finish());
}

std::vector<const WorkItemVariant*> contents(const WorkQueue& queue)
{
    const auto& all = (queue.*open(Items()))->all;
    std::vector<const WorkItemVariant*> items;
    items.reserve(all.size());
    std::transform(
        all.rbegin(), all.rend(), std::back_inserter(items), [](const WorkItemVariant& item) { return &item; });
    return items;
}

} // namespace tovrintimer
