#include "embedded_host/timers/TimerObject.hpp"

#include "embedded_host/engine/LuaArrays.hpp"
#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/timers/TimerProperties.hpp"
#include "embedded_host/timers/TimerStatistics.hpp"

#include <lauxlib.h>

#include <array>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

namespace tovrinhost {

namespace {

constexpr const char* timerType = "tovrin.timer";

/// Their addresses are the registry keys of the TimerSet and of the timers' metatable: quicker than by name.
const char timerSetKey = 0;
const char metatableKey = 0;

using Handle = std::shared_ptr<ScriptTimer>;

std::string label(const TimerSettings& settings)
{
    return settings.name.empty() ? "timer" : "timer \"" + escape(settings.name) + "\"";
}

/// What the timer object at the stack's bottom holds: nothing once it has been collected. Finalizers may still
/// reach it then.
/// \returns null where there is no timer object
Handle* findHandle(lua_State* state)
{
    if (lua_type(state, 1) != LUA_TUSERDATA || lua_getmetatable(state, 1) == 0) {
        return nullptr;
    }
    lua_rawgetp(state, LUA_REGISTRYINDEX, &metatableKey);
    const bool isTimer = lua_rawequal(state, -1, -2) != 0;
    lua_pop(state, 2);
    return isTimer ? static_cast<Handle*>(lua_touserdata(state, 1)) : nullptr;
}

Handle& handleOf(lua_State* state)
{
    Handle* const handle = findHandle(state);
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

ScriptTimer& liveTimer(lua_State* state)
{
    return liveTimer(handleOf(state));
}

/// The timer that a method is called on.
ScriptTimer& calledOn(lua_State* state, const std::string& method)
{
    const Handle* const timer = findHandle(state);
    if (timer == nullptr) {
        throw std::invalid_argument(method + ": call it with a colon, t:" + method + "()");
    }
    return liveTimer(*timer);
}

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

// ---- Properties

[[noreturn]] void failUnknown(lua_State* state, int key, const TimerSettings& settings, Use use)
{
    throw std::invalid_argument(label(settings) + " has no " + describeUnknown(state, key, use));
}

[[noreturn]] void failValue(
    lua_State* state, int value, const TimerSettings& settings, const std::string& key, const char* allowed)
{
    throw std::invalid_argument(
        label(settings) + ": " + key + " is " + describeValue(state, value) + ", but must be " + allowed);
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

/// Takes one property in: a setting into `settings`, a callback into the table at `callbacks`.
void setProperty(lua_State* state, int key, int value, TimerSettings& settings, int callbacks)
{
    const TimerSettings before = settings;
    if (lua_type(state, key) != LUA_TSTRING) {
        failUnknown(state, key, before, Use::Assign);
    }
    const std::string name = textAt(state, key);
    if (const Property* property = findProperty(name)) {
        if (!property->set(state, value, settings)) {
            failValue(state, value, before, name, property->allowed);
        }
    } else if (const CallbackProperty* callback = findCallbackProperty(name)) {
        const bool isThere = lua_isfunction(state, value);
        const bool mayGo = callback->isThere != nullptr;
        if (!isThere && !(mayGo && lua_isnil(state, value))) {
            failValue(state, value, before, name, mayGo ? "a function or nil" : "a function");
        }
        if (mayGo) {
            settings.*callback->isThere = isThere;
        }
        settings.places.at(TimerDescription::indexOf(callback->kind)) = placeOfFunction(state, value);
        lua_pushvalue(state, value);
        lua_setfield(state, callbacks, name.c_str());
    } else if (findReadOnlyProperty(name) != nullptr) {
        throw std::invalid_argument(label(before) + ": " + name + " is read-only");
    } else {
        failUnknown(state, key, before, Use::Assign);
    }
}

void failIfFixedWhileRunning(const ScriptTimer& timer, const std::string& name)
{
    const Property* property = findProperty(name);
    if (property != nullptr && !property->changesWhileRunning && timer.isRunning()) {
        throw std::invalid_argument(label(timer.settings()) + ": " + name
            + " cannot be changed while the timer is running; stop it first");
    }
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
    timer.change(std::move(settings));
    return 0;
}

/// __index(timer, key). Upvalue: the table of methods.
int readProperty(lua_State* state)
{
    const ScriptTimer& timer = liveTimer(state);
    if (lua_type(state, 2) != LUA_TSTRING) {
        failUnknown(state, 2, timer.settings(), Use::Read);
    }
    const std::string name = textAt(state, 2);
    if (const Property* property = findProperty(name)) {
        property->push(state, timer.settings());
    } else if (const ReadOnlyProperty* readOnly = findReadOnlyProperty(name)) {
        readOnly->push(state, timer);
    } else if (findCallbackProperty(name) != nullptr) {
        lua_getiuservalue(state, 1, 1);
        lua_getfield(state, -1, name.c_str());
    } else {
        lua_pushvalue(state, 2);
        if (lua_rawget(state, lua_upvalueindex(1)) == LUA_TNIL) {
            failUnknown(state, 2, timer.settings(), Use::Read);
        }
    }
    return 1;
}

// ---- Methods

int start(lua_State* state)
{
    ScriptTimer& timer = calledOn(state, "start");
    named(timer, [&] { timer.start(); });
    return 0;
}

int stop(lua_State* state)
{
    ScriptTimer& timer = calledOn(state, "stop");
    named(timer, [&] { timer.stop(); });
    return 0;
}

int wait(lua_State* state)
{
    ScriptTimer& timer = calledOn(state, "wait");
    EventLoop::Deadline deadline;
    if (!lua_isnoneornil(state, 2)) {
        deadline = deadlineArgument(state, 2, label(timer.settings()) + ": the limit of wait");
    }
    const Interpreter::Nested nested(state, label(timer.settings()));
    lua_pushboolean(state, named(timer, [&] { return timer.wait(deadline); }) ? 1 : 0);
    return 1;
}

int destroy(lua_State* state)
{
    ScriptTimer& timer = calledOn(state, "delete");
    const Interpreter::Nested nested(state, label(timer.settings()));
    named(timer, [&] { timersOf(state).destroy(timer); });
    if (!timer.isDeleted()) {
        return 0; // asked for by one of its last callbacks; there may be more of them
    }
    lua_newtable(state); // the callbacks go
    lua_setiuservalue(state, 1, 1);
    lua_pushnil(state);
    setLuaObject(state, static_cast<lua_Integer>(timer.number()));
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
    handleOf(state).reset();
    return 0;
}

} // namespace

void openTimerObjects(lua_State* state, TimerSet& timers)
{
    lua_pushlightuserdata(state, &timers);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &timerSetKey);

    luaL_newmetatable(state, timerType);
    lua_pushvalue(state, -1);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &metatableKey);
    constexpr auto metamethods = std::to_array<luaL_Reg>({ { "__newindex", luaFunction<assignProperty> },
        { "__tostring", luaFunction<toString> }, { "__gc", luaFunction<collect> }, { nullptr, nullptr } });
    luaL_setfuncs(state, metamethods.data(), 0);
    constexpr auto methods = std::to_array<luaL_Reg>({ { "start", luaFunction<start> },
        { "stop", luaFunction<stop> }, { "wait", luaFunction<wait> }, { "delete", luaFunction<destroy> },
        { "explain", luaFunction<explain> }, { "statistics", luaFunction<statistics> }, { nullptr, nullptr } });
    lua_createtable(state, 0, static_cast<int>(methods.size()) - 1);
    luaL_setfuncs(state, methods.data(), 0);
    lua_pushcclosure(state, luaFunction<readProperty>, 1);
    lua_setfield(state, -2, "__index");
    lua_pushliteral(state, "timer");
    lua_setfield(state, -2, "__metatable");
    lua_pop(state, 1);
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
        failValue(state, -1, settings, "TimerFcn", "a function");
    }
    lua_settop(state, 2);

    void* place = lua_newuserdatauv(state, sizeof(Handle), 1);
    auto* handle = new (place) Handle;
    luaL_setmetatable(state, timerType);
    lua_insert(state, 2);
    lua_setiuservalue(state, 2, 1);
    *handle = timersOf(state).create(std::move(settings));
    lua_pushvalue(state, 2);
    setLuaObject(state, static_cast<lua_Integer>((*handle)->number()));
    return 1;
}

bool isLiveTimer(lua_State* state, int index)
{
    const auto* const timer = static_cast<const Handle*>(luaL_testudata(state, index, timerType));
    return timer != nullptr && *timer && !(*timer)->isDeleted();
}

int pushCallback(lua_State* state)
{
    liveTimer(state);
    lua_getiuservalue(state, 1, 1);
    lua_pushvalue(state, 2);
    lua_rawget(state, -2);
    return 1;
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

} // namespace tovrinhost
