#include "embedded_host/engine/EventLoop.hpp"

#include "embedded_host/engine/InterpreterThread.hpp"

#include <algorithm>
#include <utility>

namespace tovrinhost {

TaskOwner::~TaskOwner() = default;

void EventLoop::post(When when, Work request)
{
    std::unique_lock lock(m_mutex);
    if (m_stopped) {
        return;
    }
    m_queue.push_back({ when, std::move(request), nullptr });
    raiseAttention(std::move(lock));
}

void EventLoop::postUrgent(Work request)
{
    std::unique_lock lock(m_mutex);
    if (m_stopped) {
        return;
    }
    m_queue.push_front({ When::AtEventLoop, std::move(request), nullptr });
    raiseAttention(std::move(lock));
}

bool EventLoop::submit(const std::shared_ptr<TaskOwner>& owner, Work task, bool wakes, std::size_t limit)
{
    const bool isOther = !isInterpreterThread(*this);
    std::unique_lock lock(m_mutex);
    if (m_stopped || (owner->m_closed && isOther)) {
        return false;
    }
    m_queue.push_back({ When::AtEventLoop, std::move(task), owner });
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
    std::deque<Entry> dropped; // destroyed after the lock is released
    std::deque<Entry> kept;
    const std::lock_guard lock(m_mutex);
    owner.m_closed = true;
    for (Entry& entry : m_queue) {
        const bool drops = entry.owner.get() == &owner && keep == 0;
        if (entry.owner.get() == &owner && keep > 0) {
            --keep;
        }
        (drops ? dropped : kept).push_back(std::move(entry));
    }
    m_queue.swap(kept);
    owner.m_pending -= dropped.size();
}

void EventLoop::open(TaskOwner& owner)
{
    const std::lock_guard lock(m_mutex);
    owner.m_closed = false;
}

std::size_t EventLoop::pending(const TaskOwner& owner) const
{
    const std::lock_guard lock(m_mutex);
    return owner.m_pending;
}

void EventLoop::runPending(const std::shared_ptr<TaskOwner>& owner)
{
    const auto takeNext = [&]() -> Work {
        const std::lock_guard lock(m_mutex);
        const auto entry = std::find_if(
            m_queue.begin(), m_queue.end(), [&](const Entry& candidate) { return candidate.owner == owner; });
        if (entry == m_queue.end()) {
            return nullptr;
        }
        Work task = std::move(entry->work);
        m_queue.erase(entry);
        --owner->m_pending;
        return task;
    };
    while (const Work task = takeNext()) {
        runTask(*owner, task);
    }
}

void EventLoop::runTask(TaskOwner& owner, const Work& task)
{
    std::exception_ptr error;
    ++owner.m_depth;
    owner.taskBegins();
    try {
        task();
    } catch (...) {
        error = std::current_exception();
    }
    --owner.m_depth;
    owner.taskEnds(error);
}

bool EventLoop::runUntil(State state, const std::function<bool()>& done, const Deadline& deadline)
{
    for (;;) {
        if (interruption() != Interruption::None) {
            throw Interrupted();
        }
        if (done()) {
            return true;
        }
        const bool ran = runNext(state);
        if (deadline && Clock::now() >= *deadline) {
            return done();
        }
        if (!ran) {
            waitForAttention(deadline);
        }
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

bool EventLoop::runNext(State state)
{
    Entry entry;
    {
        const std::lock_guard lock(m_mutex);
        const auto fits = [state](const Entry& candidate) {
            const bool waitsForItsOwner = candidate.owner && candidate.owner->isInTask();
            return !waitsForItsOwner && (state == State::Idle || candidate.when == When::AtEventLoop);
        };
        const auto next = std::find_if(m_queue.begin(), m_queue.end(), fits);
        if (next == m_queue.end()) {
            return false;
        }
        entry = std::move(*next);
        m_queue.erase(next);
        if (entry.owner) {
            --entry.owner->m_pending;
        }
    }
    if (entry.owner) {
        runTask(*entry.owner, entry.work);
    } else {
        entry.work();
    }
    return true;
}

void EventLoop::waitForAttention(const Deadline& deadline)
{
    std::unique_lock lock(m_mutex);
    const auto called = [this] { return m_attention; };
    if (deadline) {
        m_changed.wait_until(lock, *deadline, called);
    } else {
        m_changed.wait(lock, called);
    }
    m_attention = false;
}

void EventLoop::raiseAttention(std::unique_lock<std::mutex> lock)
{
    m_attention = true;
    lock.unlock();
    m_changed.notify_one();
}

} // namespace tovrinhost
