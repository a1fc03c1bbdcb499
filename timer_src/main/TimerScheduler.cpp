#include "timer_src/main/TimerScheduler.hpp"

#include "host/setCurrentThreadName.hpp"
#include "host/usm/Detail.hpp"
#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/Observation.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/callback/DiagnosticLog.hpp"
#include "timer_src/main/callback/ScopeTrace.hpp"
#include "timer_src/main/handlers/Dispatch.hpp"
#include "timer_src/main/handlers/NextWorkItem.hpp"
#include "timer_src/main/platform/Platform.hpp"

#include <algorithm>
#include <exception>
#include <system_error>

namespace tovrintimer {

using foundation::msg_svc::exchange::IDType;

namespace {

DiagnosticLogger schedulerLogger("tovrintimer::TimerScheduler");

template <typename... Pieces> void traceScheduler(Pieces... pieces) noexcept
{
    writeRecord(schedulerLogger, Severity::Trace, pieces...);
}

template <typename... Pieces> void traceSchedulerDetail(Pieces... pieces) noexcept
{
    writeRecord(schedulerLogger, Severity::Detail, pieces...);
}

constexpr SourceLocation runLocation {
    "void __cdecl tovrintimer::TimerScheduler::run(void)",
    "timer_src/main/TimerScheduler",
    352,
};

/// How long the thread waits while nothing is queued: to a fixed point of the steady clock, 375 days after its
/// epoch, and not for a span from now.
constexpr DueTime farDeadline { DueTime::duration(32'400'000'000) };

/// Timers with a shorter period want a finer resolution than systems grant by default.
constexpr double fastPeriodMs = 500.0;

void discardAll(WorkQueue& queue, Discards& discards)
{
    if (discards.areWanted()) {
        queue.visitAll([&discards](const WorkItemVariant& work) { discards.note(work); });
    }
    queue.clear();
}

void destroyScheduler(void* scheduler)
{
    delete static_cast<TimerScheduler*>(scheduler);
}

} // namespace

// ---- The one instance of the process

TimerScheduler* TimerScheduler::getPerTOVRINProcessInstance()
{
    using Store = usm::Detail<usm::Process>;
    static const int key = Store::getNextID();
    void* stored = Store::find(key);
    if (stored == nullptr) {
        // Where another thread stores one first, the store keeps that and destroys ours.
        stored = Store::findOrInsert(key, usm::Owner(new TimerScheduler, destroyScheduler));
    }
    return static_cast<TimerScheduler*>(stored);
}

TimerScheduler::TimerScheduler() = default;

TimerScheduler::~TimerScheduler()
{
    if (m_timerResolutionRaised) {
        platform::endTimerResolution();
    }
    traceScheduler("Scheduler shutdown Work");
    cleanup();
    traceScheduler("Successful thread join");
    // What has come since.
    Discards discards(DropReason::DiscardedByShutdown);
    discardAll(workQueue, discards);
    discards.tell();
}

void TimerScheduler::cleanup()
{
    Discards discards(DropReason::DiscardedByShutdown);
    traceScheduler("Requesting lock @cleanup");
    {
        const Lock lk(m_mutex);
        discardAll(workQueue, discards);
        m_finish.exchange(true);
        traceScheduler("unlocking lock @cleanup");
    }
    m_workCondition.notify_one();
    discards.tell();
    // From here on no thread is started any more; one that is just being started is waited for.
    m_threadStarted.callOnce([] {});
    if (m_thread.joinable()) {
        if (m_thread.get_id() == currentThreadId()) {
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        }
        m_thread.join();
    }
}

// ---- The queue

void TimerScheduler::insertAscendingSorted(WorkItem<StartFcnWork> item)
{
    requestWork(std::move(item));
}

void TimerScheduler::insertAscendingSorted(WorkItem<StopFcnWork> item)
{
    requestWork(std::move(item));
}

void TimerScheduler::insertAscendingSorted(WorkItem<TimerFcnWork> item)
{
    requestWork(std::move(item));
}

void TimerScheduler::insertAscendingSorted(WorkItem<ErrorFcnWork> item)
{
    requestWork(std::move(item));
}

template <int kind> void TimerScheduler::requestWork(WorkItem<kind>&& item)
{
    m_threadStarted.callOnce([this] { startThread(); });
    item.m_executeAt = withinClock(item.m_executeAt);
    traceScheduler("Request to Start Work with Id: ", item.m_id, " for ", kindName(WorkKind { kind }),
        " to execute @", ToTheSecond { item.m_executeAt });
    item.m_wasQueued = true;
    tellQueued(item);
    try {
        insertInOrder(std::move(item));
    } catch (...) {
        tellDropped(item, DropReason::NotQueued);
        throw;
    }
}

void TimerScheduler::startThread()
{
    m_thread = Thread([this] {
        try {
            run();
        } catch (...) {
            // Nobody else would catch it. Caught here, so that the trace shows on every platform how far it came.
            std::terminate();
        }
    });
}

template <int kind> void TimerScheduler::insertInOrder(WorkItem<kind>&& item)
{
    traceScheduler("Requesting lk @insertAscendingSorted");
    {
        const Lock lk(m_mutex);
        workQueue.insert(std::move(item));
        traceScheduler("End of life for lk @insertAscendingSorted");
    }
    m_workCondition.notify_one();
}

std::pair<const WorkItemVariant&, DueTime> TimerScheduler::getTimePointForBackOfWorkQueue() const
{
    const WorkItemVariant& work = workQueue.soonest();
    return { work, dueTime(work) };
}

void TimerScheduler::removeWorkMatchingId(IDType id)
{
    Discards discards(DropReason::RemovedByStop);
    traceScheduler("Requesting lk @removeWorkMatchingId");
    {
        const Lock lk(m_mutex);
        traceScheduler("Acquiring lk @removeWorkMatchingId");
        traceScheduler("Request to Stop Work with Id: ", id);
        if (discards.areWanted()) {
            workQueue.visitMatching(id, [&discards](const WorkItemVariant& work) { discards.note(work); });
        }
        workQueue.removeMatching(id);
        // Said even where nothing matched: the timer has no queued work from here on.
        traceScheduler("Found and Stopped Work with Id: ", id);
        traceSchedulerDetail("Unlocking lk @removeWorkMatchingId");
    }
    m_workCondition.notify_one();
    discards.tell();
}

std::vector<ObservedWork> TimerScheduler::queuedWork(const IDType& timer) const
{
    std::vector<ObservedWork> works;
    {
        const Lock lk(m_mutex);
        workQueue.visitMatching(
            timer, [&works](const WorkItemVariant& work) { works.push_back(observation::describe(work)); });
    }
    std::stable_sort(
        works.begin(), works.end(), [](const ObservedWork& a, const ObservedWork& b) { return a.due < b.due; });
    return works;
}

void hasten(const IDType& timer, const prevCallBackStatus& record)
{
    TimerScheduler& scheduler = *TimerScheduler::getPerTOVRINProcessInstance();
    const DueTime due = now();
    {
        const Lock lk(scheduler.m_mutex);
        if (!scheduler.workQueue.hasten(timer, record, due)) {
            return;
        }
    }
    scheduler.m_workCondition.notify_one();
}

// ---- The scheduler thread

void TimerScheduler::run()
{
    const ScopeTrace scope(schedulerLogger, runLocation);
    setCurrentThreadName("TimerScheduler");
    for (;;) {
        platform::adoptTimerResolution();
        traceScheduler("Requesting lk @run");
        Lock lk(m_mutex);
        if (m_finish) {
            return;
        }

        DueTime deadline = farDeadline;
        if (workQueue.empty()) {
            traceSchedulerDetail("waiting forever/large timeout at", " to execute @", ToTheSecond { deadline });
        } else {
            traceScheduler("Found Work on WorkQueue ", "Waiting @wait_until condvar");
            deadline = getTimePointForBackOfWorkQueue().second;
        }

        // Set where another item than the one waited for now stands at the back: sooner, or the next one after
        // a removal. Its own due time is then waited for.
        bool doesBackOfQueueHaveSmallerWork = false;
        m_workCondition.wait_until(lk, deadline, [&] {
            if (m_finish) {
                traceSchedulerDetail("@wait_until returning true on m_finish");
                return true;
            }
            if (workQueue.empty()) {
                traceSchedulerDetail(" @wait_until workQueue.empty() status ", workQueue.empty());
                return false;
            }
            doesBackOfQueueHaveSmallerWork = getTimePointForBackOfWorkQueue().second != deadline;
            traceSchedulerDetail("@wait_until got notified and ",
                "doesBackOfQueueHaveSmallerWork then intended ? ", doesBackOfQueueHaveSmallerWork);
            return doesBackOfQueueHaveSmallerWork;
        });
        traceSchedulerDetail("Finished @wait_until condvar");
        if (m_finish || workQueue.empty() || doesBackOfQueueHaveSmallerWork) {
            continue;
        }

        traceSchedulerDetail("workQueue size ", workQueue.size());
        WorkItemVariant work = workQueue.take();
        traceSchedulerDetail("Do you own lock ", lk.owns_lock());
        traceSchedulerDetail("Unlocking lk @run with work_until");
        lk.unlock();

        traceScheduler("Transfering WorkItem callback, with ID ", timerId(work));
        dispatch(std::move(work), m_dispatcher.get());
        m_consumerCondition.notify_one();
        traceScheduler("Consumer got a chance to poke at queue");
    }
}

// ---- What the host asks for

void TimerScheduler::createAndStartWork(std::weak_ptr<TimerInfo> timer)
{
    const auto info = timer.lock();
    if (!info) {
        return;
    }
    info->setActivationStatus(true);
    if (info->getPeriod() < fastPeriodMs && !m_timerResolutionRaised.exchange(true)) {
        platform::beginTimerResolution();
    }
    info->reset();

    if (!info->getStartFcnIsEmpty()) {
        // The first TimerFcn follows from there.
        bypassSchedulerAndForceWork(WorkItem<StartFcnWork>(now(), info->getId(), timer));
        return;
    }
    WorkItem<TimerFcnWork> first = makeFirstTimerFcnWorkItem(timer, *info);
    if (info->getStartDelay() > 0.0) {
        insertAscendingSorted(std::move(first));
    } else {
        bypassSchedulerAndForceWork(std::move(first));
    }
}

void TimerScheduler::forceScheduleOfErrorFcn(std::weak_ptr<TimerInfo> timer, bool alsoScheduleStopFcn)
{
    const auto info = timer.lock();
    if (!info) {
        return;
    }
    removeWorkMatchingId(info->getId());
    bypassSchedulerAndForceWork(WorkItem<ErrorFcnWork>(now(), info->getId(), timer));
    if (alsoScheduleStopFcn) {
        bypassSchedulerAndForceWork(WorkItem<StopFcnWork>(now(), info->getId(), timer));
    }
}

void TimerScheduler::forceStopWorkAndScheduleStopFcn(std::weak_ptr<TimerInfo> timer)
{
    const auto info = timer.lock();
    if (!info) {
        return;
    }
    removeWorkMatchingId(info->getId());
    bypassSchedulerAndForceWork(WorkItem<StopFcnWork>(now(), info->getId(), timer));
    traceScheduler("End of life for  lk @stopWork");
}

void TimerScheduler::bypassSchedulerAndForceWork(WorkItem<StartFcnWork> item)
{
    forceWork(std::move(item));
}

void TimerScheduler::bypassSchedulerAndForceWork(WorkItem<StopFcnWork> item)
{
    forceWork(std::move(item));
}

void TimerScheduler::bypassSchedulerAndForceWork(WorkItem<TimerFcnWork> item)
{
    forceWork(std::move(item));
}

void TimerScheduler::bypassSchedulerAndForceWork(WorkItem<ErrorFcnWork> item)
{
    forceWork(std::move(item));
}

template <int kind> void TimerScheduler::forceWork(WorkItem<kind>&& item)
{
    traceScheduler("Bypassing Scheduler by Forcing Work with Id: ", item.m_id, " for ",
        kindName(WorkKind { kind }), " to execute @", ToTheSecond { item.m_executeAt });
    dispatch(std::move(item), m_dispatcher.get());
}

} // namespace tovrintimer
