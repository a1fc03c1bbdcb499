#include "embedded_host/engine/Interpreter.hpp"

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/engine/LuaArrays.hpp"
#include "embedded_host/engine/ScriptError.hpp"

#include <boost/exception/enable_current_exception.hpp>

#include <lauxlib.h>
#include <lualib.h>

#include <new>
#include <utility>

namespace tovrinhost {

namespace {

// How many instructions run between two looks at the interruption: some microseconds.
constexpr int instructionsPerLook = 1000;

/// Raises the error "interrupted", also at every following instruction, so that no protected call of the script's
/// own can hold it up.
void giveUpIfInterrupted(lua_State* state, lua_Debug* /*unused*/)
{
    const bool interrupted = Interpreter::of(state).loop().interruption() != Interruption::None;
    lua_sethook(state, giveUpIfInterrupted, LUA_MASKCOUNT, interrupted ? 1 : instructionsPerLook);
    if (interrupted) {
        luaL_error(state, "interrupted");
    }
}

/// Turns the error value into text, and notes the traceback in the std::string that the upvalue points to.
int describeError(lua_State* state)
{
    auto* traceback = static_cast<std::string*>(lua_touserdata(state, lua_upvalueindex(1)));
    luaL_traceback(state, state, nullptr, 1);
    *traceback = lua_tostring(state, -1);
    luaL_tolstring(state, 1, nullptr);
    return 1;
}

std::string popText(lua_State* state)
{
    std::size_t length = 0;
    const char* text = luaL_tolstring(state, -1, &length);
    std::string copy(text, length);
    lua_pop(state, 2);
    return copy;
}

} // namespace

Interpreter::Interpreter(EventLoop& loop)
    : m_loop(loop)
    , m_main(luaL_newstate())
    , m_current(m_main.get())
{
    if (!m_main) {
        throw std::bad_alloc();
    }
    // Coroutines inherit both from the state that makes them.
    *static_cast<Interpreter**>(lua_getextraspace(m_main.get())) = this;
    lua_sethook(m_main.get(), giveUpIfInterrupted, LUA_MASKCOUNT, instructionsPerLook);
    luaL_openlibs(m_main.get());
}

Interpreter::~Interpreter() = default;

Interpreter& Interpreter::of(lua_State* state)
{
    return **static_cast<Interpreter**>(lua_getextraspace(state));
}

void Interpreter::lookAtInterruption(lua_State* state)
{
    lua_sethook(state, giveUpIfInterrupted, LUA_MASKCOUNT, 1);
}

std::vector<foundation::tovrindata::Array> Interpreter::call(
    const std::string& function, const std::vector<foundation::tovrindata::Array>& arguments, std::size_t outputs)
{
    lua_State* state = m_current;
    const int top = lua_gettop(state);
    luaL_checkstack(state, static_cast<int>(arguments.size() + outputs) + 4, "too many arguments");
    lua_getglobal(state, function.c_str());
    for (const auto& argument : arguments) {
        pushArray(state, argument);
    }
    callOnStack(static_cast<int>(arguments.size()), static_cast<int>(outputs));
    std::vector<foundation::tovrindata::Array> results;
    for (std::size_t i = 0; i < outputs; ++i) {
        results.push_back(toArray(state, top + 1 + static_cast<int>(i)));
    }
    lua_settop(state, top);
    return results;
}

void Interpreter::execute(const std::string& statements, const std::string& chunkName)
{
    load(luaL_loadbufferx(m_current, statements.data(), statements.size(), chunkName.c_str(), "t"));
    callOnStack(0, 0);
}

void Interpreter::runFile(const std::string& path, const std::vector<std::string>& arguments)
{
    lua_State* state = m_current;
    lua_createtable(state, static_cast<int>(arguments.size()), 1);
    lua_pushstring(state, path.c_str());
    lua_rawseti(state, -2, 0);
    lua_Integer place = 0;
    for (const std::string& argument : arguments) {
        lua_pushlstring(state, argument.data(), argument.size());
        lua_rawseti(state, -2, ++place);
    }
    lua_setglobal(state, "arg");

    load(luaL_loadfilex(state, path.c_str(), "t"));
    for (const std::string& argument : arguments) {
        luaL_checkstack(state, 1, "too many arguments");
        lua_pushlstring(state, argument.data(), argument.size());
    }
    callOnStack(static_cast<int>(arguments.size()), 0);
}

void Interpreter::callOnStack(int arguments, int results)
{
    lua_State* state = m_current;
    std::string traceback;
    const int function = lua_absindex(state, -arguments - 1);
    lua_pushlightuserdata(state, &traceback);
    lua_pushcclosure(state, describeError, 1);
    lua_insert(state, function);
    const int status = lua_pcall(state, arguments, results, function);
    lua_remove(state, function);
    if (status != LUA_OK) {
        // The future that carries the error to its reader keeps the type only of an error that is thrown this way.
        throw boost::enable_current_exception(ScriptError(popText(state), std::move(traceback)));
    }
}

void Interpreter::load(int status)
{
    if (status != LUA_OK) {
        throw boost::enable_current_exception(ScriptError(popText(m_current), ""));
    }
}

Interpreter::Nested::Nested(lua_State* running)
    : m_interpreter(of(running))
    , m_outer(std::exchange(m_interpreter.m_current, running))
{
}

Interpreter::Nested::~Nested()
{
    m_interpreter.m_current = m_outer;
}

} // namespace tovrinhost
