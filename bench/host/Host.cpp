#include "bench/host/Host.hpp"

#include "embedded_host/services/ProcessScope.hpp"
#include "host/foundation/feature/Feature.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/iqm/Iqm.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setCurrentThreadName.hpp"
#include "host/setReadyRequestPending.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <condition_variable>
#include <mutex>
#include <optional>

class InterruptStateData { };

namespace {

const std::shared_ptr<InterruptStateData> interruptState = std::make_shared<InterruptStateData>();

std::mutex schedulerMutex;
std::condition_variable schedulerBegan;
std::optional<bench::ThreadProbe> schedulerThread; // guarded by schedulerMutex

} // namespace

// ---- What the library calls. Values, records and the store are the embedded host's.

namespace vorn {

VORN::VORN() = default;
VORN::~VORN() = default;

foundation::msg_svc::exchange::IDType VORN::createRequestID()
{
    return {};
}

} // namespace vorn

namespace iqm {

Iqm::Iqm() = default;
Iqm::~Iqm() = default;

// Only asked where the feature below is off.
std::shared_ptr<Iqm> Iqm::getInstance(vorn::ContextId /*context*/)
{
    return nullptr;
}

} // namespace iqm

namespace foundation::feature {

IFeature::~IFeature() = default;

Feature::Feature(const char* name)
    : m_name(name)
{
}

Feature::~Feature() = default;

// The way to the interpreter without its request line.
int Feature::get() const
{
    return 1;
}

} // namespace foundation::feature

void setReadyRequestPending(bool /*pending*/)
{
}

void inRequestLineNoService(const std::shared_ptr<InterruptStateData>& /*interruptState*/)
{
}

void pelk::factory::full::retract(Wrappable* /*object*/)
{
}

// The scheduler's thread calls it as it begins, and nobody else.
void setCurrentThreadName(const std::string& /*name*/)
{
    const std::lock_guard lock(schedulerMutex);
    schedulerThread = bench::ThreadProbe::ofCaller();
    schedulerBegan.notify_all();
}

void processTovrinTimerTask(const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task)
{
    static_cast<bench::Engine&>(*engine).take(task);
}

// ---- What measurements use

namespace bench {

using foundation::concurrent::future;
using foundation::msg_svc::exchange::IDType;
using foundation::tovrindata::Array;

future<std::vector<Array>> Engine::feval(const std::string& /*function*/, const std::vector<Array>& /*arguments*/,
    std::size_t /*nargout*/, cmddistributor::RunOptions /*options*/, bool /*reserved*/, IDType /*requestId*/)
{
    evaluate();
    return boost::make_ready_future(std::vector<Array>());
}

future<void> Engine::evalAsync(
    const std::u16string& /*statement*/, cmddistributor::RunOptions /*options*/, IDType /*requestId*/)
{
    return {};
}

Timer makeTimer(const std::shared_ptr<Engine>& engine, const TimerSettings& settings)
{
    const auto timer = std::make_shared<tovrintimer::TimerInfo>(Array(), engine, interruptState);
    timer->setExecutionMode(static_cast<std::size_t>(settings.mode));
    timer->setBusyMode(static_cast<std::size_t>(settings.busyMode));
    timer->setPeriod(static_cast<double>(settings.period.count()));
    timer->setStartDelay(static_cast<double>(settings.startDelay.count()));
    timer->setNumOfTasksToExecute(std::numeric_limits<std::size_t>::max());
    return timer;
}

void start(const Timer& timer)
{
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->createAndStartWork(timer);
}

void stop(const Timer& timer)
{
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->forceStopWorkAndScheduleStopFcn(timer);
}

Scheduler::~Scheduler()
{
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    tovrinhost::destroyProcessScope();
    const std::lock_guard lock(schedulerMutex);
    schedulerThread.reset();
}

ThreadProbe Scheduler::thread() const
{
    std::unique_lock lock(schedulerMutex);
    schedulerBegan.wait(lock, [] { return schedulerThread.has_value(); });
    return *schedulerThread;
}

} // namespace bench
