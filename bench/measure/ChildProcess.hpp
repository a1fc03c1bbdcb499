#pragma once

#include <string>
#include <vector>

namespace bench {

/// Runs a program to its end, found by PATH where its name holds no slash.
/// \returns what it has written to standard output
/// \throws std::runtime_error where it cannot be run, or its exit status is not 0
std::string outputOf(const std::vector<std::string>& command);

} // namespace bench
