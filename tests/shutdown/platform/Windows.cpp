#include "tests/shutdown/platform/Platform.hpp"

#include <windows.h>

namespace shutdown_test {

bool isLibraryGone()
{
    return GetModuleHandleA("tovrintimer.dll") == nullptr;
}

} // namespace shutdown_test
