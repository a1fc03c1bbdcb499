#include "embedded_host/testing/ClockFunctions.hpp"

#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/timers/TimerObject.hpp"
#include "embedded_host/timers/TimerProperties.hpp"

#include <lauxlib.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <string>

namespace tovrinhost {

namespace {

constexpr double nanosecondsOfASecond = 1e9;

TestClock& clockOf(lua_State* state)
{
    return *static_cast<TestClock*>(lua_touserdata(state, lua_upvalueindex(1)));
}

/// Runs what comes until this moment.
void pumpUntilMoment(lua_State* state, const TestClock& clock, Nanoseconds moment)
{
    const auto deadline = EventLoop::Clock::now() + std::chrono::nanoseconds(moment - clock.now());
    timersOf(state).engine().loop().runUntil(
        EventLoop::State::Pumping, [] { return false; }, deadline);
}

Nanoseconds timeArgument(lua_State* state, const char* caller)
{
    constexpr double most = 9e9;
    const double seconds = lua_tonumber(state, 1);
    if (lua_type(state, 1) != LUA_TNUMBER || !(seconds >= 0 && seconds <= most)) {
        throw std::invalid_argument(std::string(caller) + ": the time is " + describeValue(state, 1)
            + ", but must be a number of seconds, at least 0 and at most 9000000000");
    }
    return static_cast<Nanoseconds>(std::ceil(seconds * nanosecondsOfASecond));
}

/// clock.now()
int testSeconds(lua_State* state)
{
    lua_pushnumber(state, static_cast<double>(clockOf(state).now()) / nanosecondsOfASecond);
    return 1;
}

/// clock.settle()
int settleClock(lua_State* state)
{
    const Interpreter::Nested nested(state, "clock.settle");
    settle(state, clockOf(state), "clock.settle");
    return 0;
}

/// clock.advance(seconds)
int advance(lua_State* state)
{
    TestClock& clock = clockOf(state);
    const Nanoseconds end = clock.now() + timeArgument(state, "clock.advance");
    const Interpreter::Nested nested(state, "clock.advance");
    settle(state, clock, "clock.advance");
    // From one due moment to the next, so that all of one has run before time goes on.
    while (clock.now() < end) {
        pumpUntilMoment(state, clock, std::min(end, clock.nextDue().value_or(end)));
        settle(state, clock, "clock.advance");
    }
    return 0;
}

/// clock.next(): the moment gone to, or nil
int goToNext(lua_State* state)
{
    TestClock& clock = clockOf(state);
    const Interpreter::Nested nested(state, "clock.next");
    if (!settle(state, clock, "clock.next")) {
        const auto next = clock.nextDue();
        if (!next) {
            lua_pushnil(state);
            return 1;
        }
        pumpUntilMoment(state, clock, *next);
        settle(state, clock, "clock.next");
    }
    return testSeconds(state);
}

} // namespace

bool settle(lua_State* state, TestClock& clock, const char* caller)
{
    constexpr int mostRounds = 10'000;
    EventLoop& loop = timersOf(state).engine().loop();
    bool hasRunCallbacks = false;
    Nanoseconds moment = clock.now();
    for (int rounds = 0;; ++rounds) {
        clock.letOthersRun();
        const auto ran = loop.runWhatCame(EventLoop::State::Pumping);
        if (ran == EventLoop::Ran::Nothing) {
            return hasRunCallbacks;
        }
        hasRunCallbacks = hasRunCallbacks || ran == EventLoop::Ran::Tasks;
        if (clock.now() != moment) { // callbacks take time
            moment = clock.now();
            rounds = 0;
        }
        if (rounds == mostRounds) {
            throw std::runtime_error(std::string(caller) + ": after " + std::to_string(mostRounds)
                + " rounds of callbacks at one moment, something is due at it still");
        }
    }
}

void openClock(lua_State* state, TestClock& clock)
{
    constexpr auto functions
        = std::to_array<luaL_Reg>({ { "advance", luaFunction<advance> }, { "next", luaFunction<goToNext> },
            { "settle", luaFunction<settleClock> }, { "now", luaFunction<testSeconds> }, { nullptr, nullptr } });
    lua_newtable(state);
    lua_pushlightuserdata(state, &clock);
    luaL_setfuncs(state, functions.data(), 1);
    lua_setglobal(state, "clock");
}

} // namespace tovrinhost
