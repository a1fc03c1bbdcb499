#pragma once

#include "embedded_host/engine/TimerEngine.hpp"
#include "embedded_host/timers/TaskCount.hpp"
#include "timer_src/main/Concurrency.hpp"
#include "timer_src/main/TimerInfo.hpp"

#include <cstdint>

namespace tovrinhost {

class FiringLog;

/// The tasks of a run, as the library brings them.
///
/// It counts the TimerFcns that the library has still to bring, by the library's own rule and at its own moments:
/// at a fixed rate as a task is handed over, on the dispatching thread; else the interpreter thread counts. Where
/// the library goes on beyond a number that was lowered too late for its rule, what falls due is to be dropped.
/// Where nothing is left to count, a number cannot be raised any more.
///
/// Threading: `taskComes`, the dispatching thread; `taskIsDropped`, any; everything else, the interpreter thread.
/// Nothing that the interpreter thread writes for a firing is here: it would take turns with the dispatching
/// thread at the same memory.
class RunIntake final : public TaskIntake {
public:
    /// \param total the number of tasks that the timer is set to, at least 1; in single-shot mode it plays no part
    RunIntake(FiringLog& log, tovrintimer::ExecutionMode mode, bool hasStartFcn, std::uint64_t total);

    /// Before the library knows of the timer, which it holds whenever it hands a task over.
    void setTimer(tovrintimer::TimerInfo& timer) { m_timer = &timer; }

    /// For the next task.
    void setBusyMode(tovrintimer::BusyMode wanted);

    /// Counts a TimerFcn in any mode but fixed rate.
    TaskMark count();

    /// Puts a new number of tasks in force.
    /// \throws std::invalid_argument if the library cannot honour it any more
    void setTotal(std::uint64_t wanted);

    TaskNote taskComes() override;
    void taskIsDropped(const TaskNote& note) noexcept override;

private:
    TaskMark markOfNextTask();
    TaskMark countLocked();
    bool isBeyond() const;
    void applyBusyMode(tovrintimer::BusyMode mode);

    FiringLog& m_log;
    tovrintimer::TimerInfo* m_timer = nullptr;
    const tovrintimer::ExecutionMode m_mode;

    tovrintimer::Mutex m_mutex; // taken alone
    std::uint64_t m_wanted; // guarded by it, like all that follows
    TaskCount m_count;
    bool m_startFcnComes; // with the next task
    tovrintimer::BusyMode m_busyModeWanted { tovrintimer::BusyMode::Drop };
};

} // namespace tovrinhost
