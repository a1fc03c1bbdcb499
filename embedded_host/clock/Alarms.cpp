#include "embedded_host/clock/Alarms.hpp"

namespace tovrinhost {

Alarms::~Alarms()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

Alarms::Number Alarms::set(WallTime moment, std::function<void()> call)
{
    const std::lock_guard lock(m_mutex);
    if (!m_thread.joinable()) {
        m_thread = tovrintimer::Thread([this] { serve(); });
    }
    m_calls.emplace(Key { moment, ++m_latest }, std::move(call));
    m_changed.notify_one();
    return m_latest;
}

void Alarms::cancel(WallTime moment, Number alarm)
{
    std::map<Key, std::function<void()>>::node_type taken; // destroyed without the lock
    const std::lock_guard lock(m_mutex);
    taken = m_calls.extract({ moment, alarm });
}

void Alarms::serve()
{
    tovrintimer::Lock lock(m_mutex);
    while (!m_ends) {
        const auto first = firstMoment();
        const auto isChanged = [&] { return m_ends || firstMoment() != first; };
        if (!first) {
            m_changed.wait(lock, isChanged);
        } else if (m_clock.now() < *first) {
            m_clock.wait(m_changed, lock, *first, isChanged);
        } else {
            auto due = m_calls.extract(m_calls.begin());
            lock.unlock();
            due.mapped()();
            due = {};
            lock.lock();
        }
    }
}

/// The caller holds m_mutex.
std::optional<WallTime> Alarms::firstMoment() const
{
    return m_calls.empty() ? std::nullopt : std::optional(m_calls.begin()->first.first);
}

} // namespace tovrinhost
