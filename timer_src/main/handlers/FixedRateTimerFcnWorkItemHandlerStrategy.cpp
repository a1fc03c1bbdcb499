#include "timer_src/main/handlers/FixedRateTimerFcnWorkItemHandlerStrategy.hpp"

#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/Observation.hpp"
#include "timer_src/main/TimerScheduler.hpp"
#include "timer_src/main/callback/HandOver.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"
#include "timer_src/main/handlers/FixedRateItem.hpp"
#include "timer_src/main/handlers/NextWorkItem.hpp"

#include <variant>

namespace tovrintimer {

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
void fireAgain(TimerInfo& timer, WorkItem<TimerFcnWork>&& item)
{
    const auto record = item.m_prevCallBackStatus;
    NextWorkItem next = makeNextWorkItem(
        std::move(item.m_timerInfo), timer, record, true, std::move(item.m_sharedTaskCounter), item.m_taskCount);
    if (auto* const again = std::get_if<WorkItem<TimerFcnWork>>(&next)) {
        again->m_executeAt += pollInterval;
        again->m_insteadOf = item.m_number;
    }
    tellDropped(item, DropReason::BusyModeDrop);
    record->isAwaited = true;
    scheduleNextWorkItem(std::move(next), timer);
    if (record->hasCompleted) {
        hasten(item.m_id, *record);
    }
}

/// The counter itself where it holds that total, since what it holds never changes; else a new one.
std::shared_ptr<std::uint64_t> counterHolding(std::uint64_t total, std::shared_ptr<std::uint64_t>&& counter)
{
    return *counter == total ? std::move(counter) : std::make_shared<std::uint64_t>(total);
}

/// The run ends. The StopFcn comes first, and the ErrorFcn even where the timer has stopped by then.
void failRun(TimerInfo& timer, const WorkItem<TimerFcnWork>& item)
{
    if (auto stop = makeStopFcnWorkItem(item.m_timerInfo, timer)) {
        scheduleIfTimerIsRunning(std::move(*stop), timer);
    } else {
        timer.setActivationStatus(false);
    }
    if (auto error = makeErrorFcnWorkItem(item.m_timerInfo, timer)) {
        TimerScheduler::getPerTOVRINProcessInstance()->insertAscendingSorted(std::move(*error));
    }
}

} // namespace

void FixedRateTimerFcnWorkItemHandlerStrategy::handle(WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const
{
    if (busyMode(timer) != BusyMode::Queue && isPreviousCallbackStillRunning(item)) {
        handleFixedRateTimerFcnWithContention(std::move(item), timer);
    } else {
        handleFixedRateTimerFcnWithNoContention(std::move(item), timer);
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
    WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const
{
    auto current = std::make_shared<FixedRateItem>(item);
    auto runTimerFcn = [current](TimerInfo& info, vorn::VORN& engine) {
        info.updateTimerFunRunStatus();
        evaluateTimerCallback(info, engine, TimerFcnWork);
        current->record.hasCompleted = true;
        current->callbackReturned(info);
        if (current->record.isAwaited) {
            hasten(info.getId(), current->record);
        }
    };
    handOver<FixedRateTimerFcnWorkItemHandlerStrategy>(timer, item, std::move(runTimerFcn));
    const FixedRateItem::Count& count = current->callbackHandedOver(timer);
    if (!count.endsRun) {
        auto& record = current->record;
        scheduleNextWorkItem(makeNextWorkItem(std::move(item.m_timerInfo), timer,
                                 std::shared_ptr<prevCallBackStatus>(std::move(current), &record), false,
                                 counterHolding(count.total, std::move(item.m_sharedTaskCounter)), count.left),
            timer);
    }
}

void FixedRateTimerFcnWorkItemHandlerStrategy::handleFixedRateTimerFcnWithContention(
    WorkItem<TimerFcnWork>&& item, TimerInfo& timer) const
{
    switch (busyMode(timer)) {
    case BusyMode::Drop:
        trace("Contention With previous timerFcn callback,", " dropping current TimerFcn, and setting next",
            " TimerFcn to fire immediately");
        fireAgain(timer, std::move(item));
        return;
    case BusyMode::Error:
        trace("Contention With previous timerFcn callback,",
            " dropping current TimerFcn, and setting errorFcn to fire immediately");
        tellDropped(item, DropReason::BusyModeError);
        failRun(timer, item);
        return;
    case BusyMode::Queue:
        break; // the mode has changed since it was asked about: lost like under a mode that does not exist
    }
    tellDropped(item, DropReason::NoSuchMode);
}

} // namespace tovrintimer
