#include "embedded_host/plan/PlanTotals.hpp"

#include <algorithm>

namespace tovrinhost {

void PlanTotals::count(const PlanRow& row)
{
    if (m_timers.size() == mostTimers && !m_timers.contains(row.timerNumber)) {
        ++m_rowsLeftOut;
        return;
    }
    TimerTotal& total = m_timers[row.timerNumber];
    total.timer = row.timer;
    if (row.isTimerFcn()) {
        total.fired += row.took ? 1 : 0;
        total.dropped += row.dropped;
        total.mostLateness = row.took ? std::max(total.mostLateness, row.lateness()) : total.mostLateness;
    }
    total.failed += row.outcome == PlanRow::Outcome::Failed ? 1 : 0;
    total.busy += row.took.value_or(0);
}

} // namespace tovrinhost
