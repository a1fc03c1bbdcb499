#pragma once

#include "embedded_host/timers/TimerProperties.hpp"

#include <lua.h>

#include <string>

namespace tovrinhost {

// How scripts get at the properties of timer objects. Each object has a table of those values that stay in Lua:
// its callbacks, and its UserData.

/// Takes one property in: a setting into `settings`, what stays in Lua into the table at `values`.
/// \throws std::invalid_argument, which names the property and what is allowed; nothing is changed then
void setProperty(lua_State* state, int key, int value, TimerSettings& settings, int values);

/// The same for a callback. `who` begins the error.
void setCallback(lua_State* state, const CallbackProperty& property, int value, TimerSettings& settings,
    int values, const std::string& who);

/// Pushes the value of a property of this timer, whose object is at that index.
/// \returns false, and pushes nothing, where it has none of this name
bool pushProperty(lua_State* state, int object, const ScriptTimer& timer, const std::string& name);

/// \throws std::invalid_argument, beginning with `who`, if the value at `key` is not the name of a property
void requireProperty(lua_State* state, int key, const std::string& who);

/// Pushes a table of all properties of the timer at the stack's bottom that have a value.
int pushProperties(lua_State* state);

// Metamethods of timer objects.
int assignProperty(lua_State* state);
int readProperty(lua_State* state); ///< upvalue: the table of methods
int iterateProperties(lua_State* state); ///< upvalue: the function `next`

} // namespace tovrinhost
