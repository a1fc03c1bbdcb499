#include "embedded_host/shell/Chunk.hpp"

#include "embedded_host/timers/ValueText.hpp"

#include <lauxlib.h>

#include <cstdio>
#include <string_view>

namespace tovrinhost {

namespace {

constexpr const char* chunkName = "=input";

/// Pushes the chunk, or why it is none.
int loadAs(lua_State* state, const std::string& text)
{
    return luaL_loadbufferx(state, text.data(), text.size(), chunkName, "t");
}

int load(lua_State* state, const std::string& text)
{
    if (loadAs(state, "return " + text) == LUA_OK) {
        return LUA_OK;
    }
    lua_pop(state, 1);
    return loadAs(state, text);
}

/// Whether the error on top of the stack is one that more text could mend.
bool isOfTheEnd(lua_State* state)
{
    std::size_t length = 0;
    const char* const start = lua_tolstring(state, -1, &length);
    const std::string_view message(start, length);
    // A text in quotes ends with its line.
    return message.ends_with("<eof>") && message.find("unfinished string near") == std::string_view::npos;
}

/// Of what the chunk has returned, all that is on the stack.
void showValues(lua_State* state)
{
    const int values = lua_gettop(state);
    if (values == 0) {
        return;
    }
    lua_pushvalue(state, 1);
    lua_setglobal(state, "_");
    std::string line;
    for (int index = 1; index <= values; ++index) {
        if (index > 1) {
            line += '\t';
        }
        line += valueText(state, index);
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
}

} // namespace

bool isUnfinished(Interpreter& interpreter, const std::string& text)
{
    bool answer = false;
    interpreter.protect([&](lua_State* state) {
        const bool isExpression = loadAs(state, "return " + text) == LUA_OK;
        const bool isLongerExpression = !isExpression && isOfTheEnd(state);
        const bool isStatements = loadAs(state, text) == LUA_OK;
        answer = !isExpression && !isStatements && (isLongerExpression || isOfTheEnd(state));
        lua_settop(state, 0);
        return 0;
    });
    return answer;
}

void runChunk(Interpreter& interpreter, const std::string& text)
{
    interpreter.protect([&](lua_State* state) {
        if (load(state, text) != LUA_OK) {
            return lua_error(state);
        }
        lua_call(state, 0, LUA_MULTRET);
        showValues(state);
        lua_settop(state, 0);
        return 0;
    });
}

} // namespace tovrinhost
