#pragma once

#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/engine/Script.hpp"
#include "embedded_host/timers/ErrorReport.hpp"
#include "embedded_host/timers/TimerSet.hpp"

#include <atomic>
#include <functional>
#include <memory>

namespace tovrinhost {

/// The exit status after Ctrl-C.
inline constexpr int controlCStatus = 130;

/// Runs a script, then serves its timers until none runs any more.
///
/// Threading: `interrupt`, any thread. Everything else, one thread, which is not the interpreter's.
class ScriptRunner {
public:
    /// \param maxBacklog how many callbacks of one timer may wait at most
    /// \param clock the wall clock that the script sees
    explicit ScriptRunner(std::size_t maxBacklog, const WallClock& clock = systemWallClock());
    ScriptRunner(const ScriptRunner&) = delete;
    ScriptRunner& operator=(const ScriptRunner&) = delete;

    /// Shuts the engine down, and the process-wide scheduler with it.
    ~ScriptRunner();

    /// \returns the exit status of the program, by the first of these that holds:
    ///          - what `interrupt` was given first, or 130 if a program that the script ran was ended by Ctrl-C;
    ///          - what the script gave to os.exit last, wherever it did, if that is not 0 (success);
    ///          - 1 if the script or a callback failed, at whatever time;
    ///          - 0
    int run(const Script& script);

    /// Has something else done on the interpreter thread instead, as a shell does; then stops all timers.
    /// \returns the same, but that what failed on the way does not count
    int serve(const std::function<void(Interpreter&)>& work);

    /// Whether the script or a callback has failed.
    bool hasErrors() const { return m_errors.hasErrors(); }

    /// Whether `interrupt` has been called.
    bool isInterrupted() const { return m_interruptedStatus != 0; }

    /// Gives up what is running; `run` then stops all timers, StopFcn included, and returns.
    /// \param status what `run` returns then
    void interrupt(int status);

    /// For as long as the runner lives.
    TimerSet& timers() { return m_timers; }
    Diagnosis& diagnosis() { return m_timers.diagnosis(); }

private:
    void runAndStop(const std::function<void(Interpreter&)>& work);

    /// \returns whether it ran to its end
    bool runScript(Interpreter& interpreter, const Script& script);

    /// Notes an interruption that the script itself has met with.
    void noteInterruption();

    // In this order: the timers hold on to both.
    const std::shared_ptr<Engine> m_engine;
    ErrorReport m_errors;
    TimerSet m_timers;

    int m_exitCode = 0; ///< the latest that the script gave

    // Shared without a lock.
    std::atomic<int> m_interruptedStatus { 0 }; ///< 0 while there was no interruption
};

} // namespace tovrinhost
