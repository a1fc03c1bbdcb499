#include "timer_src/main/handlers/FixedRateTimerFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/TimerScheduler.hpp"
#include "timer_src/main/callback/HandOver.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"
#include "timer_src/main/handlers/FixedRateItem.hpp"
#include "timer_src/main/handlers/NextWorkItem.hpp"

#include <variant>

namespace tovrintimer {

using foundation::msg_svc::exchange::IDType;

namespace {

/// How long an item waits before it asks again: to the next millisecond of the clock.
constexpr DueTime::duration pollInterval { 1 };

BusyMode busyMode(const TimerInfo& timer)
{
    return static_cast<BusyMode>(timer.getBusyMode());
}

/// The item keeps its task count and its record: a dropped firing is not a firing, and the callback that it waits
/// for is still the same. It is taken again and again until that callback has ended: once in each millisecond,
/// since one that raised an error never tells; and at once when it returns.
///
///     scheduler thread                      thread of the task
///     ----------------                      ------------------
///     found: not completed                  the callback returns
///     isAwaited = true                      hasCompleted = true
///     queue the item                        isAwaited? make the item due now
///     hasCompleted? make it due now
///
/// Each side writes its own flag before it reads the other's, so that at least one of them sees both; and where
/// the task looks too early for the item in the queue, this side looks after it.
void fireAgain(WorkItem<TimerFcnWork> item)
{
    const IDType id = item.m_id;
    const auto record = item.m_prevCallBackStatus;
    NextWorkItem next = makeNextWorkItem(
        std::move(item.m_timerInfo), record, true, id, std::move(item.m_sharedTaskCounter), item.m_taskCount);
    if (auto* const again = std::get_if<WorkItem<TimerFcnWork>>(&next)) {
        again->m_executeAt += pollInterval;
    }
    record->isAwaited = true;
    scheduleNextWorkItem(std::move(next));
    if (record->hasCompleted) {
        hasten(id, *record);
    }
}

/// The run ends. The StopFcn comes first, and the ErrorFcn even where the timer has stopped by then.
void failRun(TimerInfo& timer, const WorkItem<TimerFcnWork>& item)
{
    if (auto stop = makeStopFcnWorkItem(item.m_timerInfo, item.m_id)) {
        scheduleIfTimerIsRunning(std::move(*stop));
    } else {
        timer.setActivationStatus(false);
    }
    if (auto error = makeErrorFcnWorkItem(item.m_id, item.m_timerInfo)) {
        TimerScheduler::getPerTOVRINProcessInstance()->insertAscendingSorted(std::move(*error));
    }
}

} // namespace

void FixedRateTimerFcnWorkItemHandlerStrategy::handle(WorkItem<TimerFcnWork> item) const
{
    const auto timer = item.m_timerInfo.lock();
    if (!timer) {
        return;
    }
    if (busyMode(*timer) != BusyMode::Queue && isPreviousCallbackStillRunning(item)) {
        handleFixedRateTimerFcnWithContention(*timer, std::move(item));
    } else {
        handleFixedRateTimerFcnWithNoContention(timer, std::move(item));
    }
}

bool FixedRateTimerFcnWorkItemHandlerStrategy::isPreviousCallbackStillRunning(
    const WorkItem<TimerFcnWork>& item) const
{
    const bool isFirstOfRun = *item.m_sharedTaskCounter == item.m_taskCount;
    if (isFirstOfRun) {
        return false;
    }
    const prevCallBackStatus& previous = *item.m_prevCallBackStatus;
    const bool hasCompleted = previous.hasCompleted;
    trace("fetching m_prevCallBackStatus->hasStarted, which is ", previous.hasStarted.load(),
        " and m_prevCallBackStatus->hasCompleted, which is ", hasCompleted, " @", RightNow());
    return !hasCompleted;
}

void FixedRateTimerFcnWorkItemHandlerStrategy::handleFixedRateTimerFcnWithNoContention(
    const std::shared_ptr<TimerInfo>& timer, WorkItem<TimerFcnWork>&& item) const
{
    const auto current = std::make_shared<FixedRateItem>(std::move(item));
    auto record = std::make_shared<prevCallBackStatus>();
    auto runTimerFcn = [current, record](TimerInfo& info, vorn::VORN& engine) {
        info.updateTimerFunRunStatus();
        evaluateTimerCallback(info, engine, TimerFcnWork);
        record->hasCompleted = true;
        current->callbackReturned(info);
        if (record->isAwaited) {
            hasten(current->m_id, *record);
        }
    };
    handOver<FixedRateTimerFcnWorkItemHandlerStrategy>(timer, std::move(runTimerFcn));
    const FixedRateItem::Count& count = current->callbackHandedOver(*timer);
    if (!count.endsRun) {
        scheduleNextWorkItem(makeNextWorkItem(current->m_timerInfo, std::move(record), false, current->m_id,
            std::make_shared<std::uint64_t>(count.total), count.left));
    }
}

void FixedRateTimerFcnWorkItemHandlerStrategy::handleFixedRateTimerFcnWithContention(
    TimerInfo& timer, WorkItem<TimerFcnWork>&& item) const
{
    switch (busyMode(timer)) {
    case BusyMode::Drop:
        trace("Contention With previous timerFcn callback,", " dropping current TimerFcn, and setting next",
            " TimerFcn to fire immediately");
        fireAgain(std::move(item));
        return;
    case BusyMode::Error:
        trace("Contention With previous timerFcn callback,",
            " dropping current TimerFcn, and setting errorFcn to fire immediately");
        failRun(timer, item);
        return;
    case BusyMode::Queue:
        return; // the mode has changed since it was asked about: lost like under a mode that does not exist
    }
}

} // namespace tovrintimer
