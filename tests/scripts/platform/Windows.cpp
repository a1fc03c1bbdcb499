#include "tests/scripts/platform/Platform.hpp"

#include <windows.h>

namespace scripts::platform {

const char* whyNoControlC()
{
    return "a Ctrl-C comes from a console, and the tests' processes have none that they share";
}

// It cannot be meant for one process, and so is not sent: see above.
void pressControlC(int process)
{
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, static_cast<DWORD>(process));
}

// The permissions that the tests take away are not those that this system asks.
bool mayReadEverything()
{
    return true;
}

} // namespace scripts::platform
