#include "embedded_host/shell/Shell.hpp"

#include "embedded_host/shell/Chunk.hpp"

#include <algorithm>
#include <iostream>
#include <utility>

namespace tovrinhost {

Shell::Shell(TimerSet& timers, LineInput& input, std::function<bool()> isToEnd)
    : m_timers(timers)
    , m_input(input)
    , m_isToEnd(std::move(isToEnd))
{
}

bool Shell::runFile(Interpreter& interpreter, const std::string& path)
{
    return runCode([&] { interpreter.runScript({ path, {}, std::nullopt }); });
}

bool Shell::serve(Interpreter& interpreter)
{
    while (!isOver()) {
        std::string text;
        m_input.showOutput();
        switch (read(interpreter, text)) {
        case LineInput::Came::Text:
            m_hasAsked = false;
            if (text.find_first_not_of(" \t\n") != std::string::npos) {
                m_input.remember(text);
                runCode([&] { runChunk(interpreter, text); });
            }
            break;
        case LineInput::Came::Cancelled:
            break;
        case LineInput::Came::End:
            if (mayEnd()) {
                return true;
            }
            break;
        case LineInput::Came::Gone:
            return false;
        }
    }
    return true;
}

/// Whether os.exit has been called, or a signal has come that ends the program.
bool Shell::isOver() const
{
    return m_timers.engine().loop().interruption() == Interruption::Exit || m_isToEnd();
}

LineInput::Came Shell::read(Interpreter& interpreter, std::string& text)
{
    const LineInput::Assistance assistance {
        [&interpreter](const std::string& chunk) { return isUnfinished(interpreter, chunk); },
        [&interpreter](const std::string& chunk, std::size_t cursor) {
            Completion completion;
            interpreter.protect([&](lua_State* state) {
                completion = complete(state, chunk, cursor);
                return 0;
            });
            return completion;
        },
    };
    try {
        return m_input.read(m_timers.engine().loop(), assistance, text);
    } catch (const Interrupted&) {
        notesCodeRuns(false);
        return LineInput::Came::Cancelled;
    }
}

/// \returns whether there is to be more
bool Shell::runCode(const std::function<void()>& work)
{
    std::exception_ptr error;
    notesCodeRuns(true);
    try {
        const InterpreterFollower::ScriptRuns runs(m_timers.diagnosis().follower());
        work();
    } catch (const std::exception&) {
        error = std::current_exception();
    }
    const bool isInterrupted = m_timers.engine().loop().interruption() != Interruption::None;
    notesCodeRuns(false);
    if (isOver()) {
        return false;
    }
    if (isInterrupted) {
        std::cerr << "tovrin: interrupted\n";
    } else if (error) {
        m_errors.report("input", error);
    }
    return true;
}

/// From here on, Ctrl-C is for the code that runs, or not any more. What it has done to the code before is over.
void Shell::notesCodeRuns(bool runs)
{
    const std::lock_guard lock(m_mutex);
    m_codeRuns = runs;
    EventLoop& loop = m_timers.engine().loop();
    if (!runs && loop.interruption() == Interruption::User && !m_isToEnd()) {
        loop.clearInterruption();
    }
}

bool Shell::mayEnd()
{
    const auto& timers = m_timers.all();
    const auto running
        = std::count_if(timers.begin(), timers.end(), [](const auto& entry) { return entry.second->isRunning(); });
    if (running == 0 || std::exchange(m_hasAsked, true)) {
        return true;
    }
    std::cerr << "tovrin: " + std::to_string(running) + (running == 1 ? " timer runs" : " timers run")
            + "; Ctrl-D again stops " + (running == 1 ? "it" : "them") + " and ends\n";
    return false;
}

void Shell::controlC()
{
    const std::lock_guard lock(m_mutex);
    if (m_codeRuns || !m_input.cancel()) {
        m_timers.engine().interrupt(Interruption::User);
    }
}

} // namespace tovrinhost
