#pragma once

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/engine/Interpreter.hpp"
#include "embedded_host/engine/Interruption.hpp"
#include "embedded_host/timers/TimerSet.hpp"

#include <lua.h>

#include <exception>
#include <optional>
#include <stdexcept>
#include <string>

namespace tovrinhost {

// The objects that scripts have of their timers.
//
// An object and its timer refer to each other by the timer's number. While the timer is busy, the object is kept;
// of a quiet one, it is the script's: once nothing there refers to it any more it is collected, and its timer
// given up.

/// Makes the metatable of timer objects. Once for each state.
void openTimerObjects(Interpreter& interpreter, TimerSet& timers);

/// The script function `timer`: takes a table of properties, gives a timer object.
int newTimerObject(lua_State* state);

/// Whether the value is a timer that has not been deleted.
bool isLiveTimer(lua_State* state, int index);

/// Makes a timer. Takes the table of those of its values that stay in Lua off the stack, and pushes its object.
ScriptTimer& pushNewTimer(lua_State* state, TimerSettings settings);

/// Starts a timer, at once or at a moment; its object is kept from now on until it is quiet.
/// \throws std::runtime_error, which names it, for what keeps it from being started
void startTimer(lua_State* state, ScriptTimer& timer, const std::optional<WallTime>& moment = std::nullopt);

/// \returns null where there is no timer object \throws std::logic_error if that has been deleted or collected
ScriptTimer* timerAt(lua_State* state, int index);

/// The timer whose object is at the stack's bottom. Raises an error where there is none.
ScriptTimer& liveTimer(lua_State* state);

/// Puts a callback of the timer whose object is at that index, the function or nil, in the place of its name,
/// which is on top of the stack. \returns the timer \throws std::logic_error if there is none, or if it has been
/// deleted or collected
ScriptTimer& nameToCallback(lua_State* state, int index);

/// The timers of the script that is running.
TimerSet& timersOf(lua_State* state);

/// The deadline that an argument of a script function sets, in seconds from now.
/// \throws std::invalid_argument, beginning with `what`, if it is not a number from 0
EventLoop::Deadline deadlineArgument(lua_State* state, int index, const std::string& what);

/// As errors call it: `timer "poll"`.
std::string label(const TimerSettings& settings);

/// Calls an operation of the timer, whose errors do not name it.
template <typename Operation> auto named(const ScriptTimer& timer, Operation operation)
{
    try {
        return operation();
    } catch (const Interrupted&) {
        throw;
    } catch (const std::exception& error) {
        throw std::runtime_error(label(timer.settings()) + ": " + error.what());
    }
}

} // namespace tovrinhost
