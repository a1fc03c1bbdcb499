#include "tests/simulation/run/Simulation.hpp"

#include "embedded_host/log/LogMasks.hpp"
#include "embedded_host/process/ProcessScope.hpp"
#include "tests/recording_host/Journal.hpp"
#include "tests/recording_host/LogCapture.hpp"
#include "tests/simulation/host/Host.hpp"
#include "tests/simulation/model/Model.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <algorithm>
#include <optional>

namespace simulation {

using tovrintimer::StartFcnWork;
using tovrintimer::TimerFcnWork;
using tovrintimer::TimerInfo;
using tovrintimer::TimerScheduler;

namespace {

Moment nanoseconds(double milliseconds)
{
    return static_cast<Moment>(milliseconds * static_cast<double>(millisecond));
}

Kernel::Options kernelOptions(const Script& script, const RunOptions& options)
{
    Kernel::Options all;
    all.seed = script.schedule;
    all.weather = script.weather;
    all.trace = options.trace;
    all.stepLimit = options.stepLimit;
    return all;
}

/// The records of the log are written, for the sake of what happens meanwhile, and thrown away.
class Logs {
public:
    explicit Logs(bool on)
    {
        if (on) {
            m_capture.emplace();
            setMasks(4 | 16 | 32 | 64);
        }
    }

    Logs(const Logs&) = delete;
    Logs& operator=(const Logs&) = delete;

    ~Logs()
    {
        if (m_capture) {
            setMasks(0);
            recording::journal().clear();
        }
    }

private:
    static void setMasks(std::uint32_t mask)
    {
        for (const char* const channel :
            { "tovrintimer::TimerScheduler", "tovrintimer::WorkItem", "tovrintimer::workHandler" }) {
            tovrinhost::setLogMask(channel, mask);
        }
    }

    std::optional<recording::LogCapture> m_capture;
};

/// One run of one script.
class Play {
public:
    Play(const Script& script, const RunOptions& options)
        : m_script(script)
        , m_kernel(kernelOptions(script, options))
        , m_model(m_kernel)
        , m_host(m_kernel, m_model, script.timerPpe)
        , m_callbackSteps(script.timers.size())
    {
        for (const Step& step : script.steps) {
            if (step.byCallback) {
                m_callbackSteps[static_cast<std::size_t>(step.actor)].push_back(step);
            }
        }
        m_host.setCallback([this](int slot, WorkKind) { callback(slot); });
        m_host.setAfterError([this](int slot, int timer, WorkKind kind) { afterError(slot, timer, kind); });
    }

    Verdict run()
    {
        return m_kernel.run([this] { main(); });
    }

private:
    struct Slot {
        std::shared_ptr<TimerInfo> timer;
        std::weak_ptr<TimerInfo> handle; // of the latest timer, also when it has gone
        Settings settings;
        int number = -1;
    };

    void main();
    void finish();
    void stopAll();
    void joinHosts();
    void cleanUp();
    void hostThread(int number);
    void callback(int slot);
    void afterError(int slot, int timer, WorkKind kind);
    void perform(const Step& step);
    void operate(Activity::What what, int slot);
    void change(Slot& slot, const Step& step);
    Slot& at(int slot) { return m_slots[static_cast<std::size_t>(slot)]; }
    const TimerSpec& spec(int slot) const { return m_script.timers[static_cast<std::size_t>(slot)]; }

    void make(int number)
    {
        Slot& slot = at(number);
        const Host::MadeTimer made = m_host.makeTimer(number, spec(number).settings);
        slot = { made.timer, made.timer, spec(number).settings, made.number };
    }

    const Script& m_script;
    Kernel m_kernel;
    Model m_model;
    Host m_host;
    std::vector<Slot> m_slots;
    std::vector<std::deque<Step>> m_callbackSteps; // still to be done, of each slot
    std::vector<int> m_hostThreads;
    TimerScheduler* m_scheduler = nullptr;
};

void Play::main()
{
    m_scheduler = TimerScheduler::getPerTOVRINProcessInstance();
    m_model.watch(*m_scheduler);
    m_slots.resize(m_script.timers.size());
    for (int slot = 0; slot < static_cast<int>(m_slots.size()); ++slot) {
        make(slot);
    }
    m_host.startEngine();
    for (int number = 0; number < m_script.hostThreads(); ++number) {
        m_hostThreads.push_back(
            m_kernel.spawn("host-" + std::to_string(number), [this, number] { hostThread(number); }));
    }
    if (m_script.ending != Ending::CleanupAtOnce) {
        joinHosts();
    }
    m_kernel.sleepFor(nanoseconds(m_script.settle));
    if (m_script.ending == Ending::StopAll) {
        stopAll();
    }
    cleanUp();
    joinHosts();
    finish();
}

void Play::joinHosts()
{
    const Doing doing("wait for the host threads");
    for (const int thread : m_hostThreads) {
        m_kernel.join(thread);
    }
    m_hostThreads.clear();
}

/// Until no timer runs and the engine has nothing to do: a callback may start a timer again, but does so only
/// once.
void Play::stopAll()
{
    const Doing doing("stop all timers");
    const auto isRunning = [](const Slot& slot) { return slot.timer && slot.timer->getIsRunning(); };
    for (int slot = 0; slot < static_cast<int>(m_slots.size()); ++slot) {
        operate(Activity::Stop, slot);
    }
    do {
        for (int slot = 0; slot < static_cast<int>(m_slots.size()); ++slot) {
            if (isRunning(at(slot))) {
                operate(Activity::Stop, slot);
            }
        }
        m_kernel.sleepFor(5 * millisecond);
    } while (!m_host.isIdle() || std::ranges::any_of(m_slots, isRunning));
}

void Play::cleanUp()
{
    const Operation operation("clean up");
    m_model.operationBegins(Activity::Cleanup, -1);
    m_scheduler->cleanup();
    m_model.operationEnds();
}

void Play::finish()
{
    {
        const Doing doing("stop the engine");
        m_host.stopEngine();
    }
    m_slots.clear();
    m_model.unwatch();
    tovrinhost::destroyProcessScope();
    m_model.checkNothingIsLeft();
    m_host.checkNothingIsLeft();
}

void Play::hostThread(int number)
{
    for (const Step& step : m_script.steps) {
        if (!step.byCallback && step.actor == number) {
            perform(step);
        }
    }
}

void Play::callback(int slot)
{
    if (spec(slot).lasts > 0) {
        m_kernel.sleepFor(nanoseconds(spec(slot).lasts));
    }
    std::deque<Step>& steps = m_callbackSteps[static_cast<std::size_t>(slot)];
    if (!steps.empty()) {
        const Step step = steps.front();
        steps.pop_front();
        perform(step);
    }
}

void Play::afterError(int slot, int timer, WorkKind kind)
{
    if ((kind != TimerFcnWork && kind != StartFcnWork) || at(slot).number != timer) {
        return;
    }
    switch (spec(slot).onError) {
    case OnError::Nothing:
        return;
    case OnError::ForceError:
        operate(Activity::Fail, slot);
        return;
    case OnError::ForceErrorAndStop:
        operate(Activity::FailAndStop, slot);
        return;
    }
}

void Play::perform(const Step& step)
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

void Play::operate(Activity::What what, int slot)
{
    const Operation operation(name(what), slot);
    const std::weak_ptr<TimerInfo> handle = at(slot).handle;
    m_model.operationBegins(what, at(slot).number);
    switch (what) {
    case Activity::Start:
        m_scheduler->createAndStartWork(handle);
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

void Play::change(Slot& slot, const Step& step)
{
    if (!slot.timer) {
        return;
    }
    const auto whole = static_cast<std::size_t>(step.value);
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

} // namespace

Verdict simulate(const Script& script, const RunOptions& options)
{
    auto logs = std::make_unique<Logs>(script.logs);
    auto play = std::make_unique<Play>(script, options);
    Verdict verdict = play->run();
    if (verdict.failed()) {
        // Threads stand in the midst of it: it stays as it is until the process ends.
        static_cast<void>(play.release());
        static_cast<void>(logs.release());
    }
    return verdict;
}

Script scriptOf(std::uint64_t seed)
{
    Random choices(seed);
    return randomScript(choices);
}

} // namespace simulation
