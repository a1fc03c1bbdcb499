#pragma once

#include "host/foundation/tovrindata/Array.hpp"

#include <lua.h>

#include <string>

namespace tovrinhost {

// Host values to and from script values.
//
// characters: a string; numbers: a number, or a sequence of them where there is not exactly one; a record: a table
// by field name; several records: a sequence of such tables; an object: whatever was registered under its number;
// an empty array: nil.

/// Pushes a text, zero bytes included.
void pushText(lua_State* state, const std::string& text);

/// Pushes one value.
TOVRINHOST_API void pushArray(lua_State* state, const foundation::tovrindata::Array& array);

/// \throws std::invalid_argument for a value that has no counterpart
foundation::tovrindata::Array toArray(lua_State* state, int index);

/// To be called once, before anything else here.
void openLuaObjects(lua_State* state);

/// Registers the value on top of the stack as the object with this number, and pops it. It is registered for as
/// long as something else refers to it. nil takes it out again.
TOVRINHOST_API void setLuaObject(lua_State* state, lua_Integer number);

/// Pushes the object with this number; nil where there is none, or where it is being collected.
TOVRINHOST_API void pushLuaObject(lua_State* state, lua_Integer number);

/// Keeps the object with this number alive though nothing else refers to it.
/// \returns false where there is none, or where it is being collected
TOVRINHOST_API bool keepLuaObject(lua_State* state, lua_Integer number);

/// Keeps it no longer. Raises no error.
TOVRINHOST_API void releaseLuaObject(lua_State* state, lua_Integer number);

} // namespace tovrinhost
