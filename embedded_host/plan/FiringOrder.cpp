#include "embedded_host/plan/FiringOrder.hpp"

#include <algorithm>
#include <tuple>

namespace tovrinhost {

namespace {

/// Work for nobody, or a firing that was taken back before its time.
bool isNothing(const Firing& firing)
{
    return isForNobody(firing) || (firing.started == 0 && isOver(firing.stage) && firing.due > firing.ended);
}

/// Was due, and has not begun.
bool isOverdue(const Firing& firing)
{
    return firing.stage == Stage::Waiting || firing.stage == Stage::Dropped;
}

/// At one moment, the order in which the library made them is the one in which they came.
bool isEarlier(const Firing& a, const Firing& b)
{
    return std::tuple(momentOf(a), a.number) < std::tuple(momentOf(b), b.number);
}

} // namespace

Nanoseconds momentOf(const Firing& firing)
{
    return firing.started != 0 ? firing.started : firing.ended;
}

void FiringOrder::read(const Tell& tell)
{
    const std::uint64_t newest = m_log.count();
    if (newest >= m_nextPlace + FiringLog::capacity) {
        const std::uint64_t oldest = newest - FiringLog::capacity + 1;
        m_lost += oldest - m_nextPlace;
        m_nextPlace = oldest;
    }
    for (; m_nextPlace <= newest; ++m_nextPlace) {
        m_pending.push_back({ m_nextPlace });
    }
    const auto held = static_cast<std::ptrdiff_t>(m_begun.size());
    std::erase_if(m_pending, [this](Pending& pending) { return isPendingNoMore(pending); });
    std::sort(m_begun.begin() + held, m_begun.end(),
        [](const Begun& a, const Begun& b) { return isEarlier(a.firing, b.firing); });
    while (!m_begun.empty()) {
        Begun& next = m_begun.front();
        next.firing = m_log.at(next.place).value_or(next.firing);
        if (!isOver(next.firing.stage) && m_begun.size() <= mostHeldUp) {
            return;
        }
        tell(next.firing);
        m_begun.pop_front();
    }
}

bool FiringOrder::isPendingNoMore(Pending& pending)
{
    const auto firing = m_log.at(pending.place);
    if (!firing) {
        m_lost += pending.isQueued ? 0 : 1; // what waits for its due time gets a new place once it has come
        return true;
    }
    pending.isQueued = firing->stage == Stage::Queued || firing->stage == Stage::Dropped;
    if (momentOf(*firing) == 0) {
        return false;
    }
    if (!isNothing(*firing)) {
        m_begun.push_back({ pending.place, *firing });
    }
    return true;
}

void FiringOrder::readRest(const Tell& tell)
{
    read(tell);
    for (const Begun& begun : m_begun) {
        tell(m_log.at(begun.place).value_or(begun.firing));
    }
    m_begun.clear();
    for (const Pending& pending : m_pending) {
        if (const auto firing = m_log.at(pending.place); firing && isOverdue(*firing)) {
            tell(*firing);
        }
    }
    m_pending.clear();
}

} // namespace tovrinhost
