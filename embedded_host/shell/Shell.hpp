#pragma once

#include "embedded_host/engine/Interpreter.hpp"
#include "embedded_host/shell/LineInput.hpp"
#include "embedded_host/timers/ErrorReport.hpp"
#include "embedded_host/timers/TimerSet.hpp"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tovrinhost {

/// Reads what somebody types, runs it and shows what comes of it, again and again, while timers fire.
///
///     waits for input --input--> runs it --its end, an error, Ctrl-C--> waits for input
///        Ctrl-C: the input is given up; once more, before that could be: the callback that is in its way
///
/// Threading: `controlC`, any thread. Everything else, the interpreter thread.
/// Lock order: m_mutex, then those of the engine and of the input.
class Shell {
public:
    /// \param isToEnd asked on the interpreter thread: whether the whole program is to end, as after SIGTERM
    Shell(TimerSet& timers, LineInput& input, std::function<bool()> isToEnd);

    /// Runs a script file. \returns whether there is to be more
    bool runFile(Interpreter& interpreter, const std::string& path);

    /// Serves until the input ends, or the program is to. Timers are still running then.
    /// \returns false if the terminal has gone away
    bool serve(Interpreter& interpreter);

    /// Gives up what is being typed, or the code that runs.
    void controlC();

private:
    bool isOver() const;
    LineInput::Came read(Interpreter& interpreter, std::string& text);
    bool runCode(const std::function<void()>& work);
    bool mayEnd();
    void notesCodeRuns(bool runs);

    TimerSet& m_timers;
    LineInput& m_input;
    const std::function<bool()> m_isToEnd;
    ErrorReport m_errors;
    bool m_hasAsked = false; // whether it is to end although timers run

    std::mutex m_mutex;
    bool m_codeRuns = false; // guarded by m_mutex
};

} // namespace tovrinhost
