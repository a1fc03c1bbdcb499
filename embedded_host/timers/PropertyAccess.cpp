#include "embedded_host/timers/PropertyAccess.hpp"

#include "embedded_host/timers/TimerObject.hpp"

#include <lauxlib.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tovrinhost {

namespace {

[[noreturn]] void failUnknown(lua_State* state, int key, const std::string& who, Use use)
{
    throw std::invalid_argument(who + " has no " + describeUnknown(state, key, use));
}

[[noreturn]] void failValue(
    lua_State* state, int value, const std::string& who, const std::string& name, const std::string& allowed)
{
    throw std::invalid_argument(
        who + ": " + name + " is " + describeValue(state, value) + ", but must be " + allowed);
}

/// Where a function of the script's is defined: "script.lua:5". Empty for others, and for what is no function.
std::string placeOfFunction(lua_State* state, int index)
{
    lua_Debug function {};
    if (!lua_isfunction(state, index) || lua_iscfunction(state, index) != 0) {
        return "";
    }
    lua_pushvalue(state, index);
    lua_getinfo(state, ">S", &function);
    return std::string(function.short_src) + ":" + std::to_string(function.linedefined);
}

void failIfFixedWhileRunning(const ScriptTimer& timer, const std::string& name)
{
    const Property* property = findProperty(name);
    if (property != nullptr && !property->changesWhileRunning && timer.isRunning()) {
        throw std::invalid_argument(label(timer.settings()) + ": " + name
            + " cannot be changed while the timer is running; stop it first");
    }
}

} // namespace

void setCallback(lua_State* state, const CallbackProperty& property, int value, TimerSettings& settings,
    int values, const std::string& who)
{
    const bool isThere = lua_isfunction(state, value);
    const bool mayGo = property.isThere != nullptr;
    if (!isThere && !(mayGo && lua_isnil(state, value))) {
        failValue(state, value, who, property.name, mayGo ? "a function or nil" : "a function");
    }
    if (mayGo) {
        settings.*property.isThere = isThere;
    }
    settings.places.at(TimerDescription::indexOf(property.kind)) = placeOfFunction(state, value);
    lua_pushvalue(state, value);
    lua_setfield(state, values, property.name);
}

void setProperty(lua_State* state, int key, int value, TimerSettings& settings, int values)
{
    const std::string who = label(settings);
    if (lua_type(state, key) != LUA_TSTRING) {
        failUnknown(state, key, who, Use::Assign);
    }
    const std::string name = textAt(state, key);
    if (const Property* property = findProperty(name)) {
        if (!property->set(state, value, settings)) {
            failValue(state, value, who, name, property->allowed);
        }
    } else if (const CallbackProperty* callback = findCallbackProperty(name)) {
        setCallback(state, *callback, value, settings, values, who);
    } else if (name == userDataProperty) {
        lua_pushvalue(state, value);
        lua_setfield(state, values, userDataProperty);
    } else if (findReadOnlyProperty(name) != nullptr) {
        throw std::invalid_argument(who + ": " + name + " is read-only");
    } else {
        failUnknown(state, key, who, Use::Assign);
    }
}

bool pushProperty(lua_State* state, int object, const ScriptTimer& timer, const std::string& name)
{
    if (const Property* property = findProperty(name)) {
        property->push(state, timer.settings());
    } else if (const ReadOnlyProperty* readOnly = findReadOnlyProperty(name)) {
        readOnly->push(state, timer);
    } else if (findCallbackProperty(name) != nullptr || name == userDataProperty) {
        lua_getiuservalue(state, object, 1);
        lua_getfield(state, -1, name.c_str());
        lua_remove(state, -2);
    } else {
        return false;
    }
    return true;
}

void requireProperty(lua_State* state, int key, const std::string& who)
{
    const std::string name = lua_type(state, key) == LUA_TSTRING ? textAt(state, key) : "";
    const auto names = propertyNames();
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        failUnknown(state, key, who, Use::Look);
    }
}

int pushProperties(lua_State* state)
{
    const ScriptTimer& timer = liveTimer(state);
    const auto names = propertyNames();
    lua_createtable(state, 0, static_cast<int>(names.size()));
    for (const std::string& name : names) {
        pushProperty(state, 1, timer, name);
        lua_setfield(state, -2, name.c_str());
    }
    return 1;
}

/// __newindex(timer, key, value)
int assignProperty(lua_State* state)
{
    ScriptTimer& timer = liveTimer(state);
    if (lua_type(state, 2) == LUA_TSTRING) {
        failIfFixedWhileRunning(timer, textAt(state, 2));
    }
    TimerSettings settings = timer.settings();
    lua_getiuservalue(state, 1, 1);
    setProperty(state, 2, 3, settings, lua_gettop(state));
    try {
        timer.change(std::move(settings));
    } catch (const std::invalid_argument& refusal) {
        failValue(state, 3, label(timer.settings()), textAt(state, 2), refusal.what());
    }
    return 0;
}

/// __index(timer, key)
int readProperty(lua_State* state)
{
    const ScriptTimer& timer = liveTimer(state);
    if (lua_type(state, 2) == LUA_TSTRING && pushProperty(state, 1, timer, textAt(state, 2))) {
        return 1;
    }
    lua_pushvalue(state, 2);
    if (lua_rawget(state, lua_upvalueindex(1)) == LUA_TNIL) {
        failUnknown(state, 2, label(timer.settings()), Use::Read);
    }
    return 1;
}

/// __pairs(timer)
int iterateProperties(lua_State* state)
{
    lua_pushvalue(state, lua_upvalueindex(1));
    pushProperties(state);
    lua_pushnil(state);
    return 3;
}

} // namespace tovrinhost
