#include "embedded_host/engine/LuaArrays.hpp"

#include "embedded_host/values/ArrayStorage.hpp"
#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include <lauxlib.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace tovrinhost {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayFactory;

namespace {

namespace detail = foundation::tovrindata::detail;

/// Their addresses are registry keys: of the objects by number, which it does not keep alive, and of those that
/// are kept.
const char objectsKey = 0;
const char keptKey = 0;

/// What a table, its key, and a value in it that is no table itself take of the stack.
constexpr int room = 4;
constexpr const char* tooDeep = "too deep a value";

/// Pushes what `pushOne(index)` pushes for a single element, or a sequence of them.
template <typename PushOne> void pushElements(lua_State* state, std::size_t count, PushOne pushOne)
{
    if (count == 1) {
        pushOne(0);
        return;
    }
    luaL_checkstack(state, room, tooDeep);
    lua_createtable(state, static_cast<int>(count), 0);
    for (std::size_t i = 0; i < count; ++i) {
        pushOne(i);
        lua_rawseti(state, -2, static_cast<lua_Integer>(i) + 1);
    }
}

void pushRecord(lua_State* state, const detail::StructElements& records, std::size_t index)
{
    luaL_checkstack(state, room, tooDeep);
    // With room for what the host adds to an event: Lua's tables have one for two, four or eight fields.
    constexpr std::size_t fieldsOfEvent = 6;
    lua_createtable(state, 0, static_cast<int>(std::max(records.fieldNames.size(), fieldsOfEvent)));
    auto value = records.values.begin() + static_cast<std::ptrdiff_t>(index * records.fieldNames.size());
    for (const std::string& field : records.fieldNames) {
        pushText(state, field);
        pushArray(state, *value);
        lua_rawset(state, -3);
        ++value;
    }
}

/// What is pushed for the elements of each kind.
struct Push {
    lua_State* state;
    std::size_t count;

    void operator()(const detail::CharElements& characters) const { pushText(state, characters.utf8); }

    void operator()(const detail::DoubleElements& numbers) const
    {
        pushElements(state, count, [&](std::size_t i) { lua_pushnumber(state, numbers.values[i]); });
    }

    void operator()(const detail::StructElements& records) const
    {
        pushElements(state, count, [&](std::size_t i) { pushRecord(state, records, i); });
    }

    void operator()(const detail::ObjectElement& object) const
    {
        pushLuaObject(state, static_cast<lua_Integer>(object.number));
    }
};

std::vector<double> numbersAt(lua_State* state, int index)
{
    std::vector<double> numbers;
    const auto count = static_cast<lua_Integer>(lua_rawlen(state, index));
    for (lua_Integer i = 1; i <= count; ++i) {
        lua_rawgeti(state, index, i);
        const bool isNumber = lua_type(state, -1) == LUA_TNUMBER;
        numbers.push_back(lua_tonumber(state, -1));
        lua_pop(state, 1);
        if (!isNumber) {
            throw std::invalid_argument("element " + std::to_string(i)
                + " of a table is not a number: only sequences of numbers are values");
        }
    }
    return numbers;
}

} // namespace

void pushText(lua_State* state, const std::string& text)
{
    if (std::strlen(text.c_str()) == text.size()) {
        lua_pushstring(state, text.c_str()); // Lua remembers texts by where they stood: the same few come again
    } else {
        lua_pushlstring(state, text.data(), text.size());
    }
}

void pushArray(lua_State* state, const Array& array)
{
    if (const auto& storage = array.storage()) {
        std::visit(Push { state, array.getNumberOfElements() }, storage->elements);
    } else {
        lua_pushnil(state);
    }
}

Array toArray(lua_State* state, int index)
{
    ArrayFactory factory;
    switch (lua_type(state, index)) {
    case LUA_TNIL:
        return Array();
    case LUA_TBOOLEAN:
        return factory.createDoubleArray({ 1, 1 }, { lua_toboolean(state, index) != 0 ? 1.0 : 0.0 });
    case LUA_TNUMBER:
        return factory.createDoubleArray({ 1, 1 }, { lua_tonumber(state, index) });
    case LUA_TSTRING: {
        std::size_t length = 0;
        const char* text = lua_tolstring(state, index, &length);
        return factory.createCharArray(std::string(text, length));
    }
    case LUA_TTABLE: {
        const std::vector<double> numbers = numbersAt(state, lua_absindex(state, index));
        return factory.createDoubleArray({ 1, numbers.size() }, numbers);
    }
    default:
        throw std::invalid_argument(std::string("a ") + luaL_typename(state, index)
            + " is not a value: only nil, booleans, numbers, strings and sequences of numbers are");
    }
}

void openLuaObjects(lua_State* state)
{
    lua_newtable(state);
    lua_createtable(state, 0, 1);
    lua_pushliteral(state, "v");
    lua_setfield(state, -2, "__mode");
    lua_setmetatable(state, -2);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &objectsKey);
    lua_newtable(state);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &keptKey);
}

void setLuaObject(lua_State* state, lua_Integer number)
{
    lua_rawgetp(state, LUA_REGISTRYINDEX, &objectsKey);
    lua_insert(state, -2);
    lua_rawseti(state, -2, number);
    lua_pop(state, 1);
}

void pushLuaObject(lua_State* state, lua_Integer number)
{
    lua_rawgetp(state, LUA_REGISTRYINDEX, &objectsKey);
    lua_rawgeti(state, -1, number);
    lua_remove(state, -2);
}

bool keepLuaObject(lua_State* state, lua_Integer number)
{
    lua_rawgetp(state, LUA_REGISTRYINDEX, &keptKey);
    pushLuaObject(state, number);
    const bool isThere = !lua_isnil(state, -1);
    lua_rawseti(state, -2, number);
    lua_pop(state, 1);
    return isThere;
}

void releaseLuaObject(lua_State* state, lua_Integer number)
{
    lua_rawgetp(state, LUA_REGISTRYINDEX, &keptKey);
    if (lua_rawgeti(state, -1, number) != LUA_TNIL) {
        lua_pushnil(state);
        lua_rawseti(state, -3, number); // in the place of what is there: needs no memory
    }
    lua_pop(state, 2);
}

} // namespace tovrinhost
