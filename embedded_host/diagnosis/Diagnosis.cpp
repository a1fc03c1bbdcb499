#include "embedded_host/diagnosis/Diagnosis.hpp"

#include "timer_src/main/TimerScheduler.hpp"

namespace tovrinhost {

Diagnosis::Diagnosis()
{
    if constexpr (isFiringLogKept) {
        tovrintimer::TimerScheduler::setObserver(&m_log);
    }
}

Diagnosis::~Diagnosis()
{
    tovrintimer::TimerScheduler::setObserver(nullptr);
}

} // namespace tovrinhost
