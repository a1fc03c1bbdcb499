#include "tests/storm/Watchdog.hpp"

#include <cstdlib>
#include <iostream>

namespace storm {

Watchdog::Watchdog(std::chrono::seconds limit)
    : m_thread([this, limit] { watch(limit); })
{
}

Watchdog::~Watchdog()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void Watchdog::watch(std::chrono::seconds limit)
{
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, limit, [this] { return m_isOver; })) {
        std::cerr << "the storm has not ended within " << limit.count() << " s: a deadlock, or work without end\n";
        std::abort();
    }
}

} // namespace storm
