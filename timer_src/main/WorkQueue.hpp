#pragma once

#include "timer_src/main/WorkItem.hpp"

#include <cstddef>
#include <vector>

namespace tovrintimer {

/// The pending work of all timers.
///
/// Threading: a value; one thread at a time. The scheduler's is guarded by its mutex.
/// Ownership: items are values, and do not keep their timers alive.
/// Ordering: earlier due time first; equal due times in arrival order.
class WorkQueue {
public:
    bool empty() const noexcept { return m_items.empty(); }
    std::size_t size() const noexcept { return m_items.size(); }

    /// Puts an item behind those of an equal due time.
    /// \throws std::bad_alloc; the queue then holds what it held
    void insert(WorkItemVariant item);

    /// The item to be taken next. The queue is not empty.
    const WorkItemVariant& soonest() const;

    /// Takes that item off. The queue is not empty.
    WorkItemVariant take();

    /// Discards all items of one timer.
    void removeMatching(const foundation::msg_svc::exchange::IDType& timer);

    void clear() noexcept { m_items.clear(); }

private:
    std::vector<WorkItemVariant> m_items; // soonest last, so that taking it moves nothing
};

} // namespace tovrintimer
