#pragma once

#include "timer_src/main/Concurrency.hpp"
#include "timer_src/main/TimerObserver.hpp"
#include "timer_src/main/WorkItem.hpp"

#include <cstdint>
#include <vector>

namespace tovrintimer {

// How the observer of this process is told. Without one, each of these costs a look at one word. Called with no
// lock held, but for `Discards::note`.
//
// A piece of work has a number from its first event to its end, and only what has one is told of.

namespace observation {

inline Atomic<TimerObserver*> observer { nullptr };

inline TimerObserver* current() noexcept
{
    if (observer.load(std::memory_order_relaxed) == nullptr) [[likely]] {
        return nullptr;
    }
    // What was written before it was set is seen from here on. It may have been taken away meanwhile.
    return observer.load(std::memory_order_acquire);
}

/// A number that no other piece of work has.
std::uint64_t newNumber() noexcept;

template <int kind> ObservedWork describe(const WorkItem<kind>& item) noexcept
{
    return { item.m_number, item.m_insteadOf, item.m_id, WorkKind { kind }, item.m_executeAt, item.m_wasQueued };
}

ObservedWork describe(const WorkItemVariant& work) noexcept;

} // namespace observation

template <int kind> void tellQueued(WorkItem<kind>& item) noexcept
{
    if (TimerObserver* const told = observation::current()) {
        item.m_number = observation::newNumber();
        told->queued(observation::describe(item));
    }
}

template <int kind> void tellDispatched(WorkItem<kind>& item) noexcept
{
    if (TimerObserver* const told = observation::current()) {
        if (item.m_number == 0) {
            item.m_number = observation::newNumber();
        }
        told->dispatched(observation::describe(item));
    }
}

template <int kind> void tellHandedOver(WorkItem<kind>& item) noexcept
{
    if (TimerObserver* const told = observation::current(); told != nullptr && item.m_number != 0) {
        told->handedOver(observation::describe(item));
    }
    item.m_number = 0;
}

template <int kind> void tellDropped(WorkItem<kind>& item, DropReason why) noexcept
{
    if (TimerObserver* const told = observation::current(); told != nullptr && item.m_number != 0) {
        told->dropped(observation::describe(item), why);
    }
    item.m_number = 0;
}

/// Of work that was to be queued, and never was.
template <int kind> void tellNotQueued(WorkItem<kind>& item, DropReason why) noexcept
{
    if (TimerObserver* const told = observation::current()) {
        item.m_number = observation::newNumber();
        told->dropped(observation::describe(item), why);
    }
    item.m_number = 0;
}

/// What is discarded while a lock is held, to be told of without it.
class Discards {
public:
    explicit Discards(DropReason why) noexcept;

    /// Whether there is anybody to tell it to.
    bool areWanted() const noexcept { return m_observer != nullptr; }

    /// Where memory for the note is wanting, the work's end is not told.
    void note(const WorkItemVariant& work) noexcept;

    void tell() const noexcept;

private:
    TimerObserver* const m_observer;
    const DropReason m_why;
    std::vector<ObservedWork> m_works;
};

} // namespace tovrintimer
