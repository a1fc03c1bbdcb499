#pragma once

#include "virtual_time/Kernel.hpp"

namespace tovrinhost {

/// What the calendar shows as virtual time begins: midnight of the first of January 2000, here. The same each
/// time, or the output would not be.
virtual_time::Moment calendarOfVirtualTime();

} // namespace tovrinhost
