#include "embedded_host/timers/RunProgress.hpp"

namespace tovrinhost {

using tovrintimer::ExecutionMode;

void RunProgress::timerFcnBegins(TaskMark mark)
{
    ++m_timerFcns;
    if (m_mode == ExecutionMode::SingleShot || m_mode == ExecutionMode::FixedDelay) {
        mark = m_intake.count();
    }
    m_isLastOfLibrary = mark == TaskMark::Last;
}

void RunProgress::timerFcnEnds()
{
    if (m_mode == ExecutionMode::FixedSpacing) {
        m_isLastOfLibrary = m_intake.count() == TaskMark::Last;
    }
}

void RunProgress::setTotal(std::uint64_t wanted)
{
    if (m_mode == ExecutionMode::SingleShot) {
        return;
    }
    m_intake.setTotal(wanted);
    m_wanted = wanted;
}

} // namespace tovrinhost
