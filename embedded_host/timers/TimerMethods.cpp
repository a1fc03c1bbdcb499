#include "embedded_host/timers/TimerMethods.hpp"

#include "embedded_host/engine/Interpreter.hpp"
#include "embedded_host/engine/LuaArrays.hpp"
#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/timers/PropertyAccess.hpp"
#include "embedded_host/timers/TimerObject.hpp"
#include "embedded_host/timers/TimerStatistics.hpp"
#include "embedded_host/timers/WallTimes.hpp"

#include <lauxlib.h>

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>

namespace tovrinhost {

namespace {

/// The timer that a method is called on.
ScriptTimer& calledOn(lua_State* state, const std::string& method)
{
    ScriptTimer* const timer = timerAt(state, 1);
    if (timer == nullptr) {
        throw std::invalid_argument(method + ": call it with a colon, t:" + method + "()");
    }
    return *timer;
}

/// t:start()
int start(lua_State* state)
{
    startTimer(state, calledOn(state, "start"));
    lua_settop(state, 1);
    return 1;
}

/// t:startAt(time)
int startAt(lua_State* state)
{
    ScriptTimer& timer = calledOn(state, "startAt");
    startTimer(state, timer, wallTimeArgument(state, 2, label(timer.settings()) + ": the time of startAt"));
    lua_settop(state, 1);
    return 1;
}

/// t:stop()
int stop(lua_State* state)
{
    ScriptTimer& timer = calledOn(state, "stop");
    lua_pushboolean(state, named(timer, [&] { return timer.stop(); }) ? 1 : 0);
    return 1;
}

/// t:wait([seconds])
int wait(lua_State* state)
{
    ScriptTimer& timer = calledOn(state, "wait");
    EventLoop::Deadline deadline;
    if (!lua_isnoneornil(state, 2)) {
        deadline = deadlineArgument(state, 2, label(timer.settings()) + ": the limit of wait");
    }
    const Interpreter::Nested nested(state, label(timer.settings()));
    if (!named(timer, [&] { return timer.wait(deadline); })) {
        lua_pushboolean(state, 0);
        return 1;
    }
    lua_pushboolean(state, 1);
    if (const auto& reason = timer.endReason()) {
        lua_pushstring(state, nameOf(*reason));
    } else {
        lua_pushnil(state); // it has had no run
    }
    return 2;
}

/// t:delete()
int destroy(lua_State* state)
{
    ScriptTimer& timer = calledOn(state, "delete");
    const Interpreter::Nested nested(state, label(timer.settings()));
    named(timer, [&] { timersOf(state).destroy(timer); });
    if (!timer.isDeleted()) {
        return 0; // asked for by one of its last callbacks; there may be more of them
    }
    lua_newtable(state); // what it refers to goes
    lua_setiuservalue(state, 1, 1);
    const auto number = static_cast<lua_Integer>(timer.number());
    releaseLuaObject(state, number);
    lua_pushnil(state);
    setLuaObject(state, number);
    return 0;
}

/// t:explain([run])
int explain(lua_State* state)
{
    const ScriptTimer& timer = calledOn(state, "explain");
    std::optional<std::uint64_t> run;
    if (!lua_isnoneornil(state, 2)) {
        int isWhole = 0;
        const lua_Integer number = lua_tointegerx(state, 2, &isWhole);
        if (lua_type(state, 2) != LUA_TNUMBER || isWhole == 0 || number < 1) {
            throw std::invalid_argument(label(timer.settings()) + ": the run of explain is "
                + describeValue(state, 2) + ", but must be a whole number, at least 1");
        }
        run = static_cast<std::uint64_t>(number);
    }
    const std::string text = named(timer, [&] { return timer.explain(run); });
    lua_pushlstring(state, text.data(), text.size());
    return 1;
}

/// t:statistics()
int statistics(lua_State* state)
{
    pushStatistics(state, calledOn(state, "statistics"), timersOf(state).diagnosis());
    return 1;
}

/// t:properties()
int allProperties(lua_State* state)
{
    calledOn(state, "properties");
    return pushProperties(state);
}

constexpr auto methods = std::to_array<luaL_Reg>({ { "start", luaFunction<start> },
    { "startAt", luaFunction<startAt> }, { "stop", luaFunction<stop> }, { "wait", luaFunction<wait> },
    { "delete", luaFunction<destroy> }, { "properties", luaFunction<allProperties> },
    { "explain", luaFunction<explain> }, { "statistics", luaFunction<statistics> } });

} // namespace

void pushMethods(lua_State* state)
{
    lua_newtable(state);
    for (const luaL_Reg& method : methods) {
        lua_pushcfunction(state, method.func);
        lua_setfield(state, -2, method.name);
    }
}

std::vector<std::string> methodNames()
{
    std::vector<std::string> names;
    names.reserve(methods.size());
    for (const luaL_Reg& method : methods) {
        names.emplace_back(method.name);
    }
    return names;
}

} // namespace tovrinhost
