#pragma once

#include "embedded_host/engine/TimerEngine.hpp"
#include "embedded_host/timers/TaskCount.hpp"
#include "timer_src/main/Concurrency.hpp"
#include "timer_src/main/TimerInfo.hpp"

#include <atomic>
#include <cstdint>

namespace tovrinhost {

/// How far a run has come with its TimerFcns.
///
/// Two counts: those that have begun, by which the run ends once there are as many as the timer is set to; and
/// those that the library has still to bring, counted by its own rule and at its own moments. At a fixed rate that
/// is as a task has been handed over, at a fixed delay as its callback begins, at a fixed spacing as that has
/// ended. Where the library goes on beyond a number that was lowered too late for its rule, the run stops it;
/// where nothing is left to count, a number cannot be raised any more.
///
/// Threading: `taskComes`, the dispatching thread; everything else, the interpreter thread.
class RunProgress {
public:
    /// \param total the number of tasks that the timer is set to, at least 1; in single-shot mode it plays no part
    RunProgress(tovrintimer::ExecutionMode mode, bool hasStartFcn, std::uint64_t total);

    /// A task is being handed over, which at a fixed rate the library counts next, by the number that is told here
    /// to its timer.
    TaskMark taskComes(tovrintimer::TimerInfo& timer);

    void timerFcnBegins(TaskMark mark);

    /// It has succeeded.
    void timerFcnEnds();

    /// Puts a new number of tasks in force.
    /// \throws std::invalid_argument if the library cannot honour it any more
    void setTotal(std::uint64_t wanted);

    std::uint64_t timerFcns() const { return m_timerFcns; }

    /// Whether as many TimerFcns have begun as the timer is set to.
    bool hasBegunAll() const { return m_timerFcns >= m_wanted; }

    /// Whether the library has dispatched all that the timer is set to, at a fixed rate, and goes on. Any thread.
    bool isLibraryBeyond() const { return m_isLibraryBeyond; }

    /// Whether the TimerFcn that began last is the last for the library, too, as far as that has been counted.
    bool isLastOfLibrary() const { return m_isLastOfLibrary; }

private:
    TaskMark count();
    void compare();

    const tovrintimer::ExecutionMode m_mode;

    // Only for the interpreter thread.
    std::uint64_t m_timerFcns = 0; // that have begun
    bool m_isLastOfLibrary = false;

    // At a fixed rate the dispatching thread counts. Written under m_countMutex; the interpreter thread, which is
    // the only one that changes the number, reads that without.
    tovrintimer::Mutex m_countMutex;
    std::uint64_t m_wanted;
    TaskCount m_count;
    bool m_startFcnComes; // with the next task
    std::atomic<bool> m_isLibraryBeyond { false };
};

} // namespace tovrinhost
