#include "tests/library/TimerInfoPeer.hpp"

#include "tests/library/Opened.hpp"

namespace tovrintimer {

struct StatsMutex {
    friend auto open(StatsMutex name);
};
template struct Opened<StatsMutex, &TimerInfo::m_statsMutex>;

struct LastRunTime {
    friend auto open(LastRunTime name);
};
template struct Opened<LastRunTime, &TimerInfo::m_lastRunTime>;

struct PrevRunTime {
    friend auto open(PrevRunTime name);
};
template struct Opened<PrevRunTime, &TimerInfo::m_prevRunTime>;

std::pair<std::int64_t, std::int64_t> TimerInfoPeer::runTimes(const TimerInfo& timer)
{
    const Lock held = lock(timer);
    return { timer.*open(PrevRunTime()), timer.*open(LastRunTime()) };
}

Lock TimerInfoPeer::lock(const TimerInfo& timer)
{
    // A pointer to a member does not know that it may be changed in a constant object, too.
    return Lock(const_cast<TimerInfo&>(timer).*open(StatsMutex()));
}

} // namespace tovrintimer
