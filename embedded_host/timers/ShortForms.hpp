#pragma once

#include <lua.h>

namespace tovrinhost {

/// Makes the functions known to scripts that are short forms of what timer objects do: `after` and `every` make a
/// timer and start it; `wait` and `waitAny` wait for several; `find` and `timers` look for those that there are.
void openShortForms(lua_State* state);

} // namespace tovrinhost
