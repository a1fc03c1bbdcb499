#pragma once

#include <cstddef>

namespace recording {

// What the library asked the operating system for. Any thread.

std::size_t timerResolutionBegins();
std::size_t timerResolutionEnds();
std::size_t timerResolutionAdoptions();

void resetPlatform();

} // namespace recording
