#pragma once

#include "tests/simulation/model/Reading.hpp"

#include <vector>

namespace simulation {

/// Reads the dispatch of a fixed-rate TimerFcn.
/// \param before the callback before this one in its run, or null
void readFixedRate(Reading& reading, const std::vector<Count>& counts, const HandOver* before);

/// Reads the task of one.
void readFixedRateTask(Reading& reading, HandOver& callback);

} // namespace simulation
