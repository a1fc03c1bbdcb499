#include "timer_src/main/WorkQueue.hpp"

#include "timer_src/main/WorkQueueItems.hpp"

#include <utility>

namespace tovrintimer {

using foundation::msg_svc::exchange::IDType;

WorkQueue::WorkQueue()
    : m_items(std::make_unique<Items>())
{
}

WorkQueue::~WorkQueue() = default;

bool WorkQueue::empty() const noexcept
{
    return m_items->all.empty();
}

std::size_t WorkQueue::size() const noexcept
{
    return m_items->all.size();
}

void WorkQueue::insert(WorkItemVariant item)
{
    if (m_items->spare.empty()) {
        m_items->all.insert(std::move(item));
    } else {
        m_items->spare.value() = std::move(item);
        m_items->all.insert(std::move(m_items->spare));
    }
}

const WorkItemVariant& WorkQueue::soonest() const
{
    return *m_items->all.get<Items::ByDueTime>().begin();
}

WorkItemVariant WorkQueue::take()
{
    auto& byDueTime = m_items->all.get<Items::ByDueTime>();
    m_items->spare = byDueTime.extract(byDueTime.begin());
    return std::move(m_items->spare.value());
}

void WorkQueue::removeMatching(const IDType& timer)
{
    m_items->all.get<Items::ByTimer>().erase(timer);
}

void WorkQueue::clear() noexcept
{
    m_items->all.clear();
}

} // namespace tovrintimer
