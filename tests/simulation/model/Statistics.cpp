#include "tests/simulation/model/Statistics.hpp"

#include "timer_src/main/TimerInfo.hpp"

#include <cmath>
#include <string>

namespace simulation {

namespace {

bool same(double expected, double found)
{
    return std::isnan(expected) ? std::isnan(found) : std::abs(expected - found) < 1e-9;
}

std::string difference(const char* what, double expected, double found)
{
    return same(expected, found)
        ? ""
        : std::string(what) + " is " + std::to_string(found) + " and ought to be " + std::to_string(expected);
}

} // namespace

void Statistics::reset()
{
    m_uncertain = false;
    m_runs = 0;
    m_average = std::numeric_limits<double>::quiet_NaN();
}

void Statistics::runStarts(std::int64_t nowMs, bool uncertain)
{
    m_uncertain = m_uncertain || uncertain;
    ++m_runs;
    if (m_runs > 1) {
        m_before = m_last;
    }
    m_last = nowMs;
    if (m_runs == 2) {
        m_average = static_cast<double>(m_last - m_before) / 1000.0;
    } else if (m_runs > 2) {
        const auto runs = static_cast<double>(m_runs);
        m_average = ((runs - 1) * m_average + static_cast<double>(m_last - m_before) / 1000.0) / runs;
    }
}

std::string Statistics::compare(const tovrintimer::TimerInfo& timer) const
{
    if (m_uncertain) {
        return "";
    }
    const double instant
        = m_runs < 2 ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(m_last - m_before) / 1000.0;
    // The getters are operations of the simulation themselves.
    const Kernel::Atomically atomically;
    return difference("the number of tasks executed", static_cast<double>(m_runs), timer.getTasksExecuted())
        + difference("the instant period", instant, timer.getInstantPeriod())
        + difference("the average period", m_average, timer.getAveragePeriod());
}

} // namespace simulation
