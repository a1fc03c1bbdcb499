#pragma once

#include <cstdint>

namespace c_interface_tests {

/// Whether a descriptor of a host is ready, or becomes so within this time.
bool isReady(std::intptr_t native, int milliseconds);

} // namespace c_interface_tests
