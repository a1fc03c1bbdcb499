#pragma once

#include <lua.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tovrinhost {

/// What may stand at a place of the input instead of its beginning there.
struct Completion {
    std::size_t begin = 0; ///< where the word begins that is to be completed
    std::vector<std::string> words; ///< in order, each once
};

/// Globals; fields and methods of tables and texts; properties and methods of timers; in quotes, modes and names
/// of timers. Looks at what there is and runs no code of scripts.
///
/// Threading: the interpreter thread, in a protected call.
Completion complete(lua_State* state, std::string_view text, std::size_t cursor);

} // namespace tovrinhost
