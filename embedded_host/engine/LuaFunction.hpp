#pragma once

#include "embedded_host/engine/Interruption.hpp"
#include "embedded_host/engine/RunningCode.hpp"

#include <lauxlib.h>
#include <lua.h>

#include <exception>

namespace tovrinhost {

/// Makes a C++ function callable from scripts: what it throws becomes an error of the script, at its line. Texts
/// of these errors end at a zero byte, so that what they quote is to be escaped.
///
/// The Lua library is the one that raises its errors as C++ exceptions, so destructors run in either direction.
template <lua_CFunction function> int luaFunction(lua_State* state)
{
    try {
        return function(state);
    } catch (const Interrupted&) {
        // Below: no error is raised from within a handler.
    } catch (const std::exception& error) {
        lua_settop(state, 0);
        luaL_where(state, 1);
        lua_pushstring(state, error.what());
        lua_concat(state, 2);
        return lua_error(state);
    }
    return RunningCode::giveUp(state);
}

} // namespace tovrinhost
