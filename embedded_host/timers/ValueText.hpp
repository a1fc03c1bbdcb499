#pragma once

#include <lua.h>

#include <cstddef>
#include <string>

namespace tovrinhost {

/// How much of a value is shown. As it stands, as much as a reader takes in.
struct ValueLimits {
    std::size_t deepest = 4; ///< tables within tables
    std::size_t mostOfTable = 100; ///< entries
    std::size_t mostOfAll = 1000; ///< entries of all tables
    std::size_t longestText = 1000; ///< bytes
    std::size_t rowWidth = 76; ///< of a table in one line; 0: each entry has its own
};

/// A value as people read it: texts in quotes, tables with what they hold, timers with their properties.
///
/// A table stands in one line if it fits, else each entry has its own: first the sequence, then the other entries
/// in the order of their keys. What is too deep, too much or within itself is left out and marked. A value whose
/// metatable has __tostring is shown as that says; its errors are raised.
///
/// Threading: the interpreter thread, in a protected call.
std::string valueText(lua_State* state, int index, const ValueLimits& limits = {});

} // namespace tovrinhost
