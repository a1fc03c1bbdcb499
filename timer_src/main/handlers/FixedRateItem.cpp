#include "timer_src/main/handlers/FixedRateItem.hpp"

#include "timer_src/main/handlers/NextWorkItem.hpp"

namespace tovrintimer {

FixedRateItem::FixedRateItem(const WorkItem<TimerFcnWork>& due)
    : WorkItem(due.m_id, due.m_executeAt, due.m_timerInfo, due.m_sharedTaskCounter, due.m_taskCount)
    , m_handingThread(currentThreadId())
{
}

void FixedRateItem::callbackCounted()
{
    m_isCounted = true;
    if (meet()) {
        endRunWithoutStopFcn(*this);
    }
}

void FixedRateItem::callbackReturned()
{
    const bool isInsideHandOver = currentThreadId() == m_handingThread && !m_isCounted;
    if (isInsideHandOver || meet()) {
        endRunWithoutStopFcn(*this);
    }
}

} // namespace tovrintimer
