#include "embedded_host/status/platform/LinuxTerminalType.hpp"

#include <termcap.h>

#include <cstdlib>

namespace tovrinhost::platform {

bool isTerminalTypeKnown()
{
    const char* const type = std::getenv("TERM"); // NOLINT(concurrency-mt-unsafe): nothing changes the environment
    return type != nullptr && tgetent(nullptr, type) == 1;
}

} // namespace tovrinhost::platform
