#include "tests/recording_host/Services.hpp"

#include "host/foundation/feature/Feature.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/iqm/Iqm.hpp"
#include "host/setCurrentThreadName.hpp"
#include "host/setReadyRequestPending.hpp"
#include "tests/recording_host/Engine.hpp"
#include "tests/recording_host/Journal.hpp"

#include <atomic>

using recording::journal;
using recording::Kind;

namespace {

std::atomic<bool> timerPpe { true };

class RecordingIqm : public iqm::Iqm {
public:
    explicit RecordingIqm(vorn::ContextId context)
        : m_interruptState(std::make_shared<InterruptStateData>(context))
    {
    }

    std::shared_ptr<InterruptStateData> getInterruptStateData() const override { return m_interruptState; }

private:
    const std::shared_ptr<InterruptStateData> m_interruptState;
};

} // namespace

InterruptStateData::InterruptStateData(vorn::ContextId contextId)
    : context(contextId)
{
}

void recording::setTimerPpe(bool on)
{
    timerPpe = on;
}

void setCurrentThreadName(const std::string& name)
{
    journal().add({ Kind::Call, "setCurrentThreadName " + name });
}

void setReadyRequestPending(bool pending)
{
    journal().add({ Kind::Call, pending ? "setReadyRequestPending true" : "setReadyRequestPending false" });
}

void inRequestLineNoService(const std::shared_ptr<InterruptStateData>& interruptState)
{
    journal().add({ Kind::Call, "inRequestLineNoService " + std::to_string(interruptState->context) });
}

namespace iqm {

std::shared_ptr<Iqm> Iqm::getInstance(vorn::ContextId context)
{
    journal().add({ Kind::Call, "Iqm::getInstance " + std::to_string(context) });
    return recording::Engine::isAlive(context) ? std::make_shared<RecordingIqm>(context) : nullptr;
}

} // namespace iqm

namespace foundation::feature {

int Feature::get() const
{
    journal().add({ Kind::Detail, "Feature::get " + m_name });
    return m_name == "TIMER_PPE" && timerPpe ? 1 : 0;
}

} // namespace foundation::feature
