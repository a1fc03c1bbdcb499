#include "timer_src/main/WorkQueue.hpp"

#include "timer_src/main/WorkQueueItems.hpp"

#include <algorithm>
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

template <int kind> void WorkQueue::insert(WorkItem<kind>&& item)
{
    // Most of what comes is due last.
    auto& byDueTime = m_items->all.get<Items::ByDueTime>();
    if (m_items->spare.empty()) {
        byDueTime.emplace_hint(byDueTime.end(), std::move(item));
    } else {
        m_items->spare.value() = std::move(item);
        byDueTime.insert(byDueTime.end(), std::move(m_items->spare));
    }
}

template void WorkQueue::insert(WorkItem<StartFcnWork>&& item);
template void WorkQueue::insert(WorkItem<StopFcnWork>&& item);
template void WorkQueue::insert(WorkItem<TimerFcnWork>&& item);
template void WorkQueue::insert(WorkItem<ErrorFcnWork>&& item);

const WorkItemVariant& WorkQueue::soonest() const
{
    return *m_items->all.get<Items::ByDueTime>().begin();
}

WorkItemVariant WorkQueue::take()
{
    auto& byDueTime = m_items->all.get<Items::ByDueTime>();
    m_items->spare = byDueTime.extract(byDueTime.begin());
    WorkItemVariant item = std::move(m_items->spare.value());
    return item;
}

bool WorkQueue::hasten(const IDType& timer, const prevCallBackStatus& record, DueTime due)
{
    auto& byTimer = m_items->all.get<Items::ByTimer>();
    for (auto [at, end] = byTimer.equal_range(timer); at != end; ++at) {
        const auto* const item = boost::get<WorkItem<TimerFcnWork>>(&*at);
        if (item != nullptr && item->m_prevCallBackStatus.get() == &record && due < item->m_executeAt) {
            byTimer.modify(at,
                [due](WorkItemVariant& work) { boost::get<WorkItem<TimerFcnWork>>(&work)->m_executeAt = due; });
            return true;
        }
    }
    return false;
}

void WorkQueue::visitAll(const Visitor& visit) const
{
    for (const WorkItemVariant& item : m_items->all.get<Items::ByDueTime>()) {
        visit(item);
    }
}

void WorkQueue::visitMatching(const IDType& timer, const Visitor& visit) const
{
    const auto [begin, end] = m_items->all.get<Items::ByTimer>().equal_range(timer);
    std::for_each(begin, end, visit);
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
