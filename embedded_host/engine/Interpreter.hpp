#pragma once

#include "host/Export.hpp"
#include "host/foundation/tovrindata/Array.hpp"

#include <lua.h>

#include <memory>
#include <string>
#include <vector>

namespace tovrinhost {

class EventLoop;

/// A Lua state with the standard libraries.
///
/// Threading: the interpreter thread only.
/// Errors: what a script raises and does not catch is a ScriptError, with the traceback.
/// While the event loop is interrupted, all running code is given up by the error "interrupted", again and again
/// until it has left every protected call.
class TOVRINHOST_API Interpreter {
public:
    explicit Interpreter(EventLoop& loop);
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;
    ~Interpreter();

    /// The interpreter that a running script belongs to.
    static Interpreter& of(lua_State* state);

    /// Has running code look at once whether the event loop has been interrupted, and not in a while.
    static void lookAtInterruption(lua_State* state);

    EventLoop& loop() { return m_loop; }

    /// Where code runs: the main state, or the coroutine that pumps the event loop.
    lua_State* state() { return m_current; }

    /// Calls the function of this global name.
    std::vector<foundation::tovrindata::Array> call(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t outputs);

    /// Runs statements.
    /// \param chunkName how tracebacks call them: "=name", or "@file"
    void execute(const std::string& statements, const std::string& chunkName);

    /// Runs a script file, with the global `arg` as the standalone interpreter sets it.
    void runFile(const std::string& path, const std::vector<std::string>& arguments);

    /// Calls the function below its arguments on the stack of `state()`.
    void callOnStack(int arguments, int results);

    /// Makes the running coroutine the one in which nested code runs, for as long as this object lives.
    class TOVRINHOST_API Nested {
    public:
        explicit Nested(lua_State* running);
        Nested(const Nested&) = delete;
        Nested& operator=(const Nested&) = delete;
        ~Nested();

    private:
        Interpreter& m_interpreter;
        lua_State* const m_outer;
    };

private:
    struct Close {
        void operator()(lua_State* state) const { lua_close(state); }
    };

    void load(int status);

    EventLoop& m_loop;
    std::unique_ptr<lua_State, Close> m_main;
    lua_State* m_current;
};

} // namespace tovrinhost
