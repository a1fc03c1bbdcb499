#include "tests/c_interface/platform/Platform.hpp"

#include <poll.h>

bool c_interface_tests::isReady(std::intptr_t native, int milliseconds)
{
    pollfd waiting { static_cast<int>(native), POLLIN, 0 };
    return poll(&waiting, 1, milliseconds) == 1 && (waiting.revents & POLLIN) != 0;
}
