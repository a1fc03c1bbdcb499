#include "embedded_host/status/platform/LinuxTerminalType.hpp"

#include <ncurses.h>
#include <term.h>
#include <unistd.h>

namespace tovrinhost::platform {

bool isTerminalTypeKnown()
{
    int why = 0; // else it would be written, and the process ended
    if (setupterm(nullptr, STDOUT_FILENO, &why) != OK) {
        return false;
    }
    del_curterm(cur_term);
    return true;
}

} // namespace tovrinhost::platform
