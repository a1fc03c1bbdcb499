#include "embedded_host/timers/EventObject.hpp"

#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/timers/TimerObject.hpp"

namespace tovrinhost {

namespace {

/// Their addresses are the keys of the firing's number in an event, and of the events' metatable in the registry.
const char firingKey = 0;
const char eventsKey = 0;

void setSeconds(lua_State* state, const char* field, Nanoseconds span)
{
    lua_pushstring(state, field);
    lua_pushnumber(state, static_cast<double>(span) / 1e9);
    lua_rawset(state, 1);
}

/// Makes the fields of the event at the stack's bottom, once.
void makeFields(lua_State* state)
{
    lua_rawgetp(state, 1, &firingKey);
    const auto number = static_cast<std::uint64_t>(lua_tointeger(state, -1));
    lua_pop(state, 1);
    if (number == 0) {
        return;
    }
    lua_pushnil(state);
    lua_rawsetp(state, 1, &firingKey);
    const FiringLog& log = timersOf(state).diagnosis().log();
    if (const auto firing = log.find(number)) {
        setSeconds(state, "Due", firing->due - log.beginning());
        setSeconds(state, "Lateness", firing->lateness());
        lua_pushliteral(state, "Missed");
        lua_pushinteger(state, static_cast<lua_Integer>(firing->missed));
        lua_rawset(state, 1);
    }
}

/// __index(event, key)
int readField(lua_State* state)
{
    luaL_checktype(state, 1, LUA_TTABLE);
    makeFields(state);
    lua_settop(state, 2);
    lua_rawget(state, 1);
    return 1;
}

/// __pairs(event)
int allFields(lua_State* state)
{
    luaL_checktype(state, 1, LUA_TTABLE);
    makeFields(state);
    lua_getglobal(state, "next");
    lua_pushvalue(state, 1);
    return 2;
}

} // namespace

void openEvents(lua_State* state)
{
    lua_createtable(state, 0, 3);
    lua_pushcfunction(state, luaFunction<readField>);
    lua_setfield(state, -2, "__index");
    lua_pushcfunction(state, luaFunction<allFields>);
    lua_setfield(state, -2, "__pairs");
    lua_pushliteral(state, "event");
    lua_setfield(state, -2, "__metatable");
    lua_rawsetp(state, LUA_REGISTRYINDEX, &eventsKey);
}

void joinToFiring(lua_State* state, int event, std::uint64_t firing)
{
    lua_pushinteger(state, static_cast<lua_Integer>(firing));
    lua_rawsetp(state, event, &firingKey);
    lua_rawgetp(state, LUA_REGISTRYINDEX, &eventsKey);
    lua_setmetatable(state, event);
}

} // namespace tovrinhost
