#include "embedded_host/timers/WallTimes.hpp"

#include "embedded_host/clock/NextTime.hpp"
#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/timers/NearestName.hpp"
#include "embedded_host/timers/TimerObject.hpp"
#include "embedded_host/timers/TimerProperties.hpp"

#include <lualib.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tovrinhost {

namespace {

/// A field of a table that tells of a time.
struct TimeField {
    const char* name;
    const char* alias; ///< as os.time calls it
    int least;
    int most;
};

// As os.time: what is beyond the next coarser one is carried over to it.
constexpr int manyMonths = 100'000;
constexpr int many = 1'000'000'000;
constexpr std::array<TimeField, 6> fieldsOfTime { {
    { "year", "year", 1970, 2261 },
    { "month", "month", -manyMonths, manyMonths },
    { "day", "day", -many, many },
    { "hour", "hour", -many, many },
    { "minute", "min", -many, many },
    { "second", "sec", -many, many },
} };

constexpr std::array<TimeField, 6> fieldsOfPattern { {
    { "month", "month", 1, 12 },
    { "day", "day", 1, 31 },
    { "weekday", "wday", 1, 7 },
    { "hour", "hour", 0, 23 },
    { "minute", "min", 0, 59 },
    { "second", "sec", 0, 59 },
} };

/// What os.date("*t") tells besides, which follows from the rest.
constexpr std::array<const char*, 3> impliedFields { "wday", "yday", "isdst" };

using Values = std::map<std::string, int>;

[[noreturn]] void failField(lua_State* state, int key, const std::string& what, std::span<const TimeField> fields)
{
    std::vector<std::string> names;
    std::string list;
    for (const TimeField& field : fields) {
        names.emplace_back(field.name);
        list += (list.empty() ? "" : ", ") + std::string(field.name);
    }
    const std::string nearest = lua_type(state, key) == LUA_TSTRING ? nearestName(textAt(state, key), names) : "";
    throw std::invalid_argument(what + " has no field " + describeValue(state, key) + "; "
        + (nearest.empty() ? "" : "did you mean \"" + nearest + "\"? ") + "The fields are " + list);
}

[[noreturn]] void failNumber(
    const std::string& what, const std::string& name, const std::string& value, const TimeField& field)
{
    throw std::invalid_argument(what + ": " + name + " is " + value + ", but must be a whole number from "
        + std::to_string(field.least) + " to " + std::to_string(field.most));
}

/// Reads a table of such fields, by their names.
Values readFields(lua_State* state, int index, const std::string& what, std::span<const TimeField> fields)
{
    Values values;
    for (lua_pushnil(state); lua_next(state, index) != 0; lua_pop(state, 1)) {
        const int key = lua_gettop(state) - 1;
        const std::string name = lua_type(state, key) == LUA_TSTRING ? textAt(state, key) : "";
        const TimeField* const end = fields.data() + fields.size();
        const TimeField* const field = std::find_if(
            fields.data(), end, [&](const TimeField& known) { return name == known.name || name == known.alias; });
        if (field == end) {
            failField(state, key, what, fields);
        }
        int isWhole = 0;
        const lua_Integer value = lua_tointegerx(state, -1, &isWhole);
        if (lua_type(state, -1) != LUA_TNUMBER || isWhole == 0 || value < field->least || value > field->most) {
            failNumber(what, name, describeValue(state, -1), *field);
        }
        if (!values.emplace(field->name, static_cast<int>(value)).second) {
            throw std::invalid_argument(what + ": " + field->name + " and " + field->alias
                + " are the same field; only one of them may be given");
        }
    }
    return values;
}

std::optional<int> valueOf(const Values& values, const char* name)
{
    const auto found = values.find(name);
    return found != values.end() ? std::optional(found->second) : std::nullopt;
}

int neededValue(const Values& values, const char* name, const std::string& what)
{
    const auto value = valueOf(values, name);
    if (!value) {
        throw std::invalid_argument(
            what + " has no " + name + "; a table of local time must have a year, a month and a day");
    }
    return *value;
}

/// A table of local time, as os.time has it.
std::int64_t readLocalTime(lua_State* state, int index, const std::string& what)
{
    using namespace std::chrono;
    lua_newtable(state); // a copy without what follows from the rest
    const int copy = lua_gettop(state);
    for (lua_pushnil(state); lua_next(state, index) != 0; lua_pop(state, 1)) {
        const std::string name = lua_type(state, -2) == LUA_TSTRING ? textAt(state, -2) : "";
        if (std::find(impliedFields.begin(), impliedFields.end(), name) == impliedFields.end()) {
            lua_pushvalue(state, -2);
            lua_pushvalue(state, -2);
            lua_rawset(state, copy);
        }
    }
    const Values values = readFields(state, copy, what, fieldsOfTime);
    constexpr int monthsOfYear = 12;
    constexpr int noon = 12; // os.time's, where no hour is given
    const int monthsSince0 = neededValue(values, "month", what) - 1;
    const int years = monthsSince0 / monthsOfYear - (monthsSince0 % monthsOfYear < 0 ? 1 : 0);
    const auto firstOfMonth = sys_days(year_month_day(year(neededValue(values, "year", what) + years),
        month(static_cast<unsigned>(monthsSince0 - years * monthsOfYear + 1)), day(1)));
    const auto local = firstOfMonth + days(neededValue(values, "day", what) - 1)
        + hours(valueOf(values, "hour").value_or(noon)) + minutes(valueOf(values, "minute").value_or(0))
        + seconds(valueOf(values, "second").value_or(0));
    return momentOf(duration_cast<seconds>(local.time_since_epoch()).count(), systemUtcOffset);
}

std::int64_t nextSecond(const TimePattern& pattern, double after, const std::string& what)
{
    const auto moment = nextTime(pattern, static_cast<std::int64_t>(std::floor(after)), systemUtcOffset);
    if (!moment) {
        throw std::invalid_argument(what + ": there is no day " + std::to_string(pattern.day.value_or(0))
            + " of month " + std::to_string(pattern.month.value_or(0)));
    }
    return *moment;
}

WallTime lookAtClock(lua_State* state)
{
    tovrintimer::clockWasLookedAt();
    return timersOf(state).clock().now();
}

/// date()
int date(lua_State* state)
{
    lua_pushnumber(state, toSecondsSince1970(lookAtClock(state)));
    return 1;
}

/// nextTime([fields [, after]])
int nextTimeOf(lua_State* state)
{
    lua_settop(state, 2);
    if (!lua_isnil(state, 1) && !lua_istable(state, 1)) {
        throw std::invalid_argument(
            "nextTime: takes a table of fields of a local time, not " + describeValue(state, 1));
    }
    double after = toSecondsSince1970(timersOf(state).clock().now());
    if (!lua_isnil(state, 2)) {
        after = lua_tonumber(state, 2);
        if (lua_type(state, 2) != LUA_TNUMBER || !(after >= 0 && after <= latestSecond)) {
            throw std::invalid_argument("nextTime: the time after which it is to be is " + describeValue(state, 2)
                + ", but must be a number of seconds since 1970, at least 0 and at most 9223372036");
        }
    }
    const TimePattern pattern = lua_isnil(state, 1) ? TimePattern() : timePatternArgument(state, 1, "nextTime");
    lua_pushinteger(state, nextSecond(pattern, after, "nextTime"));
    return 1;
}

void pushWholeSeconds(lua_State* state)
{
    const auto now = std::chrono::floor<std::chrono::seconds>(lookAtClock(state));
    lua_pushinteger(state, static_cast<lua_Integer>(now.time_since_epoch().count()));
}

/// os.time([table]). Upvalue: the library's own function, which knows tables.
int timeOfTable(lua_State* state)
{
    if (!lua_isnoneornil(state, 1)) {
        return lua_tocfunction(state, lua_upvalueindex(1))(state);
    }
    pushWholeSeconds(state);
    return 1;
}

/// os.date([format [, time]]). Upvalue: the library's own function, which is told the time.
int textOfTime(lua_State* state)
{
    lua_settop(state, 2);
    if (lua_isnil(state, 1)) {
        lua_pushliteral(state, "%c");
        lua_replace(state, 1);
    }
    if (lua_isnil(state, 2)) {
        pushWholeSeconds(state);
        lua_replace(state, 2);
    }
    return lua_tocfunction(state, lua_upvalueindex(1))(state);
}

/// os.clock()
int secondsAtWork(lua_State* state)
{
    tovrintimer::clockWasLookedAt();
    lua_pushnumber(state, tovrintimer::timeAtWork().count());
    return 1;
}

/// Lua's own functions of time go by the clocks that all others go by.
void openTimeOfSystem(lua_State* state)
{
    lua_getglobal(state, LUA_OSLIBNAME);
    lua_getfield(state, -1, "time");
    lua_pushcclosure(state, luaFunction<timeOfTable>, 1);
    lua_setfield(state, -2, "time");
    lua_getfield(state, -1, "date");
    lua_pushcclosure(state, luaFunction<textOfTime>, 1);
    lua_setfield(state, -2, "date");
    lua_pushcfunction(state, luaFunction<secondsAtWork>);
    lua_setfield(state, -2, "clock");
    lua_pop(state, 1);
}

} // namespace

void openWallTimes(lua_State* state)
{
    openTimeOfSystem(state);
    lua_register(state, "date", luaFunction<date>);
    lua_register(state, "nextTime", luaFunction<nextTimeOf>);
}

TimePattern timePatternArgument(lua_State* state, int index, const std::string& what)
{
    const Values values = readFields(state, index, what, fieldsOfPattern);
    return { valueOf(values, "month"), valueOf(values, "day"), valueOf(values, "weekday"), valueOf(values, "hour"),
        valueOf(values, "minute"), valueOf(values, "second") };
}

WallTime nextWallTime(lua_State* state, const TimePattern& pattern, const std::string& what)
{
    const double now = toSecondsSince1970(timersOf(state).clock().now());
    return fromSecondsSince1970(static_cast<double>(nextSecond(pattern, now, what)));
}

WallTime wallTimeArgument(lua_State* state, int index, const std::string& what)
{
    double seconds = lua_tonumber(state, index);
    if (lua_istable(state, index)) {
        seconds = static_cast<double>(readLocalTime(state, index, what));
        if (seconds > latestSecond) {
            throw std::invalid_argument(what + " lies behind the year 2261");
        }
    } else if (lua_type(state, index) != LUA_TNUMBER || !(seconds <= latestSecond)) {
        throw std::invalid_argument(what + " is " + describeValue(state, index)
            + ", but must be a number of seconds since 1970, at most 9223372036, or a table of local time");
    }
    return fromSecondsSince1970(seconds);
}

} // namespace tovrinhost
