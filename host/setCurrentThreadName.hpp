#pragma once

/// \file
/// Declares `setCurrentThreadName`.

#include "host/Export.hpp"

#include <string>

/// Names the calling thread for debuggers and process listings.
///
/// Called once, by the scheduler thread as it starts, with "TimerScheduler". A name that the platform cannot
/// hold is shortened; whatever goes wrong is the host's to ignore: an exception would end the process.
TOVRINHOST_API void setCurrentThreadName(const std::string& name);
