#pragma once

#include "tests/simulation/model/Reading.hpp"

namespace simulation {

/// Reads what a callback task did.
void readTask(Reading& reading);

} // namespace simulation
