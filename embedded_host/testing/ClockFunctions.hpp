#pragma once

#include "embedded_host/testing/VirtualWorld.hpp"

#include <lua.h>

namespace tovrinhost {

/// Makes `clock` known: advance, next, settle, now. The clock has to outlive the state.
void openClock(lua_State* state, TestClock& clock);

/// Runs what is due now until nothing is.
/// \returns whether a callback was among it
/// \throws std::runtime_error, beginning with `caller`, if there is no end of it; Interrupted
bool settle(lua_State* state, TestClock& clock, const char* caller);

} // namespace tovrinhost
