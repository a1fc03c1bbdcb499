#include "embedded_host/timers/TimerObject.hpp"

#include "embedded_host/engine/LuaArrays.hpp"
#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/timers/PropertyAccess.hpp"
#include "embedded_host/timers/TimerMethods.hpp"

#include <lauxlib.h>

#include <array>
#include <memory>
#include <new>
#include <utility>

namespace tovrinhost {

namespace {

constexpr const char* timerType = "tovrin.timer";

/// Their addresses are the registry keys of the TimerSet and of the timers' metatable: quicker than by name.
const char timerSetKey = 0;
const char metatableKey = 0;

using Handle = std::shared_ptr<ScriptTimer>;

lua_Integer numberOf(const ScriptTimer& timer)
{
    return static_cast<lua_Integer>(timer.number());
}

/// What the timer object at that index holds: nothing once it has been collected. Finalizers may still reach it
/// then.
/// \returns null where there is no timer object
Handle* findHandle(lua_State* state, int index)
{
    if (lua_type(state, index) != LUA_TUSERDATA || lua_getmetatable(state, index) == 0) {
        return nullptr;
    }
    lua_rawgetp(state, LUA_REGISTRYINDEX, &metatableKey);
    const bool isTimer = lua_rawequal(state, -1, -2) != 0;
    lua_pop(state, 2);
    return isTimer ? static_cast<Handle*>(lua_touserdata(state, index)) : nullptr;
}

Handle& handleOf(lua_State* state)
{
    Handle* const handle = findHandle(state, 1);
    if (handle == nullptr) {
        luaL_typeerror(state, 1, timerType);
    }
    return *handle;
}

ScriptTimer& liveTimer(const Handle& timer)
{
    if (!timer) {
        throw std::logic_error("the timer has been collected");
    }
    if (timer->isDeleted()) {
        throw std::logic_error(label(timer->settings()) + " has been deleted");
    }
    return *timer;
}

/// Tells the collector of a timer's memory outside Lua: else a script that holds much would have very many timers
/// that nobody holds any more before the collector comes.
void countMemory(lua_State* state)
{
    constexpr int kilobytes = 2; // with a run
    if (lua_gc(state, LUA_GCISRUNNING) != 0) {
        lua_gc(state, LUA_GCSTEP, kilobytes);
    }
}

/// __tostring
int toString(lua_State* state)
{
    const Handle& timer = handleOf(state);
    if (!timer) {
        lua_pushliteral(state, "timer (collected)");
        return 1;
    }
    const char* status = timer->isDeleted() ? " (deleted)" : timer->isRunning() ? " (running)" : " (stopped)";
    const std::string text = label(timer->settings()) + status;
    lua_pushlstring(state, text.data(), text.size());
    return 1;
}

/// __gc. What is left, an empty handle, needs no destructor.
int collect(lua_State* state)
{
    if (const Handle timer = std::exchange(handleOf(state), nullptr)) {
        timersOf(state).giveUp(*timer);
    }
    return 0;
}

void makeMetatable(lua_State* state)
{
    luaL_newmetatable(state, timerType);
    lua_pushvalue(state, -1);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &metatableKey);
    constexpr auto metamethods = std::to_array<luaL_Reg>({ { "__newindex", luaFunction<assignProperty> },
        { "__tostring", luaFunction<toString> }, { "__gc", luaFunction<collect> }, { nullptr, nullptr } });
    luaL_setfuncs(state, metamethods.data(), 0);
    pushMethods(state);
    lua_pushcclosure(state, luaFunction<readProperty>, 1);
    lua_setfield(state, -2, "__index");
    lua_getglobal(state, "next");
    lua_pushcclosure(state, luaFunction<iterateProperties>, 1);
    lua_setfield(state, -2, "__pairs");
    lua_pushliteral(state, "timer");
    lua_setfield(state, -2, "__metatable");
    lua_pop(state, 1);
}

} // namespace

void openTimerObjects(Interpreter& interpreter, TimerSet& timers)
{
    interpreter.protect([&timers](lua_State* state) {
        lua_pushlightuserdata(state, &timers);
        lua_rawsetp(state, LUA_REGISTRYINDEX, &timerSetKey);
        makeMetatable(state);
        return 0;
    });
    timers.whenQuiet([&interpreter](const ScriptTimer& timer) {
        interpreter.protect([number = numberOf(timer)](lua_State* state) {
            releaseLuaObject(state, number);
            return 0;
        });
    });
}

int newTimerObject(lua_State* state)
{
    if (!lua_istable(state, 1)) {
        throw std::invalid_argument("timer: takes a table of properties, not " + describeValue(state, 1));
    }
    lua_settop(state, 1);
    lua_newtable(state);
    TimerSettings settings;
    // The name first, so that the errors of the other properties bear it.
    if (lua_getfield(state, 1, "Name") != LUA_TNIL) {
        lua_pushliteral(state, "Name");
        setProperty(state, 4, 3, settings, 2);
    }
    lua_settop(state, 2);
    for (lua_pushnil(state); lua_next(state, 1) != 0; lua_pop(state, 1)) {
        setProperty(state, 3, 4, settings, 2);
    }
    if (lua_getfield(state, 2, "TimerFcn") == LUA_TNIL) {
        lua_pushliteral(state, "TimerFcn");
        setProperty(state, 4, 3, settings, 2); // says that it must be given
    }
    lua_settop(state, 2);
    pushNewTimer(state, std::move(settings));
    return 1;
}

bool isLiveTimer(lua_State* state, int index)
{
    const Handle* const timer = findHandle(state, index);
    return timer != nullptr && *timer && !(*timer)->isDeleted();
}

ScriptTimer& pushNewTimer(lua_State* state, TimerSettings settings)
{
    void* const place = lua_newuserdatauv(state, sizeof(Handle), 1);
    auto* const handle = new (place) Handle;
    luaL_setmetatable(state, timerType);
    lua_insert(state, -2);
    lua_setiuservalue(state, -2, 1);
    *handle = timersOf(state).create(std::move(settings));
    countMemory(state);
    lua_pushvalue(state, -1);
    setLuaObject(state, numberOf(**handle));
    return **handle;
}

void startTimer(lua_State* state, ScriptTimer& timer, const std::optional<WallTime>& moment)
{
    if (!keepLuaObject(state, numberOf(timer))) {
        throw std::logic_error(label(timer.settings()) + " is being collected; it cannot be started any more");
    }
    const auto releaseIfQuiet = [&] {
        if (timer.isQuiet()) {
            releaseLuaObject(state, numberOf(timer));
        }
    };
    try {
        named(timer, [&] { moment ? timer.startAt(*moment) : timer.start(); });
    } catch (...) {
        releaseIfQuiet();
        throw;
    }
    releaseIfQuiet();
}

ScriptTimer* timerAt(lua_State* state, int index)
{
    const Handle* const timer = findHandle(state, index);
    return timer == nullptr ? nullptr : &liveTimer(*timer);
}

ScriptTimer& liveTimer(lua_State* state)
{
    return liveTimer(handleOf(state));
}

ScriptTimer& nameToCallback(lua_State* state, int index)
{
    ScriptTimer* const timer = timerAt(state, index);
    if (timer == nullptr) {
        throw std::logic_error("a callback was to be called of what is no timer");
    }
    lua_getiuservalue(state, index, 1);
    lua_insert(state, -2);
    lua_rawget(state, -2);
    lua_remove(state, -2);
    return *timer;
}

TimerSet& timersOf(lua_State* state)
{
    lua_rawgetp(state, LUA_REGISTRYINDEX, &timerSetKey);
    auto* timers = static_cast<TimerSet*>(lua_touserdata(state, -1));
    lua_pop(state, 1);
    return *timers;
}

EventLoop::Deadline deadlineArgument(lua_State* state, int index, const std::string& what)
{
    constexpr double forever = 1e9; // more than thirty years
    const double seconds = lua_tonumber(state, index);
    if (lua_type(state, index) != LUA_TNUMBER || !(seconds >= 0.0)) {
        throw std::invalid_argument(
            what + " is " + describeValue(state, index) + ", but must be a number of seconds, at least 0");
    }
    if (seconds > forever) {
        return std::nullopt;
    }
    return EventLoop::Clock::now()
        + std::chrono::ceil<EventLoop::Clock::duration>(std::chrono::duration<double>(seconds));
}

std::string label(const TimerSettings& settings)
{
    return settings.name.empty() ? "timer" : "timer \"" + escape(settings.name) + "\"";
}

} // namespace tovrinhost
