#pragma once

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/timers/TimerSet.hpp"

#include <lua.h>

namespace tovrinhost {

/// Makes the metatable of timer objects. Once for each state.
void openTimerObjects(lua_State* state, TimerSet& timers);

/// The script function `timer`: takes a table of properties, gives a timer object.
int newTimerObject(lua_State* state);

/// Whether the value is a timer that has not been deleted.
bool isLiveTimer(lua_State* state, int index);

/// For a timer and the name of one of its callbacks, at the stack's bottom: pushes the function, or nil.
/// \returns 1, as a function that scripts call
int pushCallback(lua_State* state);

/// The timers of the script that is running.
TimerSet& timersOf(lua_State* state);

/// The deadline that an argument of a script function sets, in seconds from now.
/// \throws std::invalid_argument, beginning with `what`, if it is not a number from 0
EventLoop::Deadline deadlineArgument(lua_State* state, int index, const std::string& what);

} // namespace tovrinhost
