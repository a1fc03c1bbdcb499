#include "embedded_host/engine/TimerEngine.hpp"

#include "embedded_host/engine/InterpreterThread.hpp"
#include "embedded_host/engine/LoopEngine.hpp"
#include "embedded_host/values/ArrayStorage.hpp"
#include "timer_src/main/Concurrency.hpp"

#include <string_view>
#include <utility>

namespace tovrinhost {

namespace {

Callback callbackNamed(std::string_view name)
{
    for (const Callback callback :
        { Callback::TimerFcn, Callback::StartFcn, Callback::StopFcn, Callback::ErrorFcn }) {
        if (name == nameOf(callback)) {
            return callback;
        }
    }
    return Callback::None;
}

} // namespace

const char* nameOf(Callback callback)
{
    switch (callback) {
    case Callback::None:
        return "";
    case Callback::StartFcn:
        return "StartFcn";
    case Callback::TimerFcn:
        return "TimerFcn";
    case Callback::StopFcn:
        return "StopFcn";
    case Callback::ErrorFcn:
        return "ErrorFcn";
    }
    return "";
}

TaskIntake::~TaskIntake() = default;
TimerTaskListener::~TimerTaskListener() = default;

TimerEngine::TimerEngine(std::shared_ptr<LoopEngine> engine, std::shared_ptr<TaskIntake> intake,
    std::weak_ptr<TimerTaskListener> listener, std::size_t maxBacklog)
    : m_engine(std::move(engine))
    , m_maxBacklog(maxBacklog)
    , m_intake(std::move(intake))
    , m_listener(std::move(listener))
{
}

TimerEngine::~TimerEngine() = default;

foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> TimerEngine::feval(
    const std::string& function, const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
    cmddistributor::RunOptions options, bool reserved, foundation::msg_svc::exchange::IDType requestId)
{
    // Tasks run on the interpreter thread, and so does this.
    const Callback callback = callbackNamed(foundation::tovrindata::detail::charactersOf(arguments.at(1)));
    if (m_listenerOfTask) {
        m_listenerOfTask->callbackBegins(callback, m_note);
    }
    auto outputs = m_engine->feval(function, arguments, nargout, std::move(options), reserved, requestId);
    tellOfPeriod();
    // After the evaluation, so that what ran nested in it does not stand here.
    m_callback = callback;
    return outputs;
}

foundation::concurrent::future<void> TimerEngine::evalAsync(const std::u16string& statement,
    cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId)
{
    auto done = m_engine->evalAsync(statement, std::move(options), requestId);
    if (!isInterpreterThread(m_engine->loop())) {
        m_engine->loop().post(EventLoop::When::AtEventLoop, tell(&TimerTaskListener::hasStopped));
    }
    return done;
}

vorn::ContextId TimerEngine::getContextId() const
{
    return m_engine->getContextId();
}

void TimerEngine::submit(const std::function<void()>& task)
{
    const TaskNote note = m_intake->taskComes();
    const bool exceeds = m_engine->loop().submit(*this, task, wakesInterpreter(), m_maxBacklog, note);
    if (exceeds) {
        m_engine->loop().postUrgent(tell(&TimerTaskListener::backlogExceeded));
    }
}

/// A request that brings the listener a notification on the interpreter thread, if it is still there.
EventLoop::Work TimerEngine::tell(Notification what) const
{
    return [weak = m_listener, what] {
        if (const auto listener = weak.lock()) {
            ((*listener).*what)();
        }
    };
}

void TimerEngine::close(std::size_t keep)
{
    m_engine->loop().close(*this, keep);
}

std::size_t TimerEngine::pending() const
{
    return m_engine->loop().pending(*this);
}

std::optional<TaskNote> TimerEngine::firstTimerFcn() const
{
    return m_engine->loop().firstTimerFcn(*this);
}

void TimerEngine::runPending()
{
    m_engine->loop().runPending(*this);
}

void TimerEngine::taskBegins(const TaskNote& note) noexcept
{
    m_listenerOfTask = m_listener.lock();
    m_note = note;
    m_callback = Callback::None;
    tellOfPeriod();
}

/// The library may be about to count a period from now on: as a task begins, or once the callback has returned.
/// Where time passes meanwhile, nobody could make use of it.
void TimerEngine::tellOfPeriod()
{
    if constexpr (tovrintimer::timeStandsStillAtWork) {
        if (m_listenerOfTask) {
            m_listenerOfTask->periodCounts();
        }
    }
}

void TimerEngine::taskEnds(const TaskNote& note, const std::exception_ptr& error) noexcept
{
    const auto listener = isInTask() ? m_listenerOfTask : std::exchange(m_listenerOfTask, nullptr);
    if (listener) {
        listener->taskEnds(std::exchange(m_callback, Callback::None), note, error);
    }
}

void TimerEngine::taskIsDropped(const TaskNote& note) noexcept
{
    m_intake->taskIsDropped(note);
}

} // namespace tovrinhost
