#include "tests/storm/StormHost.hpp"

#include "host/fl/i18n/to_string.hpp"
#include "host/foundation/feature/Feature.hpp"
#include "host/foundation/tovrindata/CharArray.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/iqm/Iqm.hpp"
#include "host/pelk/factory/full/StdShareable.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setCurrentThreadName.hpp"
#include "host/setReadyRequestPending.hpp"
#include "tests/storm/Accounts.hpp"

using foundation::concurrent::future;
using foundation::msg_svc::exchange::IDType;
using foundation::tovrindata::Array;
using foundation::tovrindata::CharArray;

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

std::size_t kindOf(const std::string& callback)
{
    for (const auto kind : { tovrintimer::StartFcnWork, tovrintimer::StopFcnWork, tovrintimer::TimerFcnWork,
             tovrintimer::ErrorFcnWork }) {
        if (callback == fl::i18n::to_string(tovrintimer::kindName(kind).wide)) {
            return static_cast<std::size_t>(kind);
        }
    }
    throw std::logic_error("there is no callback \"" + callback + "\"");
}

class StormIqm : public iqm::Iqm {
public:
    std::shared_ptr<InterruptStateData> getInterruptStateData() const override
    {
        return std::make_shared<InterruptStateData>();
    }
};

} // namespace

// ---- What the library calls

namespace vorn {

VORN::VORN() = default;
VORN::~VORN() = default;

IDType VORN::createRequestID()
{
    return IDType();
}

} // namespace vorn

namespace iqm {

Iqm::Iqm() = default;
Iqm::~Iqm() = default;

std::shared_ptr<Iqm> Iqm::getInstance(vorn::ContextId /*context*/)
{
    return std::make_shared<StormIqm>();
}

} // namespace iqm

namespace foundation::feature {

IFeature::~IFeature() = default;

Feature::Feature(const char* name)
    : m_name(name)
{
}

Feature::~Feature() = default;

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

future<std::vector<Array>> Engine::feval(const std::string& /*function*/, const std::vector<Array>& arguments,
    std::size_t /*nargout*/, cmddistributor::RunOptions /*options*/, bool /*reserved*/, IDType /*requestId*/)
{
    Account& account = accounts().of(arguments.at(0));
    const std::size_t kind = kindOf(CharArray(arguments.at(1)).toUTF8());
    ++account.evaluated.at(kind);
    boost::promise<std::vector<Array>> answer;
    if (m_errors && kind == tovrintimer::TimerFcnWork && account.character.raisesErrors
        && ++m_callbacks % 4 == 0) {
        answer.set_exception(CallbackError("error in the callback"));
    } else {
        answer.set_value({});
    }
    return answer.get_future();
}

future<void> Engine::evalAsync(
    const std::u16string& /*statement*/, cmddistributor::RunOptions /*options*/, IDType /*requestId*/)
{
    boost::promise<void> done;
    done.set_value();
    return done.get_future();
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
        } catch (const CallbackError&) {
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
