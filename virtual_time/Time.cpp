#include "virtual_time/VirtualThread.hpp"

#include <algorithm>
#include <utility>

namespace virtual_time {

// How time moves, and what comes from outside meanwhile.

namespace {

// A deadline so far away is as good as none: the scheduler waits for longer where it has nothing to do.
constexpr Moment tooFar = Moment { 370 } * 24 * 3'600'000 * millisecond;

} // namespace

std::optional<Moment> Kernel::nextMoment() const
{
    Moment next = never;
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        if (!m_threads[number]->ended && static_cast<int>(number) != m_running) {
            next = std::min(next, m_threads[number]->wakesAt);
        }
    }
    return next == never || next - m_now > tooFar ? std::nullopt : std::optional(next);
}

void Kernel::clockWasLookedAt()
{
    constexpr int many = 1000;
    if (m_lookedAt != m_now) {
        m_lookedAt = m_now;
        m_looks = 0;
    }
    if (++m_looks == many) {
        sleepFor(millisecond);
    }
}

/// All threads are blocked. \returns who goes on
int Kernel::letTimeMove()
{
    if (m_witness != nullptr) {
        m_witness->timeMoves();
    }
    while (m_ready.empty()) {
        Moment next = never;
        for (const auto& thread : m_threads) {
            if (!thread->ended) {
                next = std::min(next, thread->wakesAt);
            }
        }
        if (next != never && next - m_now <= tooFar) {
            moveTo(next);
        } else if (!areHelped()) {
            const std::string failure = "deadlock: all threads are blocked, and nothing is due\n" + describeAll();
            if (!m_hasBegun) {
                fail(failure);
            }
            m_threads.front()->failure = failure;
            makeReady(0);
        }
    }
    return choose();
}

void Kernel::moveTo(Moment moment)
{
    if (m_options.pace != 0) {
        sleepInRealTime(moment);
    } else {
        m_now = std::max(m_now, moment);
    }
    if (m_someoneIsOutside) {
        letIn();
    }
    m_stepsSinceTimeMoved = 0;
    wakeTheDue();
}

void Kernel::wakeTheDue()
{
    for (std::size_t number = 0; number < m_threads.size(); ++number) {
        VirtualThread& thread = *m_threads[number];
        if (!thread.ended && thread.wakesAt <= m_now) {
            thread.timedOut = true;
            makeReady(number);
        }
    }
}

bool Kernel::areHelped()
{
    bool isHelped = false;
    if (m_help) {
        const Atomically undisturbed;
        isHelped = m_help(describeAll());
    }
    if (m_someoneIsOutside) {
        letIn();
    }
    return isHelped && !m_ready.empty();
}

// ---- Time that passes by itself

void Kernel::sleepInRealTime(Moment until)
{
    const std::chrono::duration<double, std::nano> wait(
        static_cast<double>(until - m_options.begin) / m_options.pace);
    const auto end = m_realBegin + std::chrono::duration_cast<std::chrono::steady_clock::duration>(wait);
    bool isBrokenOff = false;
    {
        std::unique_lock lock(m_outsideMutex);
        isBrokenOff = m_outsideCame.wait_until(lock, end, [this] { return !m_outside.empty(); });
    }
    followRealTime();
    if (!isBrokenOff) {
        m_now = std::max(m_now, until); // a real clock that is not as fine
    }
}

void Kernel::followRealTime()
{
    const std::chrono::duration<double, std::nano> real = std::chrono::steady_clock::now() - m_realBegin;
    m_now = std::max(m_now, m_options.begin + static_cast<Moment>(real.count() * m_options.pace));
    wakeTheDue();
    if (m_ready.size() > 1 && running().ready) {
        yield();
    }
}

// ---- What comes from outside

void Kernel::callFromOutside(std::function<void()> call)
{
    {
        const std::lock_guard lock(m_outsideMutex);
        m_outside.push_back(std::move(call));
        m_someoneIsOutside = true;
    }
    m_outsideCame.notify_one();
}

void Kernel::letIn()
{
    std::vector<std::function<void()>> calls;
    {
        const std::lock_guard lock(m_outsideMutex);
        calls.swap(m_outside);
        m_someoneIsOutside = false;
    }
    for (auto& call : calls) {
        spawn("outside", std::move(call));
    }
}

} // namespace virtual_time
