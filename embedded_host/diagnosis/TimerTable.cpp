#include "embedded_host/diagnosis/TimerTable.hpp"

#include <algorithm>
#include <utility>

namespace tovrinhost {

void TimerTable::put(const Identity& timer, TimerDescription description)
{
    auto made = std::make_shared<const TimerDescription>(std::move(description));
    const std::lock_guard lock(m_mutex);
    if (const auto live = m_live.find(made->number); live != m_live.end()) {
        live->second.timer = timer;
    }
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
    m_live[number].description = std::move(made);
}

void TimerTable::removeLive(std::uint64_t number)
{
    const std::lock_guard lock(m_mutex);
    m_live.erase(number);
}

std::vector<TimerTable::Description> TimerTable::live(std::size_t most) const
{
    const std::lock_guard lock(m_mutex);
    std::vector<Description> all;
    all.reserve(std::min(most, m_live.size()));
    for (auto place = m_live.begin(); place != m_live.end() && all.size() < most; ++place) {
        all.push_back(place->second.description);
    }
    return all;
}

std::size_t TimerTable::liveCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_live.size();
}

TimerTable::Description TimerTable::findLive(std::uint64_t number) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_live.find(number);
    return found == m_live.end() ? nullptr : found->second.description;
}

std::optional<TimerTable::Identity> TimerTable::identityOf(std::uint64_t number) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_live.find(number);
    return found == m_live.end() ? std::nullopt : found->second.timer;
}

TimerTable::Description TimerTable::find(const Identity& timer) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_timers.find(timer);
    return found == m_timers.end() ? nullptr : found->second;
}

} // namespace tovrinhost
