#include "embedded_host/engine/Interpreter.hpp"

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/engine/LuaArrays.hpp"
#include "embedded_host/engine/ScriptError.hpp"

#include <boost/exception/enable_current_exception.hpp>

#include <lauxlib.h>
#include <lualib.h>

#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

namespace tovrinhost {

namespace {

constexpr int mostNested = 150;

/// The stack is at the end what it was at the beginning.
class RestoredStack {
public:
    explicit RestoredStack(lua_State* state)
        : m_state(state)
        , m_top(lua_gettop(state))
    {
    }
    RestoredStack(const RestoredStack&) = delete;
    RestoredStack& operator=(const RestoredStack&) = delete;
    ~RestoredStack() { lua_settop(m_state, m_top); }

private:
    lua_State* const m_state;
    const int m_top;
};

/// Throws in a way in which the future that carries the error to its reader keeps its type.
[[noreturn]] void fail(std::string message, std::string traceback = "")
{
    throw boost::enable_current_exception(ScriptError(std::move(message), std::move(traceback)));
}

void reserveStack(lua_State* state, std::size_t values)
{
    if (values > LUAI_MAXSTACK || lua_checkstack(state, static_cast<int>(values)) == 0) {
        fail("stack overflow (" + std::to_string(values) + " more values)");
    }
}

/// The text on top of the stack.
std::string topText(lua_State* state)
{
    if (lua_type(state, -1) != LUA_TSTRING) {
        return "an error that cannot be shown";
    }
    std::size_t length = 0;
    const char* text = lua_tolstring(state, -1, &length);
    return { text, length };
}

/// Leaves the loaded chunk on the stack.
void checkLoaded(lua_State* state, int status)
{
    if (status != LUA_OK) {
        fail(topText(state));
    }
}

void load(lua_State* state, const std::string& statements, const std::string& chunkName)
{
    checkLoaded(state, luaL_loadbufferx(state, statements.data(), statements.size(), chunkName.c_str(), "t"));
}

/// Has `require` look into the file's folder, before all others. A folder whose name has a mark of package.path in
/// it cannot be told to it.
void findModulesBeside(lua_State* state, const std::string& file)
{
    const std::size_t end = file.find_last_of("/" LUA_DIRSEP);
    const std::string folder = end == std::string::npos ? "." : file.substr(0, end);
    if (folder.find_first_of(";?") != std::string::npos) {
        return;
    }
    lua_getglobal(state, LUA_LOADLIBNAME);
    pushText(state, folder + "/?.lua;" + folder + "/?/init.lua;");
    lua_getfield(state, -2, "path");
    lua_concat(state, 2);
    lua_setfield(state, -2, "path");
    lua_pop(state, 1);
}

/// The line of the script at which a function of the host's is called; 0 if it is called by another.
int lineOfCaller(lua_State* running)
{
    lua_Debug caller {};
    const bool isKnown = lua_getstack(running, 1, &caller) != 0 && lua_getinfo(running, "l", &caller) != 0;
    return isKnown && caller.currentline > 0 ? caller.currentline : 0;
}

/// Does what `protect` is given, in a call of its own.
struct Protected {
    const std::function<int(lua_State*)>& work;
    std::exception_ptr thrown;

    static int call(lua_State* state)
    {
        auto& self = *static_cast<Protected*>(lua_touserdata(state, 1));
        lua_settop(state, 0);
        try {
            return self.work(state);
        } catch (const std::exception&) {
            // Lua does not let it through.
            self.thrown = std::current_exception();
        }
        lua_settop(state, 0);
        lua_pushnil(state);
        return lua_error(state);
    }
};

} // namespace

Interpreter::Interpreter(EventLoop& loop)
    : m_loop(loop)
    , m_main(luaL_newstate())
    , m_code(m_main.get(), loop)
{
    if (!m_main) {
        throw std::bad_alloc();
    }
    // Coroutines inherit it from the main state.
    *static_cast<Interpreter**>(lua_getextraspace(m_main.get())) = this;
    protect([](lua_State* state) {
        luaL_openlibs(state);
        openLuaObjects(state);
        RunningCode::watchCoroutines(state);
        return 0;
    });
}

Interpreter::~Interpreter()
{
    m_main.reset(); // finalizers run: everything else has to be there still
}

Interpreter& Interpreter::of(lua_State* state)
{
    return **static_cast<Interpreter**>(lua_getextraspace(state));
}

void Interpreter::define(const std::string& name, const std::string& source, PushArguments push)
{
    protect([&](lua_State* state) {
        load(state, source, "=" + name);
        lua_call(state, 0, 1);
        m_functions[name] = { luaL_ref(state, LUA_REGISTRYINDEX), push };
        return 0;
    });
}

/// As they are.
int Interpreter::pushArguments(lua_State* state, const Arguments& arguments)
{
    reserveStack(state, arguments.size());
    for (const auto& argument : arguments) {
        pushArray(state, argument);
    }
    return static_cast<int>(arguments.size());
}

/// The host's function of this name, or the global of this name, or nil.
/// \returns how its arguments are pushed
Interpreter::PushArguments Interpreter::pushFunction(lua_State* state, const std::string& name) const
{
    const auto found = m_functions.find(name);
    if (found != m_functions.end()) {
        lua_rawgeti(state, LUA_REGISTRYINDEX, found->second.reference);
        return found->second.push;
    }
    lua_pushglobaltable(state);
    pushText(state, name);
    lua_gettable(state, -2);
    return pushArguments;
}

Interpreter::Arguments Interpreter::call(
    const std::string& function, const Arguments& arguments, std::size_t outputs)
{
    const RestoredStack stack(state());
    const int handler = pushHandler();
    int pushed = 0;
    const auto pushCall = [&](lua_State* state) {
        const PushArguments push = pushFunction(state, function);
        pushed = push(state, arguments);
        return pushed + 1;
    };
    protectAbove(handler, std::cref(pushCall)); // a copy of it would be one on the heap
    reserveStack(state(), outputs + 1);
    callAbove(handler, pushed, static_cast<int>(outputs));
    Arguments results;
    for (std::size_t i = 1; i <= outputs; ++i) {
        results.push_back(toArray(state(), handler + static_cast<int>(i)));
    }
    return results;
}

void Interpreter::execute(const std::string& statements, const std::string& chunkName)
{
    const RestoredStack stack(state());
    const int handler = pushHandler();
    protectAbove(handler, [&](lua_State* state) {
        load(state, statements, chunkName);
        return 1;
    });
    callAbove(handler, 0, 0);
}

void Interpreter::runScript(const Script& script)
{
    const auto& arguments = script.arguments;
    const RestoredStack stack(state());
    const int handler = pushHandler();
    protectAbove(handler, [&](lua_State* state) {
        lua_createtable(state, static_cast<int>(arguments.size()), 1);
        pushText(state, script.name);
        lua_rawseti(state, -2, 0);
        lua_Integer place = 0;
        for (const std::string& argument : arguments) {
            pushText(state, argument);
            lua_rawseti(state, -2, ++place);
        }
        lua_setglobal(state, "arg");

        reserveStack(state, arguments.size() + 3);
        if (script.text) {
            load(state, script.text->statements, script.text->chunkName);
        } else {
            findModulesBeside(state, script.name);
            checkLoaded(state, luaL_loadfilex(state, script.name.c_str(), "t"));
        }
        for (const std::string& argument : arguments) {
            pushText(state, argument);
        }
        return static_cast<int>(arguments.size()) + 1;
    });
    callAbove(handler, static_cast<int>(arguments.size()), 0);
}

void Interpreter::protect(const std::function<int(lua_State*)>& work)
{
    const int handler = pushHandler();
    protectAbove(handler, work);
    lua_remove(state(), handler);
}

/// Pushes the message handler. Above it is room for a protected call.
/// \returns where it is
int Interpreter::pushHandler()
{
    reserveStack(state(), 3);
    lua_pushcfunction(state(), describeError);
    return lua_gettop(state());
}

/// Does what `protect` does, with the handler that is on top of the stack.
void Interpreter::protectAbove(int handler, const std::function<int(lua_State*)>& work)
{
    Protected call { work, nullptr };
    lua_pushcfunction(state(), Protected::call);
    lua_pushlightuserdata(state(), &call);
    try {
        callAbove(handler, 1, LUA_MULTRET);
    } catch (const ScriptError&) {
        if (call.thrown) {
            std::rethrow_exception(call.thrown);
        }
        throw;
    }
}

/// Calls the function and its arguments, all that is on the stack of `state()` above the handler. The results
/// replace them; an error takes the handler away, too.
void Interpreter::callAbove(int handler, int arguments, int results)
{
    lua_State* const state = this->state();
    std::string traceback;
    std::string* const outerTraceback = std::exchange(m_traceback, &traceback);
    const int status = lua_pcall(state, arguments, results, handler);
    m_traceback = outerTraceback;
    if (status == LUA_OK) {
        return;
    }
    std::string message = topText(state);
    lua_settop(state, handler - 1);
    if (m_code.isInterrupted()) {
        fail("interrupted");
    }
    fail(std::move(message), std::move(traceback));
}

/// The message handler: notes the traceback, and turns the error value into text.
int Interpreter::describeError(lua_State* state)
{
    luaL_traceback(state, state, nullptr, 1);
    *of(state).m_traceback = topText(state);
    luaL_tolstring(state, 1, nullptr);
    return 1;
}

Interpreter::Nested::Nested(lua_State* running, const std::string& caller)
    : m_interpreter(of(running))
{
    if (m_interpreter.m_nested == mostNested) {
        throw std::runtime_error(caller + ": " + std::to_string(mostNested)
            + " calls of pause, wait and delete are nested in one another's callbacks, and no more may be; let "
              "callbacks return instead");
    }
    ++m_interpreter.m_nested;
    if (auto* const observer = m_interpreter.loop().observer()) {
        observer->pumpingBegins(lineOfCaller(running));
    }
}

Interpreter::Nested::~Nested()
{
    if (auto* const observer = m_interpreter.loop().observer()) {
        observer->pumpingEnds();
    }
    --m_interpreter.m_nested;
}

} // namespace tovrinhost
