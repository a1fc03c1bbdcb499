#include "timer_src/main/callback/HandOver.hpp"

#include "host/inRequestLineNoService.hpp"
#include "host/iqm/Iqm.hpp"
#include "host/setReadyRequestPending.hpp"
#include "host/vorn/VORN.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"

namespace tovrintimer {

HandOver::HandOver()
    : m_timerPpe("TIMER_PPE")
{
}

void HandOver::wakeInterpreter(const vorn::VORN& engine)
{
    const bool ppe = m_timerPpe.get() != 0;
    if (!m_reported.exchange(true)) {
        trace("Timer Running on ", ppe ? "PPE" : "LineHook");
    }
    // Read again: the switch may have been thrown meanwhile.
    if (m_timerPpe.get() == 0) {
        setReadyRequestPending(true);
        const auto queueManager = iqm::Iqm::getInstance(engine.getContextId());
        inRequestLineNoService(queueManager->getInterruptStateData());
    }
}

} // namespace tovrintimer
