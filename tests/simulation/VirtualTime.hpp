#pragma once

#include "virtual_time/Types.hpp"

namespace simulation {

using namespace virtual_time;

} // namespace simulation
