#include "embedded_host/timers/TimerProperties.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/timers/NearestName.hpp"
#include "embedded_host/timers/TimerMethods.hpp"

#include <lauxlib.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace tovrinhost {

using tovrintimer::BusyMode;
using tovrintimer::ExecutionMode;

namespace {

constexpr double shortestPeriod = 0.001;

/// The steady clock counts 292 years of nanoseconds, from a moment that may be some years ago.
constexpr double longestTime = 9e9;

/// Beyond it, not every whole number is a number.
constexpr double mostTasks = 9007199254740992.0;

bool getText(lua_State* state, int index, std::string& text)
{
    if (lua_type(state, index) != LUA_TSTRING) {
        return false;
    }
    text = textAt(state, index);
    return true;
}

bool getNumber(lua_State* state, int index, double& number)
{
    number = lua_tonumber(state, index);
    return lua_type(state, index) == LUA_TNUMBER;
}

template <typename Mode, std::size_t count>
bool getMode(lua_State* state, int index, const std::array<const char*, count>& names, Mode& mode)
{
    std::string text;
    if (!getText(state, index, text)) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (text == names[i]) {
            mode = static_cast<Mode>(i);
            return true;
        }
    }
    return false;
}

bool setName(lua_State* state, int index, TimerSettings& settings)
{
    return getText(state, index, settings.name) && !settings.name.empty();
}

bool setExecutionMode(lua_State* state, int index, TimerSettings& settings)
{
    return getMode(state, index, executionModeNames, settings.executionMode);
}

bool setBusyMode(lua_State* state, int index, TimerSettings& settings)
{
    return getMode(state, index, busyModeNames, settings.busyMode);
}

bool setPeriod(lua_State* state, int index, TimerSettings& settings)
{
    return getNumber(state, index, settings.periodSeconds) && settings.periodSeconds >= shortestPeriod
        && settings.periodSeconds <= longestTime;
}

bool setStartDelay(lua_State* state, int index, TimerSettings& settings)
{
    return getNumber(state, index, settings.startDelaySeconds) && settings.startDelaySeconds >= 0.0
        && settings.startDelaySeconds <= longestTime;
}

bool setTasksToExecute(lua_State* state, int index, TimerSettings& settings)
{
    double& tasks = settings.tasksToExecute;
    return getNumber(state, index, tasks) && tasks >= 1.0
        && (std::isinf(tasks) || (tasks <= mostTasks && tasks == std::floor(tasks)));
}

bool setTag(lua_State* state, int index, TimerSettings& settings)
{
    return getText(state, index, settings.tag);
}

bool setKeepsAlive(lua_State* state, int index, TimerSettings& settings)
{
    settings.keepsAlive = lua_toboolean(state, index) != 0;
    return lua_isboolean(state, index);
}

void pushTasksToExecute(lua_State* state, const TimerSettings& settings)
{
    if (std::isinf(settings.tasksToExecute)) {
        lua_pushnumber(state, settings.tasksToExecute);
    } else {
        lua_pushinteger(state, static_cast<lua_Integer>(settings.tasksToExecute));
    }
}

void pushLastError(lua_State* state, const ScriptTimer& timer)
{
    if (const auto& text = timer.lastError()) {
        lua_pushlstring(state, text->data(), text->size());
    } else {
        lua_pushnil(state);
    }
}

void pushRemaining(lua_State* state, const ScriptTimer& timer)
{
    if (const auto span = timer.untilNextDue()) {
        lua_pushnumber(state, std::max(0.0, toSeconds(*span)));
    } else {
        lua_pushnil(state);
    }
}

void pushNextTime(lua_State* state, const ScriptTimer& timer)
{
    if (const auto time = timer.nextTime()) {
        lua_pushnumber(state, toSecondsSince1970(*time));
    } else {
        lua_pushnil(state);
    }
}

const std::array<Property, 8> properties { {
    { "Name", "a string that is not empty", false, setName,
        [](lua_State* state, const TimerSettings& s) { lua_pushlstring(state, s.name.data(), s.name.size()); } },
    { "ExecutionMode", R"("SingleShot", "FixedSpacing", "FixedDelay" or "FixedRate")", false, setExecutionMode,
        [](lua_State* state, const TimerSettings& s) {
            lua_pushstring(state, executionModeNames.at(static_cast<std::size_t>(s.executionMode)));
        } },
    { "BusyMode", R"("Drop", "Queue" or "Error")", true, setBusyMode,
        [](lua_State* state, const TimerSettings& s) {
            lua_pushstring(state, busyModeNames.at(static_cast<std::size_t>(s.busyMode)));
        } },
    { "Period", "a number of seconds, at least 0.001 and at most 9000000000", true, setPeriod,
        [](lua_State* state, const TimerSettings& s) { lua_pushnumber(state, s.periodSeconds); } },
    { "StartDelay", "a number of seconds, at least 0 and at most 9000000000", false, setStartDelay,
        [](lua_State* state, const TimerSettings& s) { lua_pushnumber(state, s.startDelaySeconds); } },
    { "TasksToExecute", "a whole number, at least 1 and at most 9007199254740992, or math.huge", true,
        setTasksToExecute, pushTasksToExecute },
    { "Tag", "a string", true, setTag,
        [](lua_State* state, const TimerSettings& s) { lua_pushlstring(state, s.tag.data(), s.tag.size()); } },
    { "KeepsAlive", "true or false", true, setKeepsAlive,
        [](lua_State* state, const TimerSettings& s) { lua_pushboolean(state, s.keepsAlive ? 1 : 0); } },
} };

const std::array<ReadOnlyProperty, 7> readOnlyProperties { {
    { "Running", [](lua_State* state, const ScriptTimer& t) { lua_pushboolean(state, t.isRunning() ? 1 : 0); } },
    { "TasksExecuted",
        [](lua_State* state, const ScriptTimer& t) {
            lua_pushinteger(state, static_cast<lua_Integer>(t.tasksExecuted()));
        } },
    { "InstantPeriod", [](lua_State* state, const ScriptTimer& t) { lua_pushnumber(state, t.instantPeriod()); } },
    { "AveragePeriod", [](lua_State* state, const ScriptTimer& t) { lua_pushnumber(state, t.averagePeriod()); } },
    { "LastError", pushLastError },
    { "Remaining", pushRemaining },
    { "NextTime", pushNextTime },
} };

const std::array<CallbackProperty, 4> callbackProperties { {
    { "TimerFcn", nullptr, tovrintimer::TimerFcnWork },
    { "StartFcn", &TimerSettings::hasStartFcn, tovrintimer::StartFcnWork },
    { "StopFcn", &TimerSettings::hasStopFcn, tovrintimer::StopFcnWork },
    { "ErrorFcn", &TimerSettings::hasErrorFcn, tovrintimer::ErrorFcnWork },
} };

template <typename Properties>
auto find(const Properties& among, const std::string& name) -> const typename Properties::value_type*
{
    for (const auto& property : among) {
        if (name == property.name) {
            return &property;
        }
    }
    return nullptr;
}

template <typename Properties> void appendNames(std::vector<std::string>& names, const Properties& of)
{
    for (const auto& property : of) {
        names.emplace_back(property.name);
    }
}

std::vector<std::string> settableNames()
{
    std::vector<std::string> names;
    appendNames(names, properties);
    appendNames(names, callbackProperties);
    names.emplace_back(userDataProperty);
    return names;
}

std::string commaSeparated(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

} // namespace

const Property* findProperty(const std::string& name)
{
    return find(properties, name);
}

const ReadOnlyProperty* findReadOnlyProperty(const std::string& name)
{
    return find(readOnlyProperties, name);
}

const CallbackProperty* findCallbackProperty(const std::string& name)
{
    return find(callbackProperties, name);
}

std::vector<std::string> propertyNames()
{
    std::vector<std::string> names = settableNames();
    appendNames(names, readOnlyProperties);
    return names;
}

std::string describeUnknown(lua_State* state, int key, Use use)
{
    std::vector<std::string> names = use == Use::Assign ? settableNames() : propertyNames();
    std::string kind = "property ";
    std::string there = "he properties are " + commaSeparated(names);
    if (use == Use::Read) {
        const auto ofMethods = methodNames();
        kind += "or method ";
        there += "; the methods are " + commaSeparated(ofMethods);
        names.insert(names.end(), ofMethods.begin(), ofMethods.end());
    }
    std::string nearest;
    if (lua_type(state, key) == LUA_TSTRING) {
        nearest = nearestName(textAt(state, key), names);
    }
    return kind + describeValue(state, key) + "; "
        + (nearest.empty() ? "t" : "did you mean \"" + nearest + "\"? T") + there;
}

std::string textAt(lua_State* state, int index)
{
    std::size_t length = 0;
    const char* start = lua_tolstring(state, index, &length);
    return { start, length };
}

std::string describeValue(lua_State* state, int index)
{
    switch (lua_type(state, index)) {
    case LUA_TNONE:
        return "nothing";
    case LUA_TNIL:
        return "nil";
    case LUA_TBOOLEAN:
    case LUA_TNUMBER:
    case LUA_TSTRING:
        break;
    default:
        return std::string("a ") + luaL_typename(state, index);
    }
    if (std::isnan(lua_tonumber(state, index))) {
        return "nan"; // some platforms show a sign, too
    }
    std::size_t length = 0;
    const char* start = luaL_tolstring(state, index, &length);
    const std::string text = escape({ start, length });
    lua_pop(state, 1);
    return lua_type(state, index) == LUA_TSTRING ? '"' + text + '"' : text;
}

} // namespace tovrinhost
