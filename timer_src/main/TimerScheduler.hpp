#pragma once

#include "timer_src/main/Concurrency.hpp"
#include "timer_src/main/Export.hpp"
#include "timer_src/main/OnceFlag.hpp"
#include "timer_src/main/TimerObserver.hpp"
#include "timer_src/main/WorkItem.hpp"
#include "timer_src/main/WorkQueue.hpp"

#include <memory>
#include <utility>
#include <vector>

/// The timer engine.
namespace tovrintimer {

class Dispatcher;
class TimerInfo;

/// Has the timer's queued TimerFcn that has this record, if there is one, be due now: the callback that it waits
/// for has returned.
///
/// \throws std::system_error if m_mutex of the process's scheduler cannot be locked; the item is due when it was
void hasten(const foundation::msg_svc::exchange::IDType& timer, const prevCallBackStatus& record);

/// The scheduler of all timers of the process: one queue, and one thread that dispatches what falls due.
///
///     host threads                     scheduler thread                 engine's thread
///     ------------                     ----------------                 ---------------
///     createAndStartWork --insert-->   wait until the soonest is due
///     forceStopWork...  --remove-->    take it, unlock, dispatch it
///     (work that is due at once        hand the callback task over ---> run the task:
///      is dispatched right there)      insert what follows     <------- insert what follows
///
/// Threading: any public operation, any thread; `cleanup` and destruction once, not on the scheduler thread.
/// Host code never runs under m_mutex, log sinks excepted.
/// Ownership: the host's process-wide store owns the one instance. Queued items are values, and do not keep their
/// timers alive.
/// Lifetime: the host destroys it before `main` returns. It starts its thread with the first item that is
/// really queued, and never a second one.
/// Ordering: earlier due time first; equal due times in arrival order; one item at a time.
/// Lock order: m_mutex, then a logger's own lock. Nothing else is taken under m_mutex.
class TOVRINTIMER_API TimerScheduler {
public:
    /// The scheduler of this process, made at the first call. Never null.
    static TimerScheduler* getPerTOVRINProcessInstance();

    /// Has this observer told of each piece of work from now on, in place of the one before; null for nobody.
    ///
    /// Threading: any thread, at any time, before the scheduler is made as well.
    /// Ownership: the host's; see there how long it must live.
    static void setObserver(TimerObserver* observer) noexcept;

    /// An idle scheduler without a thread.
    TimerScheduler();
    TimerScheduler(const TimerScheduler&) = delete;
    TimerScheduler& operator=(const TimerScheduler&) = delete;

    /// Shuts down as `cleanup` does, and gives the timer resolution back if it was raised.
    ~TimerScheduler();

    /// Starts a timer. Does nothing if it has been destroyed.
    ///
    /// Its StartFcn, or without one its first TimerFcn if there is no start delay, is handed over on the calling
    /// thread before this returns.
    /// \throws std::system_error if the scheduler thread cannot be started (the next insert tries again), and
    ///         whatever the host's operations throw
    void createAndStartWork(std::weak_ptr<TimerInfo> timer);

    /// Discards the timer's queued work and hands its ErrorFcn over; then its StopFcn, if asked for. Both happen
    /// on the calling thread. Does nothing if the timer has been destroyed.
    /// \throws whatever the host's operations throw
    void forceScheduleOfErrorFcn(std::weak_ptr<TimerInfo> timer, bool alsoScheduleStopFcn);

    /// Discards the timer's queued work and hands its StopFcn over, on the calling thread. Without a StopFcn the
    /// timer stops running at once, else as the StopFcn starts. A callback that was already handed over, or is
    /// just being dispatched, is not called back. Does nothing if the timer has been destroyed.
    /// \throws whatever the host's operations throw
    void forceStopWorkAndScheduleStopFcn(std::weak_ptr<TimerInfo> timer);

    /// Queues an item, behind those of an equal due time, and starts the scheduler thread with the first. A due
    /// time beyond the clock's range becomes the end of that range.
    /// \throws std::system_error if that thread cannot be started (the next insert tries again) or m_mutex cannot
    ///         be locked, std::bad_alloc; the queue then holds what it held
    void insertAscendingSorted(WorkItem<StartFcnWork> item);
    void insertAscendingSorted(WorkItem<StopFcnWork> item); ///< \overload
    void insertAscendingSorted(WorkItem<TimerFcnWork> item); ///< \overload
    void insertAscendingSorted(WorkItem<ErrorFcnWork> item); ///< \overload

    /// What of a timer's work is in the queue now, the soonest first. What is being dispatched is not there any
    /// more, and what follows it, not yet. The number is 0 where it was queued while nobody observed.
    /// \throws std::bad_alloc, std::system_error if m_mutex cannot be locked
    std::vector<ObservedWork> queuedWork(const foundation::msg_svc::exchange::IDType& timer) const;

    /// Discards all queued work without running it, and ends the scheduler thread after the item that it is
    /// dispatching. What is queued later is never run.
    /// \throws std::system_error (resource_deadlock_would_occur) on the scheduler thread itself; the queue has
    ///         been emptied then, and the thread ends by itself
    void cleanup();

private:
    void run();
    void startThread();

    template <int kind> void requestWork(WorkItem<kind>&& item);
    template <int kind> void insertInOrder(WorkItem<kind>&& item);

    /// The soonest item and its due time. The caller holds m_mutex, and the queue is not empty.
    std::pair<const WorkItemVariant&, DueTime> getTimePointForBackOfWorkQueue() const;
    void removeWorkMatchingId(foundation::msg_svc::exchange::IDType id);
    friend void hasten(const foundation::msg_svc::exchange::IDType& timer, const prevCallBackStatus& record);

    // Dispatches at once, on the calling thread and without the queue.
    void bypassSchedulerAndForceWork(WorkItem<StartFcnWork> item);
    void bypassSchedulerAndForceWork(WorkItem<StopFcnWork> item);
    void bypassSchedulerAndForceWork(WorkItem<TimerFcnWork> item);
    void bypassSchedulerAndForceWork(WorkItem<ErrorFcnWork> item);
    template <int kind> void forceWork(WorkItem<kind>&& item);

    // In the order of the interface, which is fixed. `cleanup`, called by the destructor, has ended the thread
    // before anything that it uses is destroyed.

    WorkQueue workQueue; // guarded by m_mutex

    // Set once under m_threadStarted, joined by `cleanup`.
    Thread m_thread;

    mutable Mutex m_mutex;
    ConditionVariable m_workCondition; // the scheduler thread waits here: for the queue or m_finish to change
    ConditionVariable m_consumerCondition; // told of each dispatch; a hook that nobody waits on yet
    Atomic<bool> m_finish { false }; // written under m_mutex, or its wake-up could be lost
    OnceFlag m_threadStarted;
    std::unique_ptr<Dispatcher> m_dispatcher; // reserved: always empty, passed along with each dispatch
    Atomic<bool> m_timerResolutionRaised { false };
};

} // namespace tovrintimer
