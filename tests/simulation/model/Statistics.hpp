#pragma once

#include "tests/simulation/VirtualTime.hpp"

#include <cstdint>
#include <limits>
#include <string>

namespace tovrintimer {
class TimerInfo;
}

namespace simulation {

/// The run statistics of a timer, as the rules have them.
class Statistics {
public:
    void reset();

    /// \param uncertain the timer was started while this run was being counted
    void runStarts(std::int64_t nowMs, bool uncertain);

    /// \returns what is different, or nothing
    std::string compare(const tovrintimer::TimerInfo& timer) const;

private:
    bool m_uncertain = false; // until the next start
    std::uint64_t m_runs = 0;
    std::int64_t m_last = std::numeric_limits<std::int64_t>::min();
    std::int64_t m_before = std::numeric_limits<std::int64_t>::min();
    double m_average = std::numeric_limits<double>::quiet_NaN();
};

} // namespace simulation
