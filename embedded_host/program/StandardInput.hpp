#pragma once

#include <string>

namespace tovrinhost {

/// The script that standard input holds: all of it, but for what stands in its first line if that is for the
/// system
/// (#!).
/// \throws std::runtime_error if it cannot be read
std::string readStandardInput();

} // namespace tovrinhost
