#include "embedded_host/timers/ShortForms.hpp"

#include "embedded_host/engine/Interpreter.hpp"
#include "embedded_host/engine/LuaArrays.hpp"
#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/timers/PropertyAccess.hpp"
#include "embedded_host/timers/TimerObject.hpp"
#include "embedded_host/timers/TimerProperties.hpp"
#include "embedded_host/timers/WallTimes.hpp"

#include <lauxlib.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tovrinhost {

namespace {

// ---- Making

/// Takes an argument in as a property of the timer that `function` makes.
void takeArgument(
    lua_State* state, int index, const std::string& function, const char* name, TimerSettings& settings)
{
    const Property& property = *findProperty(name);
    if (!property.set(state, index, settings)) {
        throw std::invalid_argument(
            function + ": " + name + " is " + describeValue(state, index) + ", but must be " + property.allowed);
    }
}

/// Makes a timer whose TimerFcn is the second argument, and starts it.
int makeStarted(lua_State* state, const std::string& function, TimerSettings settings)
{
    lua_createtable(state, 0, 1);
    setCallback(state, *findCallbackProperty("TimerFcn"), 2, settings, lua_gettop(state), function);
    startTimer(state, pushNewTimer(state, std::move(settings)));
    return 1;
}

/// after(seconds, f)
int after(lua_State* state)
{
    lua_settop(state, 2);
    TimerSettings settings;
    takeArgument(state, 1, "after", "StartDelay", settings);
    return makeStarted(state, "after", std::move(settings));
}

/// The TimerFcn of every(fields, f [, n]). Upvalues: the fields, f, how many runs are left.
int runAndStartAgain(lua_State* state)
{
    lua_settop(state, 2);
    const double left = lua_tonumber(state, lua_upvalueindex(3)) - 1;
    lua_pushnumber(state, left);
    lua_replace(state, lua_upvalueindex(3));
    lua_pushvalue(state, lua_upvalueindex(2));
    lua_insert(state, 1);
    if (left > 0) {
        // Before f, which may stop the timer.
        lua_pushvalue(state, lua_upvalueindex(1));
        const TimePattern pattern = timePatternArgument(state, 4, "every");
        lua_settop(state, 3);
        if (ScriptTimer* const timer = timerAt(state, 2)) {
            startTimer(state, *timer, nextWallTime(state, pattern, "every"));
        }
    }
    lua_call(state, 2, 0);
    return 0;
}

/// every(fields, f [, n]): a single shot that starts again.
int everyTime(lua_State* state, TimerSettings settings)
{
    constexpr int values = 4;
    const WallTime first = nextWallTime(state, timePatternArgument(state, 1, "every"), "every");
    lua_createtable(state, 0, 1);
    setCallback(state, *findCallbackProperty("TimerFcn"), 2, settings, values, "every");
    lua_newtable(state); // a copy of the fields, which may change
    for (lua_pushnil(state); lua_next(state, 1) != 0;) {
        lua_pushvalue(state, -2);
        lua_insert(state, -2);
        lua_rawset(state, values + 1);
    }
    lua_pushvalue(state, 2);
    lua_pushnumber(state, settings.tasksToExecute);
    lua_pushcclosure(state, luaFunction<runAndStartAgain>, 3);
    lua_setfield(state, values, "TimerFcn");
    startTimer(state, pushNewTimer(state, std::move(settings)), first);
    return 1;
}

/// every(seconds, f [, n])
int every(lua_State* state)
{
    lua_settop(state, 3);
    TimerSettings settings;
    if (!lua_isnil(state, 3)) {
        takeArgument(state, 3, "every", "TasksToExecute", settings);
    }
    if (lua_istable(state, 1)) {
        return everyTime(state, std::move(settings));
    }
    settings.executionMode = tovrintimer::ExecutionMode::FixedRate;
    takeArgument(state, 1, "every", "Period", settings);
    settings.startDelaySeconds = settings.periodSeconds;
    return makeStarted(state, "every", std::move(settings));
}

// ---- Waiting

/// The timers that are given, and the limit behind them. They stay on the stack meanwhile.
struct Waiting {
    std::vector<ScriptTimer*> timers;
    EventLoop::Deadline deadline;
};

Waiting waitingFor(lua_State* state, const std::string& function)
{
    Waiting waiting;
    int count = lua_gettop(state);
    if (count > 1 && lua_type(state, count) != LUA_TUSERDATA) {
        if (lua_isnil(state, count) == 0) {
            waiting.deadline = deadlineArgument(state, count, function + ": the limit");
        }
        --count;
    }
    for (int index = 1; index <= std::max(count, 1); ++index) {
        ScriptTimer* const timer = timerAt(state, index);
        if (timer == nullptr) {
            throw std::invalid_argument(function + ": argument " + std::to_string(index) + " is "
                + describeValue(state, index) + ", but must be a timer");
        }
        named(*timer, [&] { timer->requireOutsideItsCallbacks(); });
        waiting.timers.push_back(timer);
    }
    return waiting;
}

bool isTimerOver(const ScriptTimer* timer)
{
    return timer->isOver();
}

bool pumpUntil(lua_State* state, const char* function, const Waiting& waiting, const std::function<bool()>& done)
{
    const Interpreter::Nested nested(state, function);
    return timersOf(state).engine().loop().runUntil(EventLoop::State::Pumping, done, waiting.deadline);
}

/// wait(t1, t2, ... [, seconds])
int waitForAll(lua_State* state)
{
    const Waiting waiting = waitingFor(state, "wait");
    const auto& timers = waiting.timers;
    const auto allOver = [&timers] { return std::all_of(timers.begin(), timers.end(), isTimerOver); };
    lua_pushboolean(state, pumpUntil(state, "wait", waiting, allOver) ? 1 : 0);
    return 1;
}

/// waitAny(t1, t2, ... [, seconds])
int waitForAny(lua_State* state)
{
    const Waiting waiting = waitingFor(state, "waitAny");
    const auto& timers = waiting.timers;
    auto first = timers.end();
    const auto anyOver = [&] {
        first = std::find_if(timers.begin(), timers.end(), isTimerOver);
        return first != timers.end();
    };
    if (pumpUntil(state, "waitAny", waiting, anyOver)) {
        lua_pushvalue(state, static_cast<int>(first - timers.begin()) + 1);
    } else {
        lua_pushnil(state);
    }
    return 1;
}

// ---- Looking

/// Calls `visit(timer)` for each timer that there is, with its object on top of the stack.
template <typename Visit> void visitTimers(lua_State* state, const Visit& visit)
{
    // Of a copy: whatever asks for memory may have finalizers run.
    for (const auto& [number, timer] : timersOf(state).all()) {
        luaL_checkstack(state, LUA_MINSTACK, "too many timers");
        pushLuaObject(state, static_cast<lua_Integer>(number));
        if (lua_isnil(state, -1) || timer->isDeleted()) {
            lua_pop(state, 1); // nobody holds it, and it is about to be given up
        } else {
            visit(*timer);
        }
    }
}

/// find(name)
int findByName(lua_State* state)
{
    if (lua_type(state, 1) != LUA_TSTRING) {
        throw std::invalid_argument("find: the name is " + describeValue(state, 1) + ", but must be a string");
    }
    const std::string name = textAt(state, 1);
    lua_settop(state, 0);
    visitTimers(state, [&](const ScriptTimer& timer) {
        if (timer.settings().name != name) {
            lua_pop(state, 1);
        }
    });
    if (lua_gettop(state) == 0) {
        lua_pushnil(state);
    }
    return lua_gettop(state);
}

/// Whether the timer, whose object is on top of the stack, has all the values of the table at index 1.
bool hasAll(lua_State* state, const ScriptTimer& timer)
{
    const int object = lua_gettop(state);
    bool equal = true;
    lua_pushnil(state);
    while (equal && lua_next(state, 1) != 0) {
        pushProperty(state, object, timer, textAt(state, -2));
        equal = lua_rawequal(state, -1, -2) != 0;
        lua_pop(state, 2);
    }
    lua_settop(state, object);
    return equal;
}

/// timers([properties])
int liveTimers(lua_State* state)
{
    lua_settop(state, 1);
    if (!lua_isnil(state, 1)) {
        if (!lua_istable(state, 1)) {
            throw std::invalid_argument("timers: takes a table of properties, not " + describeValue(state, 1));
        }
        for (lua_pushnil(state); lua_next(state, 1) != 0; lua_pop(state, 1)) {
            requireProperty(state, 2, "timers");
        }
    }
    lua_newtable(state);
    lua_Integer place = 0;
    visitTimers(state, [&](const ScriptTimer& timer) {
        if (lua_isnil(state, 1) || hasAll(state, timer)) {
            lua_rawseti(state, 2, ++place);
        } else {
            lua_pop(state, 1);
        }
    });
    return 1;
}

} // namespace

void openShortForms(lua_State* state)
{
    lua_register(state, "after", luaFunction<after>);
    lua_register(state, "every", luaFunction<every>);
    lua_register(state, "wait", luaFunction<waitForAll>);
    lua_register(state, "waitAny", luaFunction<waitForAny>);
    lua_register(state, "find", luaFunction<findByName>);
    lua_register(state, "timers", luaFunction<liveTimers>);
}

} // namespace tovrinhost
