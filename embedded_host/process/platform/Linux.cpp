#include "embedded_host/process/platform/Platform.hpp"

#include <pthread.h>

#include <array>
#include <cstring>

namespace tovrinhost::platform {

void nameCurrentThread(const char* name) noexcept
{
    // A longer name is refused altogether.
    std::array<char, 16> shortened {};
    std::strncpy(shortened.data(), name, shortened.size() - 1);
    pthread_setname_np(pthread_self(), shortened.data());
}

} // namespace tovrinhost::platform
