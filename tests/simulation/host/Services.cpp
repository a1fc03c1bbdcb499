#include "host/foundation/feature/Feature.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/pelk/factory/full/StdShareable.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setCurrentThreadName.hpp"
#include "host/setReadyRequestPending.hpp"
#include "tests/simulation/host/Host.hpp"
#include "tests/test_host/QueueManager.hpp"
#include "timer_src/main/platform/Platform.hpp"

#include <ctime>

using simulation::Host;
using simulation::Operation;

namespace iqm {

std::shared_ptr<Iqm> Iqm::getInstance(vorn::ContextId /*context*/)
{
    Host::current().checkCall("Iqm::getInstance");
    const Operation operation("queue manager");
    return std::make_shared<test_host::QueueManager>();
}

} // namespace iqm

namespace foundation::feature {

int Feature::get() const
{
    Host::current().checkCall("Feature::get");
    const Operation operation("feature");
    return Host::current().timerPpe() ? 1 : 0;
}

} // namespace foundation::feature

void setCurrentThreadName(const std::string& name)
{
    Host::current().threadNamed(name);
    const Operation operation("name thread");
}

void setReadyRequestPending(bool pending)
{
    Host::current().requestPending(pending);
}

void inRequestLineNoService(const std::shared_ptr<InterruptStateData>& /*interruptState*/)
{
    Host::current().requestLineLooks();
}

void pelk::factory::full::retract(Wrappable* object)
{
    Host::current().retracted(object);
}

void processTovrinTimerTask(const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task)
{
    Host::current().handOver(engine, task);
}

namespace tovrintimer::platform {

void beginTimerResolution()
{
    Host::current().resolutionRaised();
}

void endTimerResolution()
{
    Host::current().resolutionGivenBack();
}

void adoptTimerResolution() noexcept
{
}

std::tm localTime(std::time_t seconds) noexcept
{
    std::tm calendar {};
    gmtime_r(&seconds, &calendar); // the same everywhere
    return calendar;
}

} // namespace tovrintimer::platform
