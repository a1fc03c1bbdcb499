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

/// At one moment, the order in which they were dispatched.
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
    if (newest >= m_nextNumber + FiringLog::capacity) {
        const std::uint64_t oldest = newest - FiringLog::capacity + 1;
        m_lost += oldest - m_nextNumber;
        m_nextNumber = oldest;
    }
    for (; m_nextNumber <= newest; ++m_nextNumber) {
        m_pending.push_back(m_nextNumber);
    }
    const auto held = static_cast<std::ptrdiff_t>(m_begun.size());
    std::erase_if(m_pending, [this](std::uint64_t number) { return isPendingNoMore(number); });
    std::sort(m_begun.begin() + held, m_begun.end(), isEarlier);
    while (!m_begun.empty()) {
        Firing& next = m_begun.front();
        next = m_log.at(next.number).value_or(next);
        if (!isOver(next.stage) && m_begun.size() <= mostHeldUp) {
            return;
        }
        tell(next);
        m_begun.pop_front();
    }
}

bool FiringOrder::isPendingNoMore(std::uint64_t number)
{
    const auto firing = m_log.at(number);
    if (!firing) {
        ++m_lost;
        return true;
    }
    if (momentOf(*firing) == 0) {
        return false;
    }
    if (!isNothing(*firing)) {
        m_begun.push_back(*firing);
    }
    return true;
}

void FiringOrder::readRest(const Tell& tell)
{
    read(tell);
    for (const Firing& begun : m_begun) {
        tell(m_log.at(begun.number).value_or(begun));
    }
    m_begun.clear();
    for (const std::uint64_t number : m_pending) {
        if (const auto firing = m_log.at(number); firing && isOverdue(*firing)) {
            tell(*firing);
        }
    }
    m_pending.clear();
}

} // namespace tovrinhost
