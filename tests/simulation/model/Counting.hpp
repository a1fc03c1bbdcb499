#pragma once

#include "tests/simulation/model/Records.hpp"

namespace simulation {

/// Counts one callback.
/// \param tasks what the timer's number of tasks is now
Count counted(Count before, std::uint64_t tasks);

/// The due time, in milliseconds, of what is due `span` milliseconds after a moment.
std::int64_t dueAfter(Moment now, double span);

} // namespace simulation
