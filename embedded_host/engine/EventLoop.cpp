#include "embedded_host/engine/EventLoop.hpp"

#include "embedded_host/engine/InterpreterThread.hpp"

#include <algorithm>
#include <utility>
#include <vector>

namespace tovrinhost {

void EventLoop::post(When when, Work request)
{
    std::unique_lock lock(m_mutex);
    if (m_stopped) {
        return;
    }
    m_queue.push_back({ when, std::move(request), nullptr, {}, m_arrivals++ });
    raiseAttention(std::move(lock));
}

void EventLoop::postUrgent(Work request)
{
    std::unique_lock lock(m_mutex);
    if (m_stopped) {
        return;
    }
    m_queue.push_front({ When::AtEventLoop, std::move(request), nullptr, {}, m_arrivals++ });
    raiseAttention(std::move(lock));
}

bool EventLoop::submit(
    const std::shared_ptr<TaskOwner>& owner, Work task, bool wakes, std::size_t limit, const TaskNote& note)
{
    const bool isOther = !isInterpreterThread(*this);
    std::unique_lock lock(m_mutex);
    if (m_stopped || (owner->m_closed && isOther)) {
        lock.unlock();
        owner->taskIsDropped(note);
        return false;
    }
    m_queue.push_back({ When::AtEventLoop, std::move(task), owner, note, m_arrivals++ });
    const bool exceeds = ++owner->m_pending > limit && isOther;
    owner->m_closed = owner->m_closed || exceeds;
    if (wakes) {
        raiseAttention(std::move(lock));
    }
    return exceeds;
}

void EventLoop::wake()
{
    raiseAttention(std::unique_lock(m_mutex));
}

void EventLoop::close(TaskOwner& owner, std::size_t keep)
{
    std::vector<Entry> dropped; // destroyed after the lock is released
    std::unique_lock lock(m_mutex);
    owner.m_closed = true;
    if (owner.m_pending <= keep) {
        return; // else many timers that are stopped one after the other would each look at all that waits
    }
    dropped.reserve(owner.m_pending - keep); // so that nothing fails on the way
    auto place = m_queue.begin();
    for (Entry& entry : m_queue) {
        const bool isOfOwner = entry.owner.get() == &owner;
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
    m_queue.erase(place, m_queue.end());
    owner.m_pending -= dropped.size();
    lock.unlock();
    for (const Entry& entry : dropped) {
        owner.taskIsDropped(entry.note);
    }
}

std::size_t EventLoop::pending(const TaskOwner& owner) const
{
    const std::lock_guard lock(m_mutex);
    return owner.m_pending;
}

void EventLoop::runPending(const std::shared_ptr<TaskOwner>& owner)
{
    const auto takeNext = [&]() -> std::optional<Entry> {
        const std::lock_guard lock(m_mutex);
        const auto next = std::find_if(
            m_queue.begin(), m_queue.end(), [&](const Entry& entry) { return entry.owner == owner; });
        if (next == m_queue.end()) {
            return std::nullopt;
        }
        return take(next);
    };
    while (const auto entry = takeNext()) {
        runTask(*entry);
    }
}

/// The caller holds m_mutex.
EventLoop::Entry EventLoop::take(const std::deque<Entry>::iterator& entry)
{
    Entry taken = std::move(*entry);
    m_queue.erase(entry);
    if (taken.owner) {
        --taken.owner->m_pending;
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
    for (;;) {
        if (interruption() != Interruption::None) {
            throw Interrupted();
        }
        if (done()) {
            return true;
        }
        const bool isLate = deadline && Clock::now() >= *deadline;
        if (runNext(state, isLate ? called : anyArrival)) {
            continue;
        }
        if (isLate) {
            return done();
        }
        waitForAttention(deadline);
    }
}

void EventLoop::runUntilStopped()
{
    const auto stopped = [this] {
        const std::lock_guard lock(m_mutex);
        return m_stopped;
    };
    while (!stopped()) {
        if (!runNext(State::Idle)) {
            waitForAttention(std::nullopt);
        }
    }
}

void EventLoop::stop()
{
    std::deque<Entry> dropped; // destroyed after the lock is released
    std::unique_lock lock(m_mutex);
    m_stopped = true;
    dropped.swap(m_queue);
    for (const Entry& entry : dropped) {
        if (entry.owner) {
            --entry.owner->m_pending;
        }
    }
    raiseAttention(std::move(lock));
}

void EventLoop::interrupt(Interruption why)
{
    m_interruption = why;
    wake();
}

bool EventLoop::runNext(State state, std::uint64_t arrivedBefore)
{
    Entry entry;
    {
        const std::lock_guard lock(m_mutex);
        const auto fits = [&](const Entry& candidate) {
            const bool waitsForItsOwner = candidate.owner && candidate.owner->isInTask();
            return !waitsForItsOwner && candidate.arrival < arrivedBefore
                && (state == State::Idle || candidate.when == When::AtEventLoop);
        };
        const auto next = std::find_if(m_queue.begin(), m_queue.end(), fits);
        if (next == m_queue.end()) {
            return false;
        }
        entry = take(next);
    }
    if (entry.owner) {
        runTask(entry);
    } else {
        entry.work();
    }
    return true;
}

void EventLoop::waitForAttention(const Deadline& deadline)
{
    if (m_observer != nullptr) {
        m_observer->sleeps();
    }
    std::unique_lock lock(m_mutex);
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
}

void EventLoop::raiseAttention(std::unique_lock<std::mutex> lock)
{
    m_attention = true;
    const bool wakes = std::exchange(m_sleeps, false);
    lock.unlock();
    if (wakes) {
        m_changed.notify_one();
    }
}

} // namespace tovrinhost
