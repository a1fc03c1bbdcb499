#include "tests/storm/StormHost.hpp"

#include "host/foundation/feature/Feature.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/pelk/factory/full/StdShareable.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setCurrentThreadName.hpp"
#include "host/setReadyRequestPending.hpp"
#include "tests/storm/Accounts.hpp"
#include "tests/test_host/QueueManager.hpp"

namespace {

// Few, so that most timers live until their tasks are run.
constexpr std::size_t muchWork = 50;

std::atomic<bool> timerPpe { true };
std::atomic<std::size_t> requestLineLooks { 0 };
std::atomic<std::size_t> retracted { 0 };
std::atomic<int> threadsWithName { 0 };
std::atomic<storm::EngineThread*> engineThread { nullptr };

struct NamedThread {
    NamedThread() { ++threadsWithName; }
    NamedThread(const NamedThread&) = delete;
    NamedThread& operator=(const NamedThread&) = delete;
    ~NamedThread() { --threadsWithName; }
};

} // namespace

// ---- What the library calls

namespace vorn {

foundation::msg_svc::exchange::IDType VORN::createRequestID()
{
    return {};
}

} // namespace vorn

namespace iqm {

std::shared_ptr<Iqm> Iqm::getInstance(vorn::ContextId /*context*/)
{
    return std::make_shared<test_host::QueueManager>();
}

} // namespace iqm

namespace foundation::feature {

int Feature::get() const
{
    return timerPpe ? 1 : 0;
}

} // namespace foundation::feature

void setCurrentThreadName(const std::string& /*name*/)
{
    thread_local const NamedThread thread;
}

void setReadyRequestPending(bool /*pending*/)
{
}

void inRequestLineNoService(const std::shared_ptr<InterruptStateData>& /*interruptState*/)
{
    ++requestLineLooks;
}

void pelk::factory::full::retract(Wrappable* /*object*/)
{
    ++retracted;
}

void processTovrinTimerTask(const std::shared_ptr<vorn::VORN>& /*engine*/, const std::function<void()>& task)
{
    engineThread.load()->add(task);
}

// ---- What the storm calls

namespace storm {

void Engine::evaluate(const foundation::tovrindata::Array& timerObject, tovrintimer::WorkKind callback)
{
    Account& account = accounts().of(timerObject);
    ++account.evaluated.at(static_cast<std::size_t>(callback));
    if (m_errors && callback == tovrintimer::TimerFcnWork && account.character.raisesErrors
        && ++m_callbacks % 4 == 0) {
        throw test_host::CallbackError("error in the callback");
    }
}

EngineThread::EngineThread()
    : m_thread([this]() noexcept { run(); })
{
    engineThread = this;
}

EngineThread::~EngineThread()
{
    {
        const std::lock_guard lock(m_mutex);
        m_finish = true;
    }
    m_changed.notify_all();
    m_thread.join();
    engineThread = nullptr;
}

void EngineThread::add(const std::function<void()>& task)
{
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(task);
    }
    m_changed.notify_all();
}

void EngineThread::waitUntilIdle()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_tasks.empty() && !m_isRunning; });
}

void EngineThread::waitForRoom()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_tasks.size() < muchWork; });
}

void EngineThread::run()
{
    for (std::unique_lock lock(m_mutex);;) {
        m_changed.wait(lock, [this] { return m_finish || !m_tasks.empty(); });
        if (m_tasks.empty()) {
            return;
        }
        auto task = std::move(m_tasks.front());
        m_tasks.pop_front();
        m_isRunning = true;
        lock.unlock();
        try {
            task();
        } catch (const test_host::CallbackError&) {
            ++m_errors;
        }
        task = nullptr; // what it owns goes before the engine is called idle
        ++m_tasksRun;
        lock.lock();
        m_isRunning = false;
        m_changed.notify_all();
    }
}

void setTimerPpe(bool on)
{
    timerPpe = on;
}

std::size_t lineHooks()
{
    return requestLineLooks;
}

std::size_t retractions()
{
    return retracted;
}

int namedThreads()
{
    return threadsWithName;
}

} // namespace storm
