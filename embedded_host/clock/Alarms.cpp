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
        m_thread = std::thread([this] { serve(); });
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
    std::unique_lock lock(m_mutex);
    while (!m_ends) {
        if (m_calls.empty()) {
            m_changed.wait(lock);
        } else if (const WallTime first = m_calls.begin()->first.first; m_clock.now() < first) {
            m_clock.wait(m_changed, lock, first);
        } else {
            auto due = m_calls.extract(m_calls.begin());
            lock.unlock();
            due.mapped()();
            due = {};
            lock.lock();
        }
    }
}

} // namespace tovrinhost
