#include "embedded_host/timers/TimerStatistics.hpp"

namespace tovrinhost {

namespace {

void setCount(lua_State* state, const char* name, std::uint64_t count)
{
    lua_pushinteger(state, static_cast<lua_Integer>(count));
    lua_setfield(state, -2, name);
}

void setSecondsField(lua_State* state, const char* name, Nanoseconds span)
{
    lua_pushnumber(state, toSeconds(span));
    lua_setfield(state, -2, name);
}

} // namespace

void pushStatistics(lua_State* state, const ScriptTimer& timer, Diagnosis& diagnosis)
{
    const FiringStatistics& firings = timer.firings();
    const auto latenesses = diagnosis.inquiry().summaries()[timer.number()].latenesses;
    lua_createtable(state, 0, 5);
    setCount(state, "Runs", firings.runs);
    setCount(state, "Drops", firings.drops);
    setCount(state, "Errors", firings.errors);
    const Nanoseconds age = diagnosis.log().now() - timer.made();
    lua_pushnumber(state, age > 0 ? static_cast<double>(firings.busy) / static_cast<double>(age) : 0.0);
    lua_setfield(state, -2, "Busy");

    lua_createtable(state, 0, 4);
    setSecondsField(state, "Last", firings.lastLateness);
    setSecondsField(state, "Median", percentile(latenesses, 50));
    setSecondsField(state, "P99", percentile(latenesses, 99));
    setSecondsField(state, "Max", firings.mostLateness);
    lua_setfield(state, -2, "Lateness");
}

} // namespace tovrinhost
