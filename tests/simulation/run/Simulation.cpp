#include "tests/simulation/run/Simulation.hpp"

#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "tests/recording_host/Journal.hpp"
#include "tests/recording_host/LogCapture.hpp"
#include "tests/simulation/host/Host.hpp"
#include "tests/simulation/model/WorkEvents.hpp"
#include "tests/simulation/run/Stage.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <deque>
#include <memory>
#include <optional>

namespace simulation {

using tovrintimer::StartFcnWork;
using tovrintimer::TimerFcnWork;
using tovrintimer::TimerScheduler;

namespace {

Kernel::Options kernelOptions(const Program& program, const RunOptions& options)
{
    Kernel::Options all;
    all.seed = program.schedule;
    all.weather = program.weather;
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

/// One run of one program.
class Play {
public:
    Play(const Program& program, const RunOptions& options)
        : m_program(program)
        , m_kernel(kernelOptions(program, options))
        , m_model(m_kernel)
        , m_workEvents(m_kernel, m_model)
        , m_host(m_kernel, m_model, program.timerPpe)
        , m_stage(m_kernel, m_model, m_host, program.timers)
        , m_callbackSteps(program.timers.size())
    {
        for (const Step& step : program.steps) {
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
    void main();
    void finish();
    void destroyScope();
    void stopAll();
    void joinHosts();
    void cleanUp();
    void hostThread(int number);
    void callback(int slot);
    void afterError(int slot, int timer, WorkKind kind);
    const TimerSpec& spec(int slot) const { return m_program.timers[static_cast<std::size_t>(slot)]; }

    const Program& m_program;
    Kernel m_kernel;
    Model m_model;
    WorkEvents m_workEvents;
    Host m_host;
    Stage m_stage;
    std::vector<std::deque<Step>> m_callbackSteps; // still to be done, of each slot
    std::vector<int> m_hostThreads;
};

void Play::main()
{
    TimerScheduler::setObserver(&m_workEvents);
    m_stage.setUp();
    m_host.startEngine();
    for (int number = 0; number < m_program.hostThreads(); ++number) {
        m_hostThreads.push_back(
            m_kernel.spawn("host-" + std::to_string(number), [this, number] { hostThread(number); }));
    }
    if (m_program.ending != Ending::CleanupAtOnce) {
        joinHosts();
    }
    m_kernel.sleepFor(nanoseconds(m_program.settle));
    if (m_program.ending == Ending::StopAll) {
        stopAll();
    }
    if (m_program.ending != Ending::DestroyWhileRunning) {
        cleanUp();
    }
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
    for (int slot = 0; slot < m_stage.slots(); ++slot) {
        m_stage.operate(Activity::Stop, slot);
    }
    bool isOneRunning = false;
    do {
        isOneRunning = false;
        for (int slot = 0; slot < m_stage.slots(); ++slot) {
            if (m_stage.isRunning(slot)) {
                m_stage.operate(Activity::Stop, slot);
                isOneRunning = true;
            }
        }
        m_kernel.sleepFor(5 * millisecond);
    } while (!m_host.isIdle() || isOneRunning);
}

void Play::cleanUp()
{
    const Operation operation("clean up");
    m_model.operationBegins(Activity::Cleanup, -1);
    TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    m_model.operationEnds();
}

void Play::finish()
{
    {
        const Doing doing("stop the engine");
        m_host.stopEngine(m_program.ending == Ending::DestroyWhileRunning ? Host::Tasks::Drop : Host::Tasks::Run);
    }
    destroyScope();
    m_host.dropTasks();
    m_stage.clear();
    TimerScheduler::setObserver(nullptr);
    m_model.checkNothingIsLeft();
    m_workEvents.checkNothingIsLeft();
    if (m_program.logs) {
        m_workEvents.checkRecords([](const std::string& text) { return recording::journal().count(text); });
    }
    m_host.checkNothingIsLeft();
}

/// The scheduler cleans up as it is destroyed, and may be at work for a timer meanwhile.
void Play::destroyScope()
{
    const Operation operation("destroy the process scope");
    m_model.operationBegins(Activity::Cleanup, -1);
    tovrinhost::destroyProcessScope();
    m_model.unwatch();
    m_model.operationEnds();
}

void Play::hostThread(int number)
{
    for (const Step& step : m_program.steps) {
        if (!step.byCallback && step.actor == number) {
            m_stage.perform(step);
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
        m_stage.perform(step);
    }
}

void Play::afterError(int slot, int timer, WorkKind kind)
{
    if ((kind != TimerFcnWork && kind != StartFcnWork) || !m_stage.isLatest(slot, timer)) {
        return;
    }
    switch (spec(slot).onError) {
    case OnError::Nothing:
        return;
    case OnError::ForceError:
        m_stage.operate(Activity::Fail, slot);
        return;
    case OnError::ForceErrorAndStop:
        m_stage.operate(Activity::FailAndStop, slot);
        return;
    }
}

} // namespace

Verdict simulate(const Program& program, const RunOptions& options)
{
    auto logs = std::make_unique<Logs>(program.logs);
    auto play = std::make_unique<Play>(program, options);
    Verdict verdict = play->run();
    if (verdict.failed()) {
        // Threads stand in the midst of it: it stays as it is until the process ends.
        static_cast<void>(play.release());
        static_cast<void>(logs.release());
    }
    return verdict;
}

Program programOf(std::uint64_t seed)
{
    Random choices(seed);
    return randomProgram(choices);
}

} // namespace simulation
