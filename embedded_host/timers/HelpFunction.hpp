#pragma once

#include <lua.h>

namespace tovrinhost {

/// Makes `help` known to scripts: it prints the reference of the language, docs/language.md.
void openHelp(lua_State* state);

} // namespace tovrinhost
