#pragma once

#include "tests/simulation/model/Reading.hpp"

#include <cstdint>
#include <vector>

namespace simulation {

/// How many callbacks of a run may be left.
using Lefts = std::vector<std::uint64_t>;

/// Whether there may be none, or some, left.
bool contains(const Lefts& lefts, bool zero);

bool isDueNow(const Reading& reading, std::int64_t due);

/// Reads the queueing of the first TimerFcn of a run, due after the start delay.
void readFirstTimerFcn(Reading& reading);

/// Reads the queueing of a StopFcn, due now.
void readStopFcnInsert(Reading& reading);

/// A callback is counted, and what follows it is queued while the timer runs.
/// \returns how many may be left then
Lefts readFollowUp(Reading& reading, const std::vector<Count>& counts);

/// After the last callback of a run without StopFcn, the run ends.
void readEndWithoutStopFcn(Reading& reading, const Lefts& lefts);

} // namespace simulation
