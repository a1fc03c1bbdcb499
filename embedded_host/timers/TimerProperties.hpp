#pragma once

#include "embedded_host/timers/ScriptTimer.hpp"

#include <lua.h>

#include <string>
#include <vector>

namespace tovrinhost {

// The properties of a script's timer by name: what they may hold, and how they are read and written.

/// A property that a script sets.
struct Property {
    const char* name;
    const char* allowed; ///< "a number of seconds, at least 0.001 and at most 9000000000"
    bool changesWhileRunning;
    bool (*set)(lua_State* state, int index, TimerSettings& settings); ///< false: the value is not allowed
    void (*push)(lua_State* state, const TimerSettings& settings);
};

/// A property that tells of the timer's state.
struct ReadOnlyProperty {
    const char* name;
    void (*push)(lua_State* state, const ScriptTimer& timer);
};

/// A property that holds a function. The function itself stays in Lua.
struct CallbackProperty {
    const char* name;
    bool TimerSettings::*isThere; ///< null for the one that must always be there
    tovrintimer::WorkKind kind;
};

// Null where there is none of this name.
const Property* findProperty(const std::string& name);
const ReadOnlyProperty* findReadOnlyProperty(const std::string& name);
const CallbackProperty* findCallbackProperty(const std::string& name);

/// The property that holds any value of the script's. It stays in Lua.
constexpr const char* userDataProperty = "UserData";

/// The names of all properties.
std::vector<std::string> propertyNames();

/// What a script does with a name.
enum class Use {
    Assign, ///< to a property
    Look, ///< at a property
    Read, ///< a property, or a method
};

/// A key that is not one, and what there is: `property "Perod"; did you mean "Period"? The properties are ...`.
std::string describeUnknown(lua_State* state, int key, Use use);

/// A string at that place, zero bytes included.
std::string textAt(lua_State* state, int index);

/// A value as error messages show it.
std::string describeValue(lua_State* state, int index);

} // namespace tovrinhost
