#include "timer_src/main/TimerScheduler.hpp"

#include "host/setCurrentThreadName.hpp"
#include "host/usm/Detail.hpp"
#include "timer_src/main/MonotonicTime.hpp"
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

DiagnosticLogger logger("tovrintimer::TimerScheduler");

template <typename... Pieces> void trace(Pieces... pieces) noexcept
{
    writeRecord(logger, Severity::Trace, pieces...);
}

template <typename... Pieces> void traceDetail(Pieces... pieces) noexcept
{
    writeRecord(logger, Severity::Detail, pieces...);
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

DueTime dueTime(const WorkItemVariant& work)
{
    return boost::apply_visitor([](const auto& item) { return item.m_executeAt; }, work);
}

IDType id(const WorkItemVariant& work)
{
    return boost::apply_visitor([](const auto& item) { return item.m_id; }, work);
}

bool equal(const IDType& left, const IDType& right)
{
    return !(left < right) && !(right < left);
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
    trace("Scheduler shutdown Work");
    cleanup();
    trace("Successful thread join");
}

void TimerScheduler::cleanup()
{
    trace("Requesting lock @cleanup");
    {
        const Lock lk(m_mutex);
        workQueue.clear();
        m_finish.exchange(true);
        trace("unlocking lock @cleanup");
    }
    m_workCondition.notify_one();
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

template <int kind> void TimerScheduler::requestWork(WorkItem<kind> item)
{
    m_threadStarted.callOnce([this] { startThread(); });
    item.m_executeAt = withinClock(item.m_executeAt);
    trace("Request to Start Work with Id: ", item.m_id, " for ", kindName(WorkKind { kind }), " to execute @",
        ToTheSecond { item.m_executeAt });
    insertInOrder(std::move(item));
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

void TimerScheduler::insertInOrder(WorkItemVariant item)
{
    trace("Requesting lk @insertAscendingSorted");
    {
        const Lock lk(m_mutex);
        const DueTime due = dueTime(item);
        // In front of its equals, since they are taken from the back.
        const auto place = std::partition_point(workQueue.begin(), workQueue.end(),
            [due](const WorkItemVariant& queued) { return dueTime(queued) > due; });
        workQueue.insert(place, std::move(item));
        trace("End of life for lk @insertAscendingSorted");
    }
    m_workCondition.notify_one();
}

std::pair<WorkItemVariant, DueTime> TimerScheduler::getTimePointForBackOfWorkQueue() const
{
    return { workQueue.back(), dueTime(workQueue.back()) };
}

void TimerScheduler::removeWorkMatchingId(IDType timerId)
{
    trace("Requesting lk @removeWorkMatchingId");
    {
        const Lock lk(m_mutex);
        trace("Acquiring lk @removeWorkMatchingId");
        trace("Request to Stop Work with Id: ", timerId);
        const auto end = std::remove_if(workQueue.begin(), workQueue.end(),
            [&timerId](const WorkItemVariant& queued) { return equal(id(queued), timerId); });
        workQueue.erase(end, workQueue.end());
        // Said even where nothing matched: the timer has no queued work from here on.
        trace("Found and Stopped Work with Id: ", timerId);
        traceDetail("Unlocking lk @removeWorkMatchingId");
    }
    m_workCondition.notify_one();
}

// ---- The scheduler thread

void TimerScheduler::run()
{
    const ScopeTrace scope(logger, runLocation);
    setCurrentThreadName("TimerScheduler");
    for (;;) {
        platform::adoptTimerResolution();
        trace("Requesting lk @run");
        Lock lk(m_mutex);
        if (m_finish) {
            return;
        }

        DueTime deadline = farDeadline;
        if (workQueue.empty()) {
            traceDetail("waiting forever/large timeout at", " to execute @", ToTheSecond { deadline });
        } else {
            trace("Found Work on WorkQueue ", "Waiting @wait_until condvar");
            deadline = getTimePointForBackOfWorkQueue().second;
        }

        // Set where another item than the one waited for now stands at the back: sooner, or the next one after
        // a removal. Its own due time is then waited for.
        bool doesBackOfQueueHaveSmallerWork = false;
        m_workCondition.wait_until(lk, deadline, [&] {
            if (m_finish) {
                traceDetail("@wait_until returning true on m_finish");
                return true;
            }
            if (workQueue.empty()) {
                traceDetail(" @wait_until workQueue.empty() status ", workQueue.empty());
                return false;
            }
            doesBackOfQueueHaveSmallerWork = dueTime(workQueue.back()) != deadline;
            traceDetail("@wait_until got notified and ", "doesBackOfQueueHaveSmallerWork then intended ? ",
                doesBackOfQueueHaveSmallerWork);
            return doesBackOfQueueHaveSmallerWork;
        });
        traceDetail("Finished @wait_until condvar");
        if (m_finish || workQueue.empty() || doesBackOfQueueHaveSmallerWork) {
            continue;
        }

        traceDetail("workQueue size ", workQueue.size());
        WorkItemVariant work = std::move(workQueue.back());
        workQueue.pop_back();
        traceDetail("Do you own lock ", lk.owns_lock());
        traceDetail("Unlocking lk @run with work_until");
        lk.unlock();

        trace("Transfering WorkItem callback, with ID ", id(work));
        dispatch(std::move(work), m_dispatcher.get());
        m_consumerCondition.notify_one();
        trace("Consumer got a chance to poke at queue");
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
    WorkItem<TimerFcnWork> first = makeFirstTimerFcnWorkItem(*info, info->getId(), timer);
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
    trace("End of life for  lk @stopWork");
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

template <int kind> void TimerScheduler::forceWork(WorkItem<kind> item)
{
    trace("Bypassing Scheduler by Forcing Work with Id: ", item.m_id, " for ", kindName(WorkKind { kind }),
        " to execute @", ToTheSecond { item.m_executeAt });
    dispatch(std::move(item), m_dispatcher.get());
}

} // namespace tovrintimer
