#pragma once

#include "embedded_host/plan/PlanRow.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace tovrinhost {

/// What a plan tells of a timer at its end.
struct TimerTotal {
    std::string timer; ///< its name, the latest that it had
    std::uint64_t fired = 0; ///< TimerFcns that began
    std::uint64_t dropped = 0;
    std::uint64_t failed = 0; ///< callbacks of any kind
    Nanoseconds mostLateness = 0; ///< of a TimerFcn
    Nanoseconds busy = 0; ///< in callbacks of any kind, with what they waited for
};

/// Sums the rows of a plan up, for the first 1,000 timers that it tells of.
class PlanTotals {
public:
    void count(const PlanRow& row);

    /// By the timers' numbers.
    const std::map<std::uint64_t, TimerTotal>& timers() const { return m_timers; }

    /// Rows of timers beyond these.
    std::uint64_t rowsLeftOut() const { return m_rowsLeftOut; }

private:
    static constexpr std::size_t mostTimers = 1000;

    std::map<std::uint64_t, TimerTotal> m_timers;
    std::uint64_t m_rowsLeftOut = 0;
};

} // namespace tovrinhost
