#include "embedded_host/timers/TimerLibrary.hpp"

#include "embedded_host/engine/LuaArrays.hpp"
#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/timers/ShortForms.hpp"
#include "embedded_host/timers/TimerObject.hpp"
#include "embedded_host/timers/TimerProperties.hpp"

#include <lauxlib.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace tovrinhost {

namespace {

/// What the library has the engine evaluate for each callback: calls the function, if it is still there.
constexpr const char* timercb = R"lua(
return function(fcn, timer, event)
  if fcn then
    fcn(timer, event)
  end
end
)lua";

/// Where the arguments of timercb stand: it is itself at the stack's bottom.
constexpr int fcnArgument = 2;
constexpr int timerArgument = 3;
constexpr int eventArgument = 4;

/// Whether a function can see its second argument. Of those that are not written in Lua nobody knows.
bool takesEvent(lua_State* state, int function)
{
    if (!lua_isfunction(state, function)) {
        return false;
    }
    lua_Debug about {};
    lua_pushvalue(state, function);
    lua_getinfo(state, ">u", &about);
    return about.nparams > 1 || about.isvararg != 0;
}

void setText(lua_State* state, const char* field, const std::string& text)
{
    lua_pushlstring(state, text.data(), text.size());
    lua_setfield(state, eventArgument, field);
}

void setNumber(lua_State* state, const char* field, double number)
{
    lua_pushnumber(state, number);
    lua_setfield(state, eventArgument, field);
}

/// What a StopFcn and an ErrorFcn are told besides.
void describeEnd(lua_State* state, const ScriptRun& run)
{
    if (run.latestCallback() == Callback::StopFcn) {
        setText(state, "Reason", nameOf(run.endReason()));
    } else if (run.latestCallback() == Callback::ErrorFcn) {
        const Failure& failure = run.failure();
        setText(state, "Error", failure.message);
        setText(state, "Callback", failure.callback);
        if (!failure.traceback.empty()) {
            setText(state, "Traceback", failure.traceback);
        }
    }
}

/// What every event tells besides: the moment in seconds since 1970; when the callback was due, in `now`'s
/// seconds; how many seconds later it began; how many firings were dropped before.
void describeFiring(lua_State* state, TimerSet& timers)
{
    const Diagnosis& diagnosis = timers.diagnosis();
    const FiringLog::Beginning& firing = diagnosis.latest();
    setNumber(state, "Time", toSecondsSince1970(timers.clock().now()));
    if (firing.due == 0) {
        return; // nobody has told of it
    }
    setNumber(state, "Due", toSeconds(firing.due - diagnosis.log().beginning()));
    setNumber(state, "Lateness", toSeconds(firing.lateness()));
    lua_pushinteger(state, static_cast<lua_Integer>(firing.missed));
    lua_setfield(state, eventArgument, "Missed");
}

/// For the timer, the name of the callback, nothing and the event: the function, the timer, and the event if the
/// function can see it. To make one is a fifth of what a callback costs.
int pushCall(lua_State* state, const Interpreter::Arguments& arguments)
{
    pushArray(state, arguments.at(0));
    pushArray(state, arguments.at(1));
    ScriptRun* const run = nameToCallback(state, fcnArgument).run();
    lua_insert(state, fcnArgument);
    int last = timerArgument;
    if (takesEvent(state, fcnArgument)) {
        pushArray(state, arguments.at(3));
        last = eventArgument;
        describeFiring(state, timersOf(state));
        if (run != nullptr) {
            describeEnd(state, *run);
        }
    }
    if (run != nullptr) {
        run->functionIsCalled(); // last of all
    }
    return last - fcnArgument + 1;
}

/// pause(seconds)
int pause(lua_State* state)
{
    const EventLoop::Deadline deadline = deadlineArgument(state, 1, "pause: the time");
    const Interpreter::Nested nested(state, "pause");
    timersOf(state).engine().loop().runUntil(
        EventLoop::State::Pumping, [] { return false; }, deadline);
    return 0;
}

/// busy(seconds)
int beBusy(lua_State* state)
{
    const EventLoop::Deadline deadline = deadlineArgument(state, 1, "busy: the time");
    const EventLoop& loop = timersOf(state).engine().loop();
    const auto isInterrupted = [&loop] { return loop.interruption() != Interruption::None; };
    tovrintimer::workUntil(deadline.value_or(EventLoop::Clock::time_point::max()), isInterrupted);
    if (isInterrupted()) {
        throw Interrupted();
    }
    return 0;
}

/// now()
int monotonicSeconds(lua_State* state)
{
    tovrintimer::clockWasLookedAt();
    // Counted from the beginning of the script, so that the seconds have many digits behind the point.
    const FiringLog& log = timersOf(state).diagnosis().log();
    lua_pushnumber(state, toSeconds(log.now() - log.beginning()));
    return 1;
}

int exitCodeArgument(lua_State* state)
{
    if (lua_isnoneornil(state, 1)) {
        return EXIT_SUCCESS;
    }
    if (lua_isboolean(state, 1)) {
        return lua_toboolean(state, 1) != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    constexpr lua_Integer largest = 255; // what every system hands on
    int isWhole = 0;
    const lua_Integer code = lua_tointegerx(state, 1, &isWhole);
    if (lua_type(state, 1) != LUA_TNUMBER || isWhole == 0 || code < 0 || code > largest) {
        throw std::invalid_argument("os.exit: the code is " + describeValue(state, 1)
            + ", but must be a whole number from 0 to 255, or a boolean");
    }
    return static_cast<int>(code);
}

/// os.exit([code]). Upvalue: where the code goes.
int leave(lua_State* state)
{
    *static_cast<int*>(lua_touserdata(state, lua_upvalueindex(1))) = exitCodeArgument(state);
    LoopEngine& engine = timersOf(state).engine();
    if (engine.loop().interruption() == Interruption::None) {
        engine.interrupt(Interruption::Exit);
    }
    throw Interrupted();
}

} // namespace

void openTimerLibrary(Interpreter& interpreter, TimerSet& timers, int& exitCode)
{
    openTimerObjects(interpreter, timers);
    interpreter.protect([&](lua_State* state) {
        openShortForms(state);
        if constexpr (isFiringLogKept) {
            timers.engine().loop().setObserver(&timers.diagnosis().follower());
        }
        lua_register(state, "timer", luaFunction<newTimerObject>);
        lua_register(state, "pause", luaFunction<pause>);
        lua_register(state, "busy", luaFunction<beBusy>);
        lua_register(state, "now", luaFunction<monotonicSeconds>);

        lua_getglobal(state, "os");
        lua_pushlightuserdata(state, &exitCode);
        lua_pushcclosure(state, luaFunction<leave>, 1);
        lua_setfield(state, -2, "exit");
        return 0;
    });
    interpreter.define("timercb", timercb, pushCall);
}

} // namespace tovrinhost
