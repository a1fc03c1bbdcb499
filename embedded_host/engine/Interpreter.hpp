#pragma once

#include "embedded_host/engine/RunningCode.hpp"
#include "embedded_host/engine/Script.hpp"
#include "embedded_host/engine/SpareBlocks.hpp"
#include "host/Export.hpp"
#include "host/foundation/tovrindata/Array.hpp"

#include <lua.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tovrinhost {

class EventLoop;

/// A Lua state with the standard libraries.
///
/// Threading: the interpreter thread only.
/// Errors: what a script raises and does not catch is a ScriptError, with the traceback. The stack is then as it
/// was. While the event loop is interrupted, all running code is given up; see RunningCode.
class TOVRINHOST_API Interpreter {
public:
    explicit Interpreter(EventLoop& loop);
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;
    ~Interpreter();

    /// The interpreter that a running script belongs to.
    static Interpreter& of(lua_State* state);

    EventLoop& loop() { return m_loop; }
    RunningCode& code() { return m_code; }

    /// Where code runs: the main state, or the coroutine that pumps the event loop.
    lua_State* state() { return m_code.state(); }

    /// For the state's memory.
    SpareBlocks& spareBlocks() { return m_spareBlocks; }

    using Arguments = std::vector<foundation::tovrindata::Array>;

    /// Pushes what a function of the host's is called with, in place of its arguments as they are: their values
    /// need not be made where nobody looks at them. May raise errors of Lua, and throw.
    /// \returns how many values
    using PushArguments = int (*)(lua_State* state, const Arguments& arguments);

    /// Makes a function of the host's known to `call`, under a name that scripts neither see nor take away.
    /// \param source statements that return the function
    void define(const std::string& name, const std::string& source, PushArguments push = pushArguments);

    /// Calls the function of this name: the host's if there is one, else the global one.
    Arguments call(const std::string& function, const Arguments& arguments, std::size_t outputs);

    /// Runs statements.
    /// \param chunkName how tracebacks call them: "=name", or "@file"
    void execute(const std::string& statements, const std::string& chunkName);

    /// Runs a script, with the global `arg` as the standalone interpreter sets it. `require` looks for modules
    /// beside the file first.
    void runScript(const Script& script);

    /// Does something that may raise errors of Lua. Everything that the host does with a state goes through here,
    /// but for the functions that scripts call.
    /// \param work given a stack of its own; returns how many values on its top it leaves on that of `state()`
    /// \throws ScriptError for an error of Lua; what `work` throws
    void protect(const std::function<int(lua_State*)>& work);

    /// Code that the event loop runs while a script pumps is nested in it for as long as this object lives.
    class TOVRINHOST_API Nested {
    public:
        /// \throws std::runtime_error, beginning with `caller`, if too much is nested already: Lua's own limit is
        ///         near 200, and other calls count towards it, too
        Nested(lua_State* running, const std::string& caller);
        Nested(const Nested&) = delete;
        Nested& operator=(const Nested&) = delete;
        ~Nested();

    private:
        Interpreter& m_interpreter;
    };

private:
    struct Close {
        void operator()(lua_State* state) const { lua_close(state); }
    };

    /// A function of the host's.
    struct HostFunction {
        int reference; ///< in the registry
        PushArguments push;
    };

    static int pushArguments(lua_State* state, const Arguments& arguments);
    PushArguments pushFunction(lua_State* state, const std::string& name) const;
    static int describeError(lua_State* state);
    int pushHandler();
    void protectAbove(int handler, const std::function<int(lua_State*)>& work);
    void callAbove(int handler, int arguments, int results);

    EventLoop& m_loop;
    SpareBlocks m_spareBlocks; // before the state, whose blocks they are
    std::unique_ptr<lua_State, Close> m_main; // before what is initialised from it
    RunningCode m_code;
    std::map<std::string, HostFunction> m_functions; // by name
    std::string* m_traceback = nullptr; // of the innermost protected call
    int m_nested = 0;
};

} // namespace tovrinhost
