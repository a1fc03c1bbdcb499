#pragma once

#include "embedded_host/clock/WallClock.hpp"

#include <lua.h>

#include <string>

namespace tovrinhost {

/// Makes `date` and `nextTime` known to scripts.
void openWallTimes(lua_State* state);

/// The moment that an argument of a script function names: seconds since 1970, or a table of local time.
/// \throws std::invalid_argument, beginning with `what`, if it does not
WallTime wallTimeArgument(lua_State* state, int index, const std::string& what);

} // namespace tovrinhost
