#pragma once

#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/script/ErrorReport.hpp"
#include "embedded_host/script/TimerSet.hpp"

#include <memory>
#include <string>
#include <vector>

namespace tovrinhost {

/// Runs a script, then serves its timers until none runs any more.
///
/// Threading: `interrupt`, any thread. Everything else, one thread, which is not the interpreter's.
class ScriptRunner {
public:
    /// \param maxBacklog how many callbacks of one timer may wait at most
    explicit ScriptRunner(std::size_t maxBacklog);
    ScriptRunner(const ScriptRunner&) = delete;
    ScriptRunner& operator=(const ScriptRunner&) = delete;

    /// Shuts the engine down, and the process-wide scheduler with it.
    ~ScriptRunner();

    /// \returns the exit status of the program: 0, 1 if the script or a callback failed, 130 if interrupted, or
    /// what
    ///          the script gave to os.exit
    int run(const std::string& path, const std::vector<std::string>& arguments);

    /// Gives up what is running; `run` then stops all timers, StopFcn included, and returns.
    void interrupt();

private:
    /// \returns whether it ran to its end
    bool runScript(Interpreter& interpreter, const std::string& path, const std::vector<std::string>& arguments);

    const std::shared_ptr<Engine> m_engine;
    ErrorReport m_errors;
    TimerSet m_timers;
    int m_exitCode = 0;
};

} // namespace tovrinhost
