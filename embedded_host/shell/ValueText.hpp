#pragma once

#include <lua.h>

#include <string>

namespace tovrinhost {

/// A value as the shell shows it: texts in quotes, tables with what they hold, timers with their properties.
///
/// A table stands in one line if it fits, else each entry has its own: first the sequence, then the other entries
/// in the order of their keys. What is too deep, too much or within itself is left out and marked. A value whose
/// metatable has __tostring is shown as that says; its errors are raised.
///
/// Threading: the interpreter thread, in a protected call.
std::string valueText(lua_State* state, int index);

} // namespace tovrinhost
