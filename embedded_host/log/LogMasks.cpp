#include "embedded_host/log/LogMasks.hpp"

#include "embedded_host/log/LoggerRegistry.hpp"

namespace tovrinhost {

void setLogMask(const std::string& channel, std::uint32_t mask)
{
    LoggerRegistry::instance().setMask(channel, mask);
}

} // namespace tovrinhost
