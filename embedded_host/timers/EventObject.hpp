#pragma once

#include <lua.h>

#include <cstdint>

namespace tovrinhost {

// The event of a callback, and what it tells of the callback's firing: Due, one of `now`'s seconds; Lateness, the
// seconds from then to the callback's beginning; Missed, how many firings were dropped before it. They are made
// when one of them is first asked for, since three fields more would be dear for callbacks that do not. The log
// must hold the firing still.

/// To be called once, before the other.
void openEvents(lua_State* state);

/// Has the event at this place tell of a firing.
void joinToFiring(lua_State* state, int event, std::uint64_t firing);

} // namespace tovrinhost
