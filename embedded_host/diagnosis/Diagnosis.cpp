#include "embedded_host/diagnosis/Diagnosis.hpp"

#include "timer_src/main/TimerScheduler.hpp"

namespace tovrinhost {

using tovrintimer::TimerScheduler;

Diagnosis::Diagnosis(FiringLog::Purpose purpose)
    : m_log(FiringLog::steadyClock, purpose)
{
    if constexpr (isFiringLogKept) {
        TimerScheduler::setObserver(&m_log);
    }
}

Diagnosis::~Diagnosis()
{
    TimerScheduler::setObserver(nullptr);
}

Inquiry Diagnosis::inquiry() const
{
    return { m_log, m_timers, [](const TimerTable::Identity& timer) {
                return TimerScheduler::getPerTOVRINProcessInstance()->queuedWork(timer);
            } };
}

} // namespace tovrinhost
