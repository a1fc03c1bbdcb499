#pragma once

#include "timer_src/main/WorkItem.hpp"

#include <cstddef>
#include <functional>
#include <memory>

namespace tovrintimer {

/// The pending work of all timers.
///
/// Threading: a value; one thread at a time. The scheduler's is guarded by its mutex.
/// Ownership: items are values, and do not keep their timers alive.
/// Ordering: earlier due time first; equal due times in arrival order.
/// Cost: constant for the soonest, O(log n) for a change. What takes an item and inserts another, as each periodic
/// timer does, needs no memory for that.
class WorkQueue {
public:
    WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;
    ~WorkQueue();

    /// Whether nothing is pending.
    bool empty() const noexcept;

    /// How many items are pending, of all timers.
    std::size_t size() const noexcept;

    /// Puts an item behind those of an equal due time.
    /// \throws std::bad_alloc; the queue then holds what it held
    template <int kind> void insert(WorkItem<kind>&& item);

    /// The item to be taken next. The queue is not empty.
    const WorkItemVariant& soonest() const;

    /// Takes that item off. The queue is not empty.
    WorkItemVariant take();

    /// Makes the timer's TimerFcn that has this record due earlier, behind those of an equal due time.
    /// \returns false if there is none that is due later
    bool hasten(const foundation::msg_svc::exchange::IDType& timer, const prevCallBackStatus& record, DueTime due);

    /// May throw, and must not change the queue.
    using Visitor = std::function<void(const WorkItemVariant&)>;

    /// Shows all items, the soonest first. \throws what the visitor does
    void visitAll(const Visitor& visit) const;

    /// Shows those of one timer, in no order. \throws what the visitor does
    void visitMatching(const foundation::msg_svc::exchange::IDType& timer, const Visitor& visit) const;

    /// Discards all items of one timer.
    void removeMatching(const foundation::msg_svc::exchange::IDType& timer);

    /// Discards all items.
    void clear() noexcept;

private:
    struct Items; // WorkQueueItems.hpp
    const std::unique_ptr<Items> m_items;
};

} // namespace tovrintimer
