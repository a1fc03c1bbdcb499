#include "tests/c_interface/platform/Platform.hpp"

#include <windows.h>

bool c_interface_tests::isReady(std::intptr_t native, int milliseconds)
{
    return WaitForSingleObject(reinterpret_cast<HANDLE>(native), static_cast<DWORD>(milliseconds))
        == WAIT_OBJECT_0;
}
