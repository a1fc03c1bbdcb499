#pragma once

#include "embedded_host/clock/NextTime.hpp"
#include "embedded_host/clock/WallClock.hpp"

#include <lua.h>

#include <string>

namespace tovrinhost {

/// Makes `date` and `nextTime` known to scripts.
void openWallTimes(lua_State* state);

/// The fields of a local time that an argument of a script function gives, a table.
/// \throws std::invalid_argument, beginning with `what`, if there is anything else in it
TimePattern timePatternArgument(lua_State* state, int index, const std::string& what);

/// The next moment that fits. \throws std::invalid_argument, beginning with `what`, if there is none
WallTime nextWallTime(lua_State* state, const TimePattern& pattern, const std::string& what);

/// The moment that an argument of a script function names: seconds since 1970, or a table of local time.
/// \throws std::invalid_argument, beginning with `what`, if it does not
WallTime wallTimeArgument(lua_State* state, int index, const std::string& what);

} // namespace tovrinhost
