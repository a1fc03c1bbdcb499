#include "timer_src/main/WorkQueue.hpp"

#include <algorithm>
#include <utility>

namespace tovrintimer {

using foundation::msg_svc::exchange::IDType;

void WorkQueue::insert(WorkItemVariant item)
{
    const DueTime due = dueTime(item);
    // In front of its equals, since they are taken from the back.
    const auto place = std::partition_point(
        m_items.begin(), m_items.end(), [due](const WorkItemVariant& queued) { return dueTime(queued) > due; });
    m_items.insert(place, std::move(item));
}

const WorkItemVariant& WorkQueue::soonest() const
{
    return m_items.back();
}

WorkItemVariant WorkQueue::take()
{
    WorkItemVariant item = std::move(m_items.back());
    m_items.pop_back();
    return item;
}

void WorkQueue::removeMatching(const IDType& timer)
{
    // Identities have an order, and no equality.
    const auto end = std::remove_if(m_items.begin(), m_items.end(), [&timer](const WorkItemVariant& queued) {
        const IDType id = timerId(queued);
        return !(id < timer) && !(timer < id);
    });
    m_items.erase(end, m_items.end());
}

} // namespace tovrintimer
