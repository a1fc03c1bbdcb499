#pragma once

#include <cstddef>

namespace recording {

// What the library asked the operating system for. The first two are events as well, "beginTimerResolution" and
// "endTimerResolution", in detail. Any thread.

std::size_t timerResolutionBegins();
std::size_t timerResolutionEnds();
std::size_t timerResolutionAdoptions();

void resetPlatform();

} // namespace recording
