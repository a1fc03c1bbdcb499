#include "timer_src/main/handlers/FixedRateItem.hpp"

#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/handlers/NextWorkItem.hpp"
#include "timer_src/main/handlers/TaskCounting.hpp"

namespace tovrintimer {

FixedRateItem::FixedRateItem(const WorkItem<TimerFcnWork>& due)
    : m_total(*due.m_sharedTaskCounter)
    , m_left(due.m_taskCount)
    , m_handingThread(currentThreadId())
{
}

const FixedRateItem::Count& FixedRateItem::callbackHandedOver(const TimerInfo& timer)
{
    m_isHandedOver = true;
    m_byDispatch = countFor(timer);
    return firstOf(m_byDispatch);
}

void FixedRateItem::callbackReturned(TimerInfo& timer)
{
    const bool isInsideHandOver = currentThreadId() == m_handingThread && !m_isHandedOver;
    if (isInsideHandOver) {
        endRunWithoutStopFcn(m_left, timer);
        return;
    }
    const auto isEnd = [&timer](const Count& count) { return count.left == 0 && timer.getStopFcnIsEmpty(); };
    m_byTask = countFor(timer);
    m_byTask.endsRun = isEnd(m_byTask);
    const Count& count = firstOf(m_byTask);
    // Asked once where the dispatch goes by the answer.
    if (&count == &m_byTask ? count.endsRun : isEnd(count)) {
        timer.setActivationStatus(false);
    }
}

FixedRateItem::Count FixedRateItem::countFor(const TimerInfo& timer) const
{
    const auto [total, left] = afterCallback(timer.getNumOfTasksToExecute(), m_total, m_left);
    return { total, left };
}

const FixedRateItem::Count& FixedRateItem::firstOf(const Count& mine)
{
    const Count* first = nullptr;
    if (!m_first.compare_exchange_strong(first, &mine)) {
        return *first;
    }
    if (mine.total != m_total) {
        traceChangedTotal(m_left);
    }
    return mine;
}

} // namespace tovrintimer
