#include "embedded_host/timers/RunProgress.hpp"

#include <stdexcept>
#include <string>
#include <utility>

namespace tovrinhost {

using tovrintimer::ExecutionMode;

RunProgress::RunProgress(ExecutionMode mode, bool hasStartFcn, std::uint64_t total)
    : m_mode(mode)
    , m_wanted(mode == ExecutionMode::SingleShot ? 1 : total)
    , m_count(m_wanted)
    , m_startFcnComes(hasStartFcn)
{
}

TaskMark RunProgress::taskComes(tovrintimer::TimerInfo& timer)
{
    if (m_mode != ExecutionMode::FixedRate) {
        return TaskMark::None;
    }
    const std::lock_guard lock(m_countMutex);
    if (std::exchange(m_startFcnComes, false) || m_count.left() == 0) {
        return TaskMark::None;
    }
    // What has not changed is not written again, since the other threads would have to fetch it again.
    if (timer.getNumOfTasksToExecute() != m_wanted) {
        timer.setNumOfTasksToExecute(m_wanted);
    }
    return count();
}

void RunProgress::timerFcnBegins(TaskMark mark)
{
    ++m_timerFcns;
    if (m_mode == ExecutionMode::SingleShot || m_mode == ExecutionMode::FixedDelay) {
        const std::lock_guard lock(m_countMutex);
        mark = count();
    }
    m_isLastOfLibrary = mark == TaskMark::Last;
}

void RunProgress::timerFcnEnds()
{
    if (m_mode == ExecutionMode::FixedSpacing) {
        const std::lock_guard lock(m_countMutex);
        m_isLastOfLibrary = count() == TaskMark::Last;
    }
}

/// Counts one callback as the library does. The caller holds m_countMutex.
TaskMark RunProgress::count()
{
    m_count.count(m_wanted);
    compare();
    return m_count.left() == 0 ? TaskMark::Last : TaskMark::Expected;
}

void RunProgress::setTotal(std::uint64_t wanted)
{
    if (m_mode == ExecutionMode::SingleShot) {
        return;
    }
    const std::lock_guard lock(m_countMutex);
    if (wanted > m_count.total() && m_count.left() == 0) {
        throw std::invalid_argument("at most " + std::to_string(m_count.total())
            + " until this run has ended: the last TimerFcn by that number has been dispatched");
    }
    m_wanted = wanted;
    compare();
}

/// The caller holds m_countMutex.
void RunProgress::compare()
{
    const std::uint64_t counted = m_count.total() - m_count.left();
    const bool isBeyond = m_mode == ExecutionMode::FixedRate && counted >= m_wanted && m_count.left() > 0;
    if (m_isLibraryBeyond != isBeyond) {
        m_isLibraryBeyond = isBeyond;
    }
}

} // namespace tovrinhost
