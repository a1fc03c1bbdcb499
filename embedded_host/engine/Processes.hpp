#pragma once

#include "host/Export.hpp"

#include <lua.h>

namespace tovrinhost {

/// Makes Ctrl-C reach scripts that run other programs: a program that it has ended, by `os.execute` or `io.popen`,
/// interrupts the script, as it does while `os.execute` waits. Their results are those of Lua's own functions.
TOVRINHOST_API void openProcesses(lua_State* state);

} // namespace tovrinhost
