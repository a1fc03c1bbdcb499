#include "embedded_host/engine/RunningCode.hpp"

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/engine/Interpreter.hpp"

#include <lauxlib.h>
#include <lualib.h>

namespace tovrinhost {

/// A coroutine runs for as long as this lives, then again the one before.
class RunningCode::Resumed {
public:
    /// \param coroutine null if the script gave something else; the library function will say so
    Resumed(RunningCode& code, lua_State* coroutine)
        : m_code(code)
        , m_outer(&code.innermost())
        , m_level { coroutine == nullptr ? m_outer->state : coroutine }
    {
        m_code.m_innermost = &m_level;
        m_code.interruptIfAsked();
    }
    Resumed(const Resumed&) = delete;
    Resumed& operator=(const Resumed&) = delete;

    ~Resumed()
    {
        m_code.m_innermost = m_outer;
        restoreHook(m_level);
        m_code.interruptIfAsked();
    }

private:
    RunningCode& m_code;
    Level* const m_outer;
    Level m_level;
};

RunningCode::RunningCode(lua_State* main, const EventLoop& loop)
    : m_loop(loop)
    , m_main { main }
{
}

void RunningCode::watchCoroutines(lua_State* state)
{
    lua_getglobal(state, LUA_COLIBNAME);
    for (const char* name : { "resume", "close" }) {
        lua_getfield(state, -1, name);
        lua_pushcclosure(state, runCoroutine, 1);
        lua_setfield(state, -2, name);
    }
    lua_getfield(state, -1, "wrap");
    lua_pushcclosure(state, wrap, 1);
    lua_setfield(state, -2, "wrap");
    lua_pop(state, 1);
}

/// coroutine.resume and coroutine.close. Upvalue: the library's own function.
int RunningCode::runCoroutine(lua_State* state)
{
    const Resumed resumed(Interpreter::of(state).code(), lua_tothread(state, 1));
    return lua_tocfunction(state, lua_upvalueindex(1))(state);
}

/// What coroutine.wrap makes. Upvalues: the coroutine, where the library's own function expects it, and that.
int RunningCode::runWrapped(lua_State* state)
{
    const Resumed resumed(Interpreter::of(state).code(), lua_tothread(state, lua_upvalueindex(1)));
    return lua_tocfunction(state, lua_upvalueindex(2))(state);
}

/// coroutine.wrap. Upvalue: the library's own function.
int RunningCode::wrap(lua_State* state)
{
    lua_tocfunction(state, lua_upvalueindex(1))(state);
    const lua_CFunction resume = lua_tocfunction(state, -1);
    lua_getupvalue(state, -1, 1);
    lua_pushcfunction(state, resume);
    lua_pushcclosure(state, runWrapped, 2);
    return 1;
}

void RunningCode::interrupt() noexcept
{
    Level& level = innermost();
    lua_State* const state = level.state;
    const lua_Hook hook = lua_gethook(state);
    const int mask = lua_gethookmask(state);
    const int count = lua_gethookcount(state);
    // Not after another interruption, which may have come between these lines.
    if (lua_gethook(state) != look) {
        level.hook = hook;
        level.mask = mask;
        level.count = count;
    }
    lua_sethook(state, look, LUA_MASKCOUNT, 1);
}

void RunningCode::interruptIfAsked() noexcept
{
    if (isInterrupted()) {
        interrupt();
    }
}

bool RunningCode::isInterrupted() const noexcept
{
    return m_loop.interruption() != Interruption::None;
}

int RunningCode::giveUp(lua_State* state)
{
    lua_pushliteral(state, "not enough memory");
    return lua_error(state);
}

/// The hook.
void RunningCode::look(lua_State* state, lua_Debug* /*event*/)
{
    RunningCode& code = Interpreter::of(state).code();
    if (code.isInterrupted()) {
        giveUp(state);
    }
    restoreHook(code.innermost());
    code.interruptIfAsked();
}

void RunningCode::restoreHook(const Level& level)
{
    if (lua_gethook(level.state) == look) {
        lua_sethook(level.state, level.hook, level.mask, level.count);
    }
}

} // namespace tovrinhost
