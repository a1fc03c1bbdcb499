#include "tests/simulation/run/Stage.hpp"

#include "timer_src/main/TimerScheduler.hpp"

#include <utility>

namespace simulation {

using tovrintimer::TimerInfo;

Moment nanoseconds(double milliseconds)
{
    return static_cast<Moment>(milliseconds * static_cast<double>(millisecond));
}

Stage::Stage(Kernel& kernel, Model& model, Host& host, const std::vector<TimerSpec>& specs)
    : m_kernel(kernel)
    , m_model(model)
    , m_host(host)
    , m_specs(specs)
{
}

void Stage::setUp()
{
    m_scheduler = tovrintimer::TimerScheduler::getPerTOVRINProcessInstance();
    m_model.watch(*m_scheduler);
    m_slots.resize(m_specs.size());
    for (int slot = 0; slot < slots(); ++slot) {
        make(slot);
    }
}

void Stage::make(int slot)
{
    const Kernel::Atomically atomically;
    const Settings& settings = m_specs[static_cast<std::size_t>(slot)].settings;
    const Host::MadeTimer made = m_host.makeTimer(slot, settings);
    at(slot) = { made.timer, made.timer, settings, made.number };
}

bool Stage::isRunning(int slot) const
{
    const Kernel::Atomically atomically;
    return at(slot).timer && at(slot).timer->getIsRunning();
}

bool Stage::isLatest(int slot, int timer) const
{
    return at(slot).number == timer;
}

void Stage::perform(const Step& step)
{
    switch (step.verb) {
    case Verb::Start:
        operate(Activity::Start, step.timer);
        return;
    case Verb::Stop:
        operate(Activity::Stop, step.timer);
        return;
    case Verb::Fail:
        operate(Activity::Fail, step.timer);
        return;
    case Verb::FailAndStop:
        operate(Activity::FailAndStop, step.timer);
        return;
    case Verb::Destroy: {
        const Operation operation("destroy timer", step.timer);
        at(step.timer).timer.reset();
        return;
    }
    case Verb::Make: {
        const Operation operation("make timer", step.timer);
        if (!at(step.timer).timer) {
            make(step.timer);
        }
        return;
    }
    case Verb::Sleep: {
        const Operation operation("sleep");
        m_kernel.sleepFor(nanoseconds(step.value));
        return;
    }
    case Verb::Raise:
        if (step.byCallback) {
            throw CallbackError("error in the callback");
        }
        return;
    case Verb::SetPeriod:
    case Verb::SetTasks:
    case Verb::SetBusy:
    case Verb::SetMode:
    case Verb::SetDelay:
    case Verb::SetHasStop:
    case Verb::SetHasError: {
        const Operation operation("change timer", step.timer);
        change(at(step.timer), step);
        return;
    }
    }
}

void Stage::operate(Activity::What what, int slot)
{
    const Operation operation(name(what), slot);
    const std::weak_ptr<TimerInfo> handle = at(slot).handle;
    const int number = at(slot).number; // the slot may get another timer meanwhile
    m_model.operationBegins(what, number);
    const std::uint64_t begin = m_model.time();
    const bool exists = !handle.expired();
    switch (what) {
    case Activity::Start:
        m_scheduler->createAndStartWork(handle);
        if (exists) {
            const History<double>& period = std::as_const(m_model).at(number).period;
            m_host.timerStarted(period.during({ begin, m_model.time() }));
        }
        break;
    case Activity::Stop:
        m_scheduler->forceStopWorkAndScheduleStopFcn(handle);
        break;
    case Activity::Fail:
        m_scheduler->forceScheduleOfErrorFcn(handle, false);
        break;
    case Activity::FailAndStop:
        m_scheduler->forceScheduleOfErrorFcn(handle, true);
        break;
    case Activity::Dispatch:
    case Activity::Task:
    case Activity::Cleanup:
        break;
    }
    m_model.operationEnds();
}

void Stage::change(Slot& slot, const Step& step)
{
    if (!slot.timer) {
        return;
    }
    // The timer is changed, and the model told, in one step.
    const Kernel::Atomically atomically;
    const bool isPeriod = step.verb == Verb::SetPeriod || step.verb == Verb::SetDelay;
    const std::size_t whole = isPeriod ? 0 : static_cast<std::size_t>(step.value); // a period may be infinite
    if (step.verb == Verb::SetPeriod) {
        slot.settings.period = step.value;
        slot.timer->setPeriod(step.value);
    } else if (step.verb == Verb::SetTasks) {
        slot.settings.tasks = whole;
        slot.timer->setNumOfTasksToExecute(whole);
    } else if (step.verb == Verb::SetBusy) {
        slot.settings.busy = whole;
        slot.timer->setBusyMode(whole);
    } else if (step.verb == Verb::SetMode) {
        slot.settings.mode = whole;
        slot.timer->setExecutionMode(whole);
    } else if (step.verb == Verb::SetDelay) {
        slot.settings.delay = step.value;
        slot.timer->setStartDelay(step.value);
    } else if (step.verb == Verb::SetHasStop) {
        slot.settings.hasStop = whole != 0;
        slot.timer->setStopFcnIsEmpty(whole == 0);
    } else if (step.verb == Verb::SetHasError) {
        slot.settings.hasError = whole != 0;
        slot.timer->setErrorFcnIsEmpty(whole == 0);
    }
    m_model.settingsChanged(slot.number, slot.settings);
}

} // namespace simulation
