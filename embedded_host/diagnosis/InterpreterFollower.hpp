#pragma once

#include "embedded_host/diagnosis/FiringLog.hpp"
#include "embedded_host/engine/InterpreterObserver.hpp"

#include <vector>

namespace tovrinhost {

/// Keeps the interpreter's part of the log while a script runs; of callbacks, the log itself is told.
///
/// Threading: the interpreter thread.
class InterpreterFollower final : public InterpreterObserver {
public:
    explicit InterpreterFollower(FiringLog& log);

    /// The script's own code runs for as long as this lives.
    class ScriptRuns {
    public:
        explicit ScriptRuns(InterpreterFollower& follower);
        ScriptRuns(const ScriptRuns&) = delete;
        ScriptRuns& operator=(const ScriptRuns&) = delete;
        ~ScriptRuns();

    private:
        InterpreterFollower& m_follower;
    };

    void sleeps() noexcept override;
    void wakes() noexcept override;
    void pumpingBegins(int line) noexcept override;
    void pumpingEnds() noexcept override;

private:
    static constexpr std::size_t usualDepth = 256; // more than may be nested

    void turnTo(InterpreterLog::State next, int line = 0) noexcept;

    FiringLog& m_log;
    std::vector<InterpreterLog::State> m_pumping; // what pauses or waits, the innermost last
};

} // namespace tovrinhost
