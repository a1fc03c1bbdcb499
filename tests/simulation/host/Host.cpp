#include "tests/simulation/host/Host.hpp"

#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "tests/simulation/host/Engine.hpp"

#include <algorithm>
#include <utility>

namespace simulation {

namespace {

Host* theHost = nullptr;

} // namespace

Host::Host(Kernel& kernel, Model& model, bool timerPpe)
    : m_kernel(kernel)
    , m_model(model)
    , m_timerPpe(timerPpe)
{
    theHost = this;
}

Host::~Host()
{
    theHost = nullptr;
}

Host& Host::current()
{
    return *theHost;
}

Host::MadeTimer Host::makeTimer(int slot, const Settings& settings)
{
    const auto engine = std::make_shared<Engine>(slot);
    const foundation::tovrindata::Array object = foundation::tovrindata::ArrayFactory().createCharArray("timer");
    MadeTimer made;
    made.timer = std::make_shared<tovrintimer::TimerInfo>(object, engine, m_interruptData);
    made.timer->setExecutionMode(settings.mode);
    made.timer->setBusyMode(settings.busy);
    made.timer->setPeriod(settings.period);
    made.timer->setStartDelay(settings.delay);
    made.timer->setNumOfTasksToExecute(settings.tasks);
    made.timer->setStartFcnIsEmpty(!settings.hasStart);
    made.timer->setStopFcnIsEmpty(!settings.hasStop);
    made.timer->setErrorFcnIsEmpty(!settings.hasError);
    made.number = m_model.timerMade(made.timer, settings);
    engine->timer = made.number;
    const pelk::factory::full::Wrappable* const base = made.timer.get();
    m_objects[base] = made.number;
    return made;
}

void Host::timerStarted(const std::vector<double>& periods)
{
    const auto isFast = [](double period) { return period < 500.0; };
    m_mayRaise = m_mayRaise || std::ranges::any_of(periods, isFast);
    m_hasToRaise = m_hasToRaise || std::ranges::all_of(periods, isFast);
}

void Host::startEngine()
{
    m_engineThread = m_kernel.spawn("engine", [this] { runEngine(); });
}

void Host::stopEngine(Tasks tasks)
{
    m_isEnding = true;
    m_dropsTasks = tasks == Tasks::Drop;
    m_kernel.wakeAll(this);
    m_kernel.join(m_engineThread);
}

void Host::runEngine()
{
    while (!m_isEnding || (!m_tasks.empty() && !m_dropsTasks)) {
        if (m_tasks.empty()) {
            const Doing doing("wait for a task");
            m_kernel.block(this, never);
            continue;
        }
        Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        m_isBusy = true;
        runTask(std::move(task));
        m_isBusy = false;
    }
}

void Host::runTask(Task task)
{
    const Operation operation("task", task.handOver->number);
    m_model.taskBegins(task.handOver);
    bool failed = false;
    try {
        task.run();
    } catch (const CallbackError&) {
        failed = true;
    }
    m_model.taskEnds();
    task.run = nullptr;
    if (failed && m_afterError) {
        m_afterError(task.slot, task.handOver->timer, m_latestKind);
    }
}

void Host::checkNothingIsLeft()
{
    if (m_engines != 0) {
        m_kernel.fail(std::to_string(m_engines) + " engines are still shared by somebody");
    }
    if (!m_objects.empty()) {
        m_kernel.fail(std::to_string(m_objects.size()) + " objects have not been retracted");
    }
    const int expected = m_timerPpe ? 0 : m_handedOver;
    if (m_requestsPending != expected || m_looks != expected) {
        m_kernel.fail("after " + std::to_string(m_handedOver) + " tasks the interpreter has been told "
            + std::to_string(m_requestsPending) + " times, and made to look " + std::to_string(m_looks)
            + " times, in place of " + std::to_string(expected));
    }
    const bool isRaisedRightly = m_raised == 0 ? !m_hasToRaise : m_raised == 1 && m_mayRaise;
    if (!isRaisedRightly || m_givenBack != m_raised) {
        m_kernel.fail("the timer resolution has been raised " + std::to_string(m_raised) + " times and given back "
            + std::to_string(m_givenBack) + " times, where timers "
            + (m_hasToRaise      ? "were"
                    : m_mayRaise ? "may have been"
                                 : "were never")
            + " fast");
    }
}

// ---- What the library calls

void Host::checkCall(const char* name) const
{
    if (m_kernel.locksHeld() > 0) {
        m_kernel.fail(std::string("the library calls ") + name + " with a lock held");
    }
}

void Host::handOver(const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task)
{
    checkCall("processTovrinTimerTask");
    ++m_handedOver;
    const auto& mine = dynamic_cast<const Engine&>(*engine);
    m_tasks.push_back({ task, m_model.handedOver(mine.timer), mine.slot });
    m_kernel.wakeAll(this);
    const Operation operation("hand over for timer", mine.timer);
}

void Host::evaluate(const Engine& engine, WorkKind callback)
{
    m_model.evaluationBegins(engine.timer, callback);
    const Operation operation(simulation::name(callback), engine.timer);
    bool succeeded = true;
    try {
        if (m_callback) {
            m_callback(engine.slot, callback);
        }
    } catch (const CallbackError&) {
        succeeded = false;
    }
    m_latestKind = callback;
    m_model.evaluationEnds(engine.timer, callback, succeeded);
    if (!succeeded) {
        throw CallbackError("error in the callback");
    }
}

void Host::woken(const Engine& engine)
{
    m_model.woken(engine.timer);
    const Operation operation("wake-up for timer", engine.timer);
}

void Host::requestPending(bool pending)
{
    checkCall("setReadyRequestPending");
    if (!pending) {
        m_kernel.fail("a request is told to be pending no longer");
    }
    ++m_requestsPending;
    const Operation operation("request pending");
}

void Host::requestLineLooks()
{
    checkCall("inRequestLineNoService");
    if (++m_looks > m_requestsPending) {
        m_kernel.fail("the interpreter is made to look before a request is pending");
    }
    const Operation operation("request line");
}

void Host::retracted(const void* object)
{
    checkCall("retract");
    const auto found = m_objects.find(object);
    if (found == m_objects.end()) {
        m_kernel.fail("an object is retracted that is not known");
    }
    m_model.timerDestroyed(found->second);
    m_objects.erase(found);
}

void Host::threadNamed(const std::string& name)
{
    checkCall("setCurrentThreadName");
    m_kernel.rename(name);
    if (name == "TimerScheduler") {
        m_model.schedulerThreadStarted();
    }
}

} // namespace simulation
