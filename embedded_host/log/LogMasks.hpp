#pragma once

#include "host/Export.hpp"

#include <cstdint>
#include <string>

namespace tovrinhost {

/// Sets which severities of a channel are recorded, for the loggers that exist and for those made later.
/// Threading: any thread.
TOVRINHOST_API void setLogMask(const std::string& channel, std::uint32_t mask);

} // namespace tovrinhost
