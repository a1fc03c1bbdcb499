#include "embedded_host/engine/Processes.hpp"

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/engine/Interpreter.hpp"
#include "embedded_host/engine/LuaFunction.hpp"
#include "embedded_host/engine/platform/Commands.hpp"

#include <lauxlib.h>
#include <lualib.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace tovrinhost {

namespace {

/// What a command has come to, as Lua tells it.
/// \throws Interrupted
int pushResult(lua_State* state, int result)
{
    const int error = errno;
    Interpreter& interpreter = Interpreter::of(state);
    EventLoop& loop = interpreter.loop();
    if (platform::isEndedByControlC(result) && loop.interruption() == Interruption::None) {
        loop.interrupt(Interruption::User);
        interpreter.code().interrupt();
    }
    if (loop.interruption() != Interruption::None) {
        throw Interrupted();
    }
    errno = error;
    return luaL_execresult(state, result);
}

/// os.execute([command])
int execute(lua_State* state)
{
    const char* command = luaL_optstring(state, 1, nullptr);
    if (command == nullptr) {
        // Runs nothing: asks whether there is a shell. NOLINTNEXTLINE(concurrency-mt-unsafe)
        lua_pushboolean(state, std::system(nullptr));
        return 1;
    }
    const EventLoop& loop = Interpreter::of(state).loop();
    errno = 0;
    return pushResult(
        state, platform::runCommand(command, [&loop] { return loop.interruption() != Interruption::None; }));
}

/// The file's close().
int closeProgram(lua_State* state)
{
    auto* stream = static_cast<luaL_Stream*>(luaL_checkudata(state, 1, LUA_FILEHANDLE));
    errno = 0;
    return pushResult(state, platform::closePipe(stream->f));
}

/// io.popen(command [, mode])
int openProgram(lua_State* state)
{
    const char* command = luaL_checkstring(state, 1);
    const char* mode = luaL_optstring(state, 2, "r");
    luaL_argcheck(state, platform::isPipeMode(mode), 2, "invalid mode");
    auto* stream = static_cast<luaL_Stream*>(lua_newuserdatauv(state, sizeof(luaL_Stream), 0));
    stream->closef = nullptr; // closed, as long as it is not open
    luaL_setmetatable(state, LUA_FILEHANDLE);
    std::fflush(nullptr);
    errno = 0;
    stream->f = platform::openPipe(command, mode);
    stream->closef = luaFunction<closeProgram>;
    return stream->f == nullptr ? luaL_fileresult(state, 0, command) : 1;
}

void replace(lua_State* state, const char* library, const char* name, lua_CFunction function)
{
    lua_getglobal(state, library);
    lua_pushcfunction(state, function);
    lua_setfield(state, -2, name);
    lua_pop(state, 1);
}

} // namespace

void openProcesses(lua_State* state)
{
    replace(state, "os", "execute", luaFunction<execute>);
    replace(state, "io", "popen", luaFunction<openProgram>);
}

} // namespace tovrinhost
