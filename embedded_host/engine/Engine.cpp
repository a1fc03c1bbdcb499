#include "embedded_host/engine/Engine.hpp"

#include "embedded_host/engine/AwaitedEnd.hpp"
#include "embedded_host/engine/InterpreterThread.hpp"
#include "embedded_host/engine/RequestLine.hpp"
#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/values/Utf8.hpp"
#include "host/setCurrentThreadName.hpp"

#include <boost/exception/enable_current_exception.hpp>

#include <atomic>
#include <chrono>
#include <exception>
#include <iostream>
#include <type_traits>
#include <utility>

namespace tovrinhost {

namespace {

/// Does nothing. Taking it off the queue is what it is for.
constexpr std::u16string_view wakeUpStatement = u"if(1==1), end";

vorn::ContextId nextContextId()
{
    static std::atomic<vorn::ContextId> last { 0 };
    return ++last;
}

EventLoop::When whenOf(const cmddistributor::RunOptions& options)
{
    switch (options.getWhenToDequeue()) {
    case cmddistributor::WhenToDequeue::WhenIdle:
        return EventLoop::When::Idle;
    case cmddistributor::WhenToDequeue::AtEventLoop:
        return EventLoop::When::AtEventLoop;
    }
    return EventLoop::When::Idle;
}

/// Evaluates, and lets nothing but a ScriptError out.
///
/// Boost's futures give other exceptions a container that counts its users without atomics, although the thread
/// that reads the future is one of them and the interpreter thread another.
template <typename Evaluate> auto evaluateAsScript(const Evaluate& evaluate)
{
    try {
        return evaluate();
    } catch (const ScriptError&) {
        throw;
    } catch (const std::exception& error) {
        throw boost::enable_current_exception(ScriptError(error.what(), ""));
    }
}

/// Evaluates at once, on the interpreter thread.
template <typename Evaluate> auto evaluateNow(const Evaluate& evaluate)
{
    using Result = decltype(evaluate());
    boost::promise<Result> promise;
    auto result = promise.get_future();
    try {
        if constexpr (std::is_void_v<Result>) {
            evaluateAsScript(evaluate);
            promise.set_value();
        } else {
            promise.set_value(evaluateAsScript(evaluate));
        }
    } catch (...) {
        promise.set_exception(boost::current_exception());
    }
    return result;
}

/// Has the interpreter thread evaluate.
template <typename Evaluate> auto evaluateLater(EventLoop& loop, EventLoop::When when, Evaluate evaluate)
{
    using Task = boost::packaged_task<decltype(evaluate())()>;
    const auto task
        = std::make_shared<Task>([evaluate = std::move(evaluate)] { return evaluateAsScript(evaluate); });
    auto result = task->get_future();
    loop.post(when, [task] { (*task)(); });
    return result;
}

/// Work for the interpreter thread whose end another thread waits for. That comes also if the loop drops it.
class AwaitedWork {
public:
    AwaitedWork(std::function<void()> work, std::shared_ptr<AwaitedEnd> end)
        : m_work(std::move(work))
        , m_end(std::move(end))
    {
    }
    AwaitedWork(const AwaitedWork&) = delete;
    AwaitedWork& operator=(const AwaitedWork&) = delete;

    ~AwaitedWork()
    {
        if (m_end) {
            m_end->finish(std::make_exception_ptr(ScriptError("the engine has been shut down", "")));
        }
    }

    /// To be called once.
    void operator()()
    {
        std::exception_ptr error;
        try {
            m_work();
        } catch (...) {
            error = std::current_exception();
        }
        std::exchange(m_end, nullptr)->finish(std::move(error));
    }

private:
    const std::function<void()> m_work;
    std::shared_ptr<AwaitedEnd> m_end; ///< null once it has been told
};

/// The owner of a task that belongs to no timer.
class NoTimer final : public TaskOwner {
public:
    void taskBegins(const TaskNote& /*note*/) noexcept override { }
    void taskIsDropped(const TaskNote& /*note*/) noexcept override { }

    void taskEnds(const TaskNote& /*note*/, const std::exception_ptr& error) noexcept override
    {
        try {
            if (error) {
                std::rethrow_exception(error);
            }
        } catch (const std::exception& known) {
            std::cerr << "tovrin: error in a callback task: " << escape(known.what()) << '\n';
        } catch (...) {
            std::cerr << "tovrin: error in a callback task\n";
        }
    }
};

} // namespace

std::shared_ptr<Engine> Engine::start()
{
    std::shared_ptr<Engine> engine(new Engine);
    // A share of the loop is one of the engine that it is part of.
    engine->m_queueManager
        = makeQueueManager(engine->m_contextId, std::shared_ptr<EventLoop>(engine, &engine->loop()));
    engine->m_thread = tovrintimer::Thread([raw = engine.get()] { raw->serve(); });
    // From here on the interpreter exists.
    engine->run([](Interpreter&) {});
    return engine;
}

Engine::Engine()
    : m_contextId(nextContextId())
{
}

Engine::~Engine()
{
    shutDown();
}

void Engine::shutDown()
{
    loop().stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Engine::serve()
{
    setCurrentThreadName("interpreter");
    const InterpreterThread here(loop());
    m_interpreter = std::make_unique<Interpreter>(loop());
    const auto interruptCode = [](void* code) { static_cast<RunningCode*>(code)->interrupt(); };
    setInterjection(std::make_unique<platform::Interjection>(interruptCode, &m_interpreter->code()));
    loop().runUntilStopped();
    setInterjection(nullptr);
    // Finalizers run as the state is closed. Nothing comes any more that they could pump for.
    loop().interrupt(Interruption::Exit);
    m_interpreter.reset();
}

void Engine::setInterjection(std::unique_ptr<platform::Interjection> interjection)
{
    const std::lock_guard lock(m_interjectionMutex);
    m_interjection = std::move(interjection);
}

foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> Engine::feval(
    const std::string& function, const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
    cmddistributor::RunOptions options, bool /*reserved*/, foundation::msg_svc::exchange::IDType /*requestId*/)
{
    if (isInterpreterThread(loop())) {
        return evaluateNow([&] { return m_interpreter->call(function, arguments, nargout); });
    }
    return evaluateLater(loop(), whenOf(options),
        [this, function, arguments, nargout] { return m_interpreter->call(function, arguments, nargout); });
}

foundation::concurrent::future<void> Engine::evalAsync(const std::u16string& statement,
    cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType /*requestId*/)
{
    const auto evaluate = [this, statement] {
        if (statement != wakeUpStatement) {
            m_interpreter->execute(toUtf8(std::u16string_view(statement)), "=statement");
        }
    };
    return isInterpreterThread(loop()) ? evaluateNow(evaluate) : evaluateLater(loop(), whenOf(options), evaluate);
}

void Engine::submit(const std::function<void()>& task)
{
    const auto owner = std::make_shared<NoTimer>();
    loop().submit(
        *owner, [owner, task] { task(); }, wakesInterpreter());
}

void Engine::interrupt(Interruption why)
{
    loop().interrupt(why);
    interject();
    if (!isInterpreterThread(loop())) {
        // Lua may have been about to note that there is no hook any more, after one of the script's or of an
        // earlier interruption: then it has just overwritten the mark that makes it look at the new one.
        tovrintimer::sleepFor(std::chrono::milliseconds(1));
        interject();
    }
}

void Engine::interject()
{
    const std::lock_guard lock(m_interjectionMutex);
    if (m_interjection) {
        m_interjection->interject();
    }
}

void Engine::run(const std::function<void(Interpreter&)>& work)
{
    const auto evaluate = [this, &work] { evaluateAsScript([&] { work(*m_interpreter); }); };
    if (isInterpreterThread(loop())) {
        evaluate();
        return;
    }
    const auto end = std::make_shared<AwaitedEnd>();
    loop().post(EventLoop::When::Idle, [awaited = std::make_shared<AwaitedWork>(evaluate, end)] { (*awaited)(); });
    end->wait();
}

} // namespace tovrinhost
