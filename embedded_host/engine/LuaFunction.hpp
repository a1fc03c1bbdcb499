#pragma once

#include "embedded_host/engine/Interpreter.hpp"

#include <lauxlib.h>
#include <lua.h>

#include <exception>

namespace tovrinhost {

/// Makes a C++ function callable from scripts: what it throws becomes an error of the script, at its line.
///
/// The Lua library is the one that raises its errors as C++ exceptions, so destructors run in either direction.
template <lua_CFunction function> int luaFunction(lua_State* state)
{
    try {
        return function(state);
    } catch (const std::exception& error) {
        Interpreter::lookAtInterruption(state);
        luaL_where(state, 1);
        lua_pushstring(state, error.what());
        lua_concat(state, 2);
    }
    return lua_error(state);
}

} // namespace tovrinhost
