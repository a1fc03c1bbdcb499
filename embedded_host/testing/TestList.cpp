#include "embedded_host/testing/TestList.hpp"

#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/timers/TimerProperties.hpp"

#include <algorithm>
#include <stdexcept>

namespace tovrinhost {

namespace {

int lineAt(lua_State* state, int level)
{
    lua_Debug caller {};
    const bool isKnown = lua_getstack(state, level, &caller) != 0 && lua_getinfo(state, "l", &caller) != 0;
    return isKnown ? std::max(caller.currentline, 0) : 0;
}

template <typename Tests> auto findTest(Tests& tests, const std::string& name)
{
    return std::find_if(tests.begin(), tests.end(), [&](const auto& test) { return test.name == name; });
}

} // namespace

void TestList::open(lua_State* state)
{
    lua_pushlightuserdata(state, this);
    lua_pushcclosure(state, luaFunction<test>, 1);
    lua_setglobal(state, "test");
}

/// test(name, f). Upvalue: the list.
int TestList::test(lua_State* state)
{
    static_cast<TestList*>(lua_touserdata(state, lua_upvalueindex(1)))->declare(state);
    return 0;
}

void TestList::declare(lua_State* state)
{
    if (!m_isOpen) {
        throw std::logic_error("test: tests are declared while their file is loaded, not within one of them");
    }
    if (lua_type(state, 1) != LUA_TSTRING || lua_rawlen(state, 1) == 0) {
        throw std::invalid_argument(
            "test: the name is " + describeValue(state, 1) + ", but must be a string that is not empty");
    }
    const std::string name = textAt(state, 1);
    if (!lua_isfunction(state, 2)) {
        throw std::invalid_argument("test \"" + escape(name) + "\": what is to be run is "
            + describeValue(state, 2) + ", but must be a function");
    }
    const auto same = findTest(m_tests, name);
    if (same != m_tests.end()) {
        throw std::invalid_argument("test \"" + escape(name) + "\": there is one of this name in line "
            + std::to_string(same->line) + " already");
    }
    lua_settop(state, 2);
    m_functions.push_back(luaL_ref(state, LUA_REGISTRYINDEX));
    m_tests.push_back({ name, lineAt(state, 1) });
}

void TestList::push(lua_State* state, const std::string& name) const
{
    const auto found = findTest(m_tests, name);
    if (found == m_tests.end()) {
        lua_pushnil(state);
    } else {
        lua_rawgeti(state, LUA_REGISTRYINDEX, m_functions[static_cast<std::size_t>(found - m_tests.begin())]);
    }
}

} // namespace tovrinhost
