#pragma once

#include "embedded_host/timers/RunIntake.hpp"

#include <cstdint>

namespace tovrinhost {

/// How far a run has come with its TimerFcns: how many have begun, by which the run ends once there are as many as
/// the timer is set to, and whether the latest was the last for the library, too. Where the library goes on beyond
/// that number, the run stops it.
///
/// Threading: the interpreter thread.
class RunProgress {
public:
    /// \param total as the intake has it, in which the library's TimerFcns are counted
    RunProgress(tovrintimer::ExecutionMode mode, std::uint64_t total, RunIntake& intake)
        : m_mode(mode)
        , m_wanted(mode == tovrintimer::ExecutionMode::SingleShot ? 1 : total)
        , m_intake(intake)
    {
    }

    /// \param mark of its task
    void timerFcnBegins(TaskMark mark);

    /// It has succeeded.
    void timerFcnEnds();

    /// Puts a new number of tasks in force.
    /// \throws std::invalid_argument if the library cannot honour it any more
    void setTotal(std::uint64_t wanted);

    std::uint64_t timerFcns() const { return m_timerFcns; }

    /// Whether as many TimerFcns have begun as the timer is set to.
    bool hasBegunAll() const { return m_timerFcns >= m_wanted; }

    /// Whether the TimerFcn that began last is the last for the library, too, as far as that has been counted.
    bool isLastOfLibrary() const { return m_isLastOfLibrary; }

private:
    const tovrintimer::ExecutionMode m_mode;
    std::uint64_t m_wanted;
    std::uint64_t m_timerFcns = 0; // that have begun
    bool m_isLastOfLibrary = false;
    RunIntake& m_intake;
};

} // namespace tovrinhost
