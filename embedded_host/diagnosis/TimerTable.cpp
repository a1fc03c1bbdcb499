#include "embedded_host/diagnosis/TimerTable.hpp"

#include <utility>

namespace tovrinhost {

void TimerTable::put(const Identity& timer, TimerDescription description)
{
    auto made = std::make_shared<const TimerDescription>(std::move(description));
    const std::lock_guard lock(m_mutex);
    const auto [place, isNew] = m_timers.try_emplace(timer);
    place->second = std::move(made);
    if (!isNew) {
        return;
    }
    m_byAge.push_back(timer);
    if (m_byAge.size() > capacity) {
        m_timers.erase(m_byAge.front());
        m_byAge.pop_front();
    }
}

void TimerTable::putLive(TimerDescription description)
{
    auto made = std::make_shared<const TimerDescription>(std::move(description));
    const std::uint64_t number = made->number;
    const std::lock_guard lock(m_mutex);
    m_live[number] = std::move(made);
}

void TimerTable::removeLive(std::uint64_t number)
{
    const std::lock_guard lock(m_mutex);
    m_live.erase(number);
}

std::vector<TimerTable::Description> TimerTable::live() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<Description> all;
    all.reserve(m_live.size());
    for (const auto& [number, description] : m_live) {
        all.push_back(description);
    }
    return all;
}

TimerTable::Description TimerTable::find(const Identity& timer) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_timers.find(timer);
    return found == m_timers.end() ? nullptr : found->second;
}

} // namespace tovrinhost
