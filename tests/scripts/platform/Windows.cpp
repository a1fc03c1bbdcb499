#include "tests/scripts/platform/Platform.hpp"

#include <windows.h>

namespace scripts::platform {

const char* whyNoControlC()
{
    return "a Ctrl-C comes from a console, and the tests' processes have none that they share";
}

// A Ctrl-C cannot be meant for one process; the program takes both for the same.
void pressControlC(int process)
{
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, static_cast<DWORD>(process));
}

// The permissions that the tests take away are not those that this system asks.
bool mayReadEverything()
{
    return true;
}

} // namespace scripts::platform
