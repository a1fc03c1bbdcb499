#include "embedded_host/timers/RunIntake.hpp"

#include "embedded_host/diagnosis/FiringLog.hpp"

#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

namespace tovrinhost {

using tovrintimer::BusyMode;
using tovrintimer::ExecutionMode;

RunIntake::RunIntake(FiringLog& log, ExecutionMode mode, bool hasStartFcn, std::uint64_t total)
    : m_log(log)
    , m_mode(mode)
    , m_wanted(mode == ExecutionMode::SingleShot ? 1 : total)
    , m_count(m_wanted)
    , m_startFcnComes(hasStartFcn)
{
}

TaskNote RunIntake::taskComes()
{
    // In this order: what is counted has to stand before the log has it.
    TaskNote note;
    note.mark = static_cast<int>(m_mode == ExecutionMode::FixedRate ? markOfNextTask() : TaskMark::None);
    m_log.hostHasIt(note);
    return note;
}

void RunIntake::taskIsDropped(const TaskNote& note) noexcept
{
    m_log.discarded(note);
}

/// At a fixed rate the library counts this task next, by the number that is told here to its timer.
TaskMark RunIntake::markOfNextTask()
{
    const std::lock_guard lock(m_mutex);
    if (std::exchange(m_startFcnComes, false) || m_count.left() == 0) {
        return TaskMark::None;
    }
    // What has not changed is not written again, since the other threads would have to fetch it again.
    if (m_timer->getNumOfTasksToExecute() != m_wanted) {
        m_timer->setNumOfTasksToExecute(m_wanted);
    }
    const TaskMark mark = countLocked();
    // The library asks for the busy mode twice, and loses a callback where it becomes Queue in between: not here.
    applyBusyMode(isBeyond() ? BusyMode::Drop : m_busyModeWanted);
    return mark;
}

void RunIntake::setBusyMode(BusyMode wanted)
{
    const std::lock_guard lock(m_mutex);
    m_busyModeWanted = wanted;
}

TaskMark RunIntake::count()
{
    const std::lock_guard lock(m_mutex);
    return countLocked();
}

/// As the library does. The caller holds m_mutex.
TaskMark RunIntake::countLocked()
{
    m_count.count(m_wanted);
    return m_count.left() == 0 ? TaskMark::Last : TaskMark::Expected;
}

void RunIntake::setTotal(std::uint64_t wanted)
{
    const std::lock_guard lock(m_mutex);
    if (wanted > m_count.total() && m_count.left() == 0) {
        throw std::invalid_argument("at most " + std::to_string(m_count.total())
            + " until this run has ended: the last TimerFcn by that number has been dispatched");
    }
    m_wanted = wanted;
    if (isBeyond()) {
        applyBusyMode(BusyMode::Drop); // what falls due now is no overrun any more
    }
}

/// Whether the library has dispatched all that the timer is set to, and goes on. The caller holds m_mutex.
bool RunIntake::isBeyond() const
{
    const std::uint64_t counted = m_count.total() - m_count.left();
    return m_mode == ExecutionMode::FixedRate && counted >= m_wanted && m_count.left() > 0;
}

/// As above: what has not changed is not written. The caller holds m_mutex.
void RunIntake::applyBusyMode(BusyMode mode)
{
    if (m_timer->getBusyMode() != static_cast<std::size_t>(mode)) {
        m_timer->setBusyMode(static_cast<std::size_t>(mode));
    }
}

} // namespace tovrinhost
