#include "embedded_host/engine/TimerEngine.hpp"

#include "embedded_host/engine/Engine.hpp"
#include "host/foundation/tovrindata/CharArray.hpp"

#include <utility>

namespace tovrinhost {

TimerTaskListener::~TimerTaskListener() = default;

TimerEngine::TimerEngine(std::shared_ptr<Engine> engine, TimerTaskListener& listener, std::size_t maxBacklog)
    : m_engine(std::move(engine))
    , m_maxBacklog(maxBacklog)
    , m_listener(&listener)
{
}

TimerEngine::~TimerEngine() = default;

foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> TimerEngine::feval(
    const std::string& function, const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
    cmddistributor::RunOptions options, bool reserved, foundation::msg_svc::exchange::IDType requestId)
{
    // Tasks run on the interpreter thread, and so does this.
    std::string callback = foundation::tovrindata::CharArray(arguments.at(1)).toUTF8();
    if (m_listener != nullptr) {
        m_listener->callbackBegins(callback);
    }
    auto outputs = m_engine->feval(function, arguments, nargout, std::move(options), reserved, requestId);
    // After the evaluation, so that what ran nested in it does not stand here.
    m_callback = std::move(callback);
    return outputs;
}

foundation::concurrent::future<void> TimerEngine::evalAsync(const std::u16string& statement,
    cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId)
{
    return m_engine->evalAsync(statement, std::move(options), requestId);
}

vorn::ContextId TimerEngine::getContextId() const
{
    return m_engine->getContextId();
}

void TimerEngine::submit(const std::function<void()>& task)
{
    const bool exceeds = m_engine->loop().submit(shared_from_this(), task, wakesInterpreter(), m_maxBacklog);
    if (exceeds) {
        m_engine->loop().postUrgent([self = shared_from_this()] {
            if (self->m_listener != nullptr) {
                self->m_listener->backlogExceeded();
            }
        });
    }
}

void TimerEngine::open()
{
    m_engine->loop().open(*this);
}

void TimerEngine::close(std::size_t keep)
{
    m_engine->loop().close(*this, keep);
}

std::size_t TimerEngine::pending() const
{
    return m_engine->loop().pending(*this);
}

void TimerEngine::runPending()
{
    m_engine->loop().runPending(shared_from_this());
}

void TimerEngine::taskBegins() noexcept
{
    m_callback.clear();
}

void TimerEngine::taskEnds(const std::exception_ptr& error) noexcept
{
    if (m_listener != nullptr) {
        m_listener->taskEnds(std::exchange(m_callback, {}), error);
    }
}

} // namespace tovrinhost
