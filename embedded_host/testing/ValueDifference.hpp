#pragma once

#include <lua.h>

#include <string>

namespace tovrinhost {

/// Where two values of a script differ, in indented rows: for tables that do not fit in a line, each entry a row;
/// for texts of several lines, the lines; for long ones, the piece where they begin to differ.
/// \returns empty where the two values themselves, one below the other, show it as well
std::string valueDifference(lua_State* state, int expected, int actual);

} // namespace tovrinhost
