#pragma once

#include <lua.h>

#include <string>
#include <vector>

namespace tovrinhost {

/// Pushes a table of the methods of timer objects.
void pushMethods(lua_State* state);

/// Their names.
std::vector<std::string> methodNames();

} // namespace tovrinhost
