#include "embedded_host/testing/TestLanguage.hpp"

#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/testing/ClockFunctions.hpp"
#include "embedded_host/testing/ValueDifference.hpp"
#include "embedded_host/timers/NearestName.hpp"
#include "embedded_host/timers/TimerProperties.hpp"
#include "embedded_host/timers/ValueText.hpp"

#include <lauxlib.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace tovrinhost {

namespace {

Findings& findingsOf(lua_State* state)
{
    return *static_cast<Findings*>(lua_touserdata(state, lua_upvalueindex(1)));
}

/// expectError([text])
int expectError(lua_State* state)
{
    if (!lua_isnoneornil(state, 1) && lua_type(state, 1) != LUA_TSTRING) {
        throw std::invalid_argument(
            "expectError: the text is " + describeValue(state, 1) + ", but must be a string");
    }
    findingsOf(state).expectError(positionInFile(state), lua_isnoneornil(state, 1) ? "" : textAt(state, 1));
    return 0;
}

/// os.exit()
int refuseToExit(lua_State* state)
{
    findingsOf(state).exitWasCalled(positionInFile(state));
    throw std::logic_error("os.exit: a test must not end the program");
}

// ---- What expect.lua is given

void pushAsText(lua_State* state, const std::string& text)
{
    lua_pushlstring(state, text.data(), text.size());
}

/// show(value)
int show(lua_State* state)
{
    pushAsText(state, valueText(state, 1));
    return 1;
}

/// difference(expected, actual)
int showDifference(lua_State* state)
{
    const std::string text = valueDifference(state, 1, 2);
    if (text.empty()) {
        lua_pushnil(state);
    } else {
        pushAsText(state, text);
    }
    return 1;
}

/// nearest(word, names)
int nearest(lua_State* state)
{
    std::vector<std::string> names;
    for (lua_Integer place = 1; lua_rawgeti(state, 2, place) != LUA_TNIL; ++place) {
        names.push_back(textAt(state, -1));
        lua_pop(state, 1);
    }
    const std::string name = nearestName(textAt(state, 1), names);
    if (name.empty()) {
        lua_pushnil(state);
    } else {
        pushAsText(state, name);
    }
    return 1;
}

/// fail(text)
int fail(lua_State* state)
{
    const std::string message = positionInFile(state) + textAt(state, 1);
    findingsOf(state).expectationFails(message);
    pushAsText(state, message);
    return lua_error(state);
}

/// Pushes what expect.lua returns.
void loadExpect(lua_State* state, Findings& findings)
{
    constexpr auto functions
        = std::to_array<luaL_Reg>({ { "show", luaFunction<show> }, { "difference", luaFunction<showDifference> },
            { "nearest", luaFunction<nearest> }, { "fail", fail }, { nullptr, nullptr } });
    if (luaL_loadbufferx(state, expectSource.data(), expectSource.size(), "=expect", "t") != LUA_OK) {
        lua_error(state);
    }
    lua_newtable(state);
    lua_pushlightuserdata(state, &findings);
    luaL_setfuncs(state, functions.data(), 1);
    lua_call(state, 1, 1);
}

} // namespace

std::string positionInFile(lua_State* state)
{
    lua_Debug call {};
    for (int level = 1; lua_getstack(state, level, &call) != 0; ++level) {
        lua_getinfo(state, "Sl", &call);
        if (*call.source == '@' && call.currentline > 0) {
            return escape(call.short_src) + ':' + std::to_string(call.currentline) + ": ";
        }
    }
    return "";
}

void openTestLanguage(lua_State* state, TestBench& bench)
{
    bench.list.open(state);
    openClock(state, bench.clock);
    loadExpect(state, bench.findings);
    lua_setglobal(state, "expect");

    lua_pushlightuserdata(state, &bench.findings);
    lua_pushcclosure(state, luaFunction<expectError>, 1);
    lua_setglobal(state, "expectError");

    lua_getglobal(state, "os");
    lua_pushlightuserdata(state, &bench.findings);
    lua_pushcclosure(state, luaFunction<refuseToExit>, 1);
    lua_setfield(state, -2, "exit");
    lua_pop(state, 1);
}

} // namespace tovrinhost
