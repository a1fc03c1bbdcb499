#pragma once

#include "host/Export.hpp"

#include <cstdint>
#include <string>

namespace external_host {

/// Sets which severities of a channel are recorded, by the loggers that it has and by those to come. All are at
/// first.
TOVRINHOST_API void setLogMask(const std::string& channel, std::uint32_t mask);

} // namespace external_host
