#include "tests/library/TimerSchedulerPeer.hpp"
#include "tests/simulation/model/Model.hpp"

#include <algorithm>

namespace simulation {

// The model's half that watches the queue: it looks each time that the queue's mutex is released.

namespace {

bool same(const foundation::msg_svc::exchange::IDType& a, const foundation::msg_svc::exchange::IDType& b)
{
    return a.first == b.first && a.second == b.second;
}

bool same(const Item& expected, const Item& found)
{
    return same(expected.id, found.id) && expected.kind == found.kind && expected.due == found.due
        && expected.count.total == found.count.total && expected.count.left == found.count.left
        && expected.record == found.record;
}

Item read(const tovrintimer::WorkItemVariant& work)
{
    Item item;
    boost::apply_visitor(
        [&item]<int kind>(const tovrintimer::WorkItem<kind>& found) {
            item.id = found.m_id;
            item.kind = WorkKind { kind };
            item.due = found.m_executeAt.time_since_epoch().count();
            item.count = { *found.m_sharedTaskCounter, found.m_taskCount };
            item.record = found.m_prevCallBackStatus.get();
        },
        work);
    return item;
}

std::shared_ptr<tovrintimer::prevCallBackStatus> recordOf(const tovrintimer::WorkItemVariant& work)
{
    return boost::apply_visitor([](const auto& item) { return item.m_prevCallBackStatus; }, work);
}

} // namespace

bool Model::matches(const RealQueue& real) const
{
    return std::equal(m_queue.begin(), m_queue.end(), real.rbegin(), real.rend(),
        [](const Item& item, const tovrintimer::WorkItemVariant* work) { return same(item, read(*work)); });
}

void Model::compareQueue()
{
    // Without its lock: nothing else runs meanwhile.
    const RealQueue real = contents(tovrintimer::TimerSchedulerPeer::workQueue(*m_scheduler));
    Activity* const current = activity();
    if (current != nullptr && current->what == Activity::Cleanup) {
        if (!real.empty()) {
            fail("the cleanup leaves work in the queue");
        }
        removeAll(nullptr);
        m_isCleanedUp = true;
        return;
    }
    const bool removes = current != nullptr
        && (current->what == Activity::Stop || current->what == Activity::Fail
            || current->what == Activity::FailAndStop)
        && current->events.empty();
    if (removes) {
        removed(*current);
    } else if (real.size() == m_queue.size() + 1) {
        inserted(real);
    } else if (real.size() + 1 == m_queue.size()) {
        taken();
    } else if (!matches(real)) {
        hastened(real);
    }
    if (!matches(real)) {
        fail("the queue is not what it ought to be: " + std::to_string(real.size()) + " items in place of "
            + std::to_string(m_queue.size()) + (activity() != nullptr ? ", during " + describe(*activity()) : ""));
    }
}

/// The items of one timer, or of all.
void Model::removeAll(const foundation::msg_svc::exchange::IDType* id)
{
    std::erase_if(m_queue, [this, id](const Item& item) {
        const bool goes = id == nullptr || same(item.id, *id);
        if (goes) {
            m_removedDues.insert(item.due);
        }
        return goes;
    });
}

void Model::removed(Activity& activity)
{
    removeAll(&at(activity.timer).id);
    add(Event::Removed, activity.timer);
    m_aboutToNotify.insert(m_kernel.self());
}

void Model::inserted(const RealQueue& real)
{
    std::size_t place = 0;
    while (place < m_queue.size() && same(m_queue[place], read(*real[real.size() - 1 - place]))) {
        ++place;
    }
    const auto& work = *real[real.size() - 1 - place];
    Item item = read(work);
    item.timer = m_timerOf.at(item.id);
    Event& event = add(Event::Inserted, item.timer);
    event.item = item;

    const auto after = std::upper_bound(m_queue.begin(), m_queue.end(), item.due,
        [](std::int64_t due, const Item& queued) { return due < queued.due; });
    if (after - m_queue.begin() != static_cast<std::ptrdiff_t>(place)) {
        fail("an item is queued at place " + std::to_string(place) + " from the soonest, and belongs to "
            + std::to_string(after - m_queue.begin()) + ": " + describe(*activity()));
    }
    for (const Item& other : m_queue) {
        if (other.record == item.record) {
            fail("two items share a completion record: " + describe(*activity()));
        }
    }
    const Activity& by = *activity();
    for (const Event& earlier : by.events) {
        item.after = earlier.handOver ? earlier.handOver : item.after;
    }
    if (by.item && by.item->record == item.record) {
        item.after = by.item->after;
        item.waits = true;
    }
    event.item.after = item.after;
    m_queue.insert(after, item);
    m_aboutToNotify.insert(m_kernel.self());
    m_queuedBeforeCleanup = m_queuedBeforeCleanup || !m_isCleanedUp;
    if (m_records.size() > 1000) {
        std::erase_if(m_records, [](const auto& record) { return record.expired(); });
    }
    m_records.push_back(recordOf(work));
}

/// An item that waits for a callback may become due as that returns.
void Model::hastened(const RealQueue& real)
{
    const auto other = std::ranges::find_if(m_queue, [&real](const Item& item) {
        return std::ranges::none_of(
            real, [&item](const tovrintimer::WorkItemVariant* work) { return same(item, read(*work)); });
    });
    const auto found = std::ranges::find_if(real, [&](const tovrintimer::WorkItemVariant* work) {
        return other != m_queue.end() && read(*work).record == other->record;
    });
    if (other == m_queue.end() || found == real.end()) {
        return;
    }
    Item item = *other;
    item.due = read(**found).due;
    const Activity* const by = activity();
    if (by == nullptr || by->timer != item.timer || !item.waits || !item.after->completed.latest()
        || item.due >= other->due) {
        fail("an item is made due at another time that does not wait for a callback which has returned");
    }
    const bool isNow = std::ranges::any_of(
        by->clockReads, [&item](const auto& read) { return read.second / millisecond == item.due; });
    if (!isNow) {
        fail("an item whose callback has returned is made due at another time than now: " + describe(*by));
    }
    m_removedDues.insert(other->due);
    m_queue.erase(other);
    const auto after = std::ranges::upper_bound(m_queue, item.due, {}, &Item::due);
    m_queue.insert(after, item);
    m_aboutToNotify.insert(m_kernel.self());
}

/// The task has ended, and the scheduler thread sleeps: nobody is left who could make the item due.
void Model::checkNoneWaitsInVain() const
{
    for (const Item& item : m_queue) {
        const bool isOver = item.waits && item.after && item.after->modes.size() == 1
            && item.after->hasSettled.latest() && item.after->completed.latest();
        if (isOver && item.due > m_kernel.now() / millisecond) {
            fail("a dropped TimerFcn waits until " + std::to_string(item.due)
                + " ms for a callback that has returned");
        }
    }
}

void Model::taken()
{
    if (m_kernel.self() != m_schedulerThread || activity() != nullptr) {
        fail("somebody takes work off the queue out of turn");
    }
    if (m_isCleanedUp) {
        fail("work is dispatched after the cleanup");
    }
    const Item item = m_queue.front();
    if (item.due > m_kernel.now() / millisecond) {
        fail("an item is dispatched before its due time, " + std::to_string(item.due) + " ms, at "
            + std::to_string(m_kernel.now() / millisecond) + " ms");
    }
    m_queue.erase(m_queue.begin());
    begin(Activity::Dispatch, item.timer).item = item;
}

} // namespace simulation
