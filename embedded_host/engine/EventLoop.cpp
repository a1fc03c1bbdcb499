#include "embedded_host/engine/EventLoop.hpp"

#include "embedded_host/engine/InterpreterThread.hpp"

#include <algorithm>
#include <utility>
#include <vector>

namespace tovrinhost {

using tovrintimer::Lock;

void EventLoop::post(When when, Work request)
{
    Lock lock(m_mutex);
    if (m_stopped) {
        return;
    }
    m_arrived.push_back({ when, std::move(request), nullptr, {}, m_arrivals++ });
    raiseAttention(std::move(lock));
    tellArrival();
}

void EventLoop::postUrgent(Work request)
{
    Lock lock(m_mutex);
    if (m_stopped) {
        return;
    }
    m_urgent.push_back({ When::AtEventLoop, std::move(request), nullptr, {}, m_arrivals++ });
    m_isUrgent = true;
    raiseAttention(std::move(lock));
    tellArrival();
}

bool EventLoop::submit(TaskOwner& owner, Work task, bool wakes, std::size_t limit, const TaskNote& note)
{
    const bool isOther = !isInterpreterThread(*this);
    Lock lock(m_mutex);
    if (m_stopped || (owner.m_closed && isOther)) {
        lock.unlock();
        owner.taskIsDropped(note);
        return false;
    }
    m_arrived.push_back({ When::AtEventLoop, std::move(task), &owner, note, m_arrivals++ });
    const bool exceeds = ++owner.m_pending > limit && isOther;
    owner.m_closed = owner.m_closed || exceeds;
    if (wakes) {
        raiseAttention(std::move(lock));
    } else {
        lock.unlock();
    }
    tellArrival();
    return exceeds;
}

void EventLoop::tellArrival() const
{
    if (m_tellArrival) {
        m_tellArrival();
    }
}

bool EventLoop::isEmpty() const
{
    const std::lock_guard lock(m_mutex);
    return m_waiting.empty() && m_arrived.empty() && m_urgent.empty();
}

void EventLoop::wake()
{
    raiseAttention(Lock(m_mutex));
}

/// Takes over what has arrived.
/// \returns whether anything had
bool EventLoop::collect()
{
    const std::lock_guard lock(m_mutex);
    return collectUnderLock();
}

/// The caller holds m_mutex.
bool EventLoop::collectUnderLock()
{
    if (m_arrived.empty() && m_urgent.empty()) {
        return false;
    }
    if (m_waiting.empty()) {
        m_waiting.swap(m_arrived);
    }
    for (; !m_arrived.empty(); m_arrived.pop_front()) {
        m_waiting.push_back(std::move(m_arrived.front()));
    }
    for (; !m_urgent.empty(); m_urgent.pop_front()) {
        m_waiting.push_front(std::move(m_urgent.front()));
    }
    m_isUrgent = false;
    return true;
}

void EventLoop::close(TaskOwner& owner, std::size_t keep)
{
    {
        const std::lock_guard lock(m_mutex);
        owner.m_closed = true;
        collectUnderLock();
    }
    if (owner.m_pending <= keep) {
        return; // else many timers that are stopped one after the other would each look at all that waits
    }
    std::vector<Entry> dropped; // destroyed once the queue is whole again
    dropped.reserve(owner.m_pending - keep); // so that nothing fails on the way
    auto place = m_waiting.begin();
    for (Entry& entry : m_waiting) {
        const bool isOfOwner = entry.owner == &owner;
        if (isOfOwner && keep == 0) {
            dropped.push_back(std::move(entry));
            continue;
        }
        keep -= isOfOwner ? 1 : 0;
        if (&*place != &entry) {
            *place = std::move(entry);
        }
        ++place;
    }
    m_waiting.erase(place, m_waiting.end());
    owner.m_pending -= dropped.size();
    for (const Entry& entry : dropped) {
        owner.taskIsDropped(entry.note);
    }
}

std::optional<TaskNote> EventLoop::firstTimerFcn(const TaskOwner& owner) const
{
    const auto fits = [&owner](const Entry& entry) { return entry.owner == &owner && entry.note.isTimerFcn; };
    if (const auto first = std::ranges::find_if(m_waiting, fits); first != m_waiting.end()) {
        return first->note;
    }
    const std::lock_guard lock(m_mutex);
    const auto first = std::ranges::find_if(m_arrived, fits);
    return first == m_arrived.end() ? std::nullopt : std::optional(first->note);
}

std::size_t EventLoop::pending(const TaskOwner& owner)
{
    return owner.m_pending;
}

void EventLoop::runPending(const TaskOwner& owner)
{
    const auto isOfOwner = [&](const Entry& entry) { return entry.owner == &owner; };
    look();
    while (const auto entry = takeFirst(isOfOwner)) {
        runTask(*entry);
    }
}

/// Takes the first entry that fits off the queue.
template <typename Fits> std::optional<EventLoop::Entry> EventLoop::takeFirst(const Fits& fits)
{
    if (m_isUrgent) {
        collect();
    }
    auto first = std::find_if(m_waiting.begin(), m_waiting.end(), fits);
    if (first == m_waiting.end() && collect()) {
        first = std::find_if(m_waiting.begin(), m_waiting.end(), fits);
    }
    if (first == m_waiting.end() || m_stopped) {
        return std::nullopt;
    }
    std::optional<Entry> taken(std::move(*first));
    m_waiting.erase(first);
    if (taken->owner != nullptr) {
        --taken->owner->m_pending;
    }
    return taken;
}

void EventLoop::runTask(const Entry& entry)
{
    TaskOwner& owner = *entry.owner;
    std::exception_ptr error;
    ++owner.m_depth;
    owner.taskBegins(entry.note);
    try {
        entry.work();
    } catch (...) {
        error = std::current_exception();
    }
    look();
    --owner.m_depth;
    owner.taskEnds(entry.note, error);
}

std::uint64_t EventLoop::arrivals() const
{
    const std::lock_guard lock(m_mutex);
    return m_arrivals;
}

bool EventLoop::runUntil(State state, const std::function<bool()>& done, const Deadline& deadline)
{
    const std::uint64_t called = arrivals();
    look();
    for (;;) {
        if (interruption() != Interruption::None) {
            throw Interrupted();
        }
        if (done()) {
            return true;
        }
        const bool isLate = deadline && m_turnedAt >= *deadline;
        if (runNext(state, isLate ? called : anyArrival) != Ran::Nothing) {
            continue;
        }
        if (isLate) {
            return done();
        }
        waitForAttention(deadline);
    }
}

EventLoop::Ran EventLoop::runWhatCame(State state)
{
    const std::uint64_t called = arrivals();
    Ran all = Ran::Nothing;
    look();
    for (;;) {
        if (interruption() != Interruption::None) {
            throw Interrupted();
        }
        const Ran one = runNext(state, called);
        if (one == Ran::Nothing) {
            return all;
        }
        all = std::max(all, one);
    }
}

void EventLoop::runUntilStopped()
{
    look();
    while (!m_stopped) {
        if (runNext(State::Idle) == Ran::Nothing) {
            waitForAttention(std::nullopt);
        }
    }
    drop(std::exchange(m_waiting, {}));
}

void EventLoop::stop()
{
    Lock lock(m_mutex);
    m_stopped = true;
    const auto arrived = std::exchange(m_arrived, {});
    const auto urgent = std::exchange(m_urgent, {});
    raiseAttention(std::move(lock));
    drop(arrived);
}

void EventLoop::drop(const std::deque<Entry>& entries)
{
    for (const Entry& entry : entries) {
        if (entry.owner != nullptr) {
            --entry.owner->m_pending;
        }
    }
}

void EventLoop::interrupt(Interruption why)
{
    m_interruption = why;
    wake();
}

EventLoop::Ran EventLoop::runNext(State state, std::uint64_t arrivedBefore)
{
    const auto entry = takeFirst([&](const Entry& candidate) {
        const bool waitsForItsOwner = candidate.owner != nullptr && candidate.owner->isInTask();
        return !waitsForItsOwner && candidate.arrival < arrivedBefore
            && (state == State::Idle || candidate.when == When::AtEventLoop);
    });
    if (!entry) {
        return Ran::Nothing;
    }
    if (entry->owner != nullptr) {
        runTask(*entry);
        return Ran::Tasks;
    }
    entry->work();
    look();
    return Ran::Requests;
}

void EventLoop::waitForAttention(const Deadline& deadline)
{
    if (m_observer != nullptr) {
        m_observer->sleeps();
    }
    Lock lock(m_mutex);
    const auto called = [this] { return m_attention; };
    m_sleeps = true;
    if (deadline) {
        m_changed.wait_until(lock, *deadline, called);
    } else {
        m_changed.wait(lock, called);
    }
    m_sleeps = false;
    m_attention = false;
    lock.unlock();
    if (m_observer != nullptr) {
        m_observer->wakes();
    }
    look();
}

void EventLoop::raiseAttention(Lock lock)
{
    m_attention = true;
    const bool wakes = std::exchange(m_sleeps, false);
    lock.unlock();
    if (wakes) {
        m_changed.notify_one();
    }
}

} // namespace tovrinhost
