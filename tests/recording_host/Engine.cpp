#include "tests/recording_host/Engine.hpp"

#include "host/foundation/tovrindata/CharArray.hpp"
#include "tests/recording_host/Journal.hpp"

#include <set>
#include <utility>

using foundation::concurrent::future;
using foundation::msg_svc::exchange::IDType;
using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayType;
using foundation::tovrindata::CharArray;

namespace vorn {

IDType VORN::createRequestID()
{
    recording::journal().add({ recording::Kind::Detail, "createRequestID" });
    return IDType();
}

} // namespace vorn

namespace recording {

namespace {

std::mutex liveMutex;
std::multiset<vorn::ContextId>& liveContexts()
{
    static std::multiset<vorn::ContextId> contexts;
    return contexts;
}

std::string callbackName(const std::vector<Array>& arguments)
{
    if (arguments.size() > 1 && arguments[1].getType() == ArrayType::Char) {
        return " " + CharArray(arguments[1]).toUTF8();
    }
    return "";
}

std::string narrow(const std::u16string& text)
{
    std::string narrowed;
    for (const char16_t unit : text) {
        narrowed += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return narrowed;
}

} // namespace

Engine::Engine(vorn::ContextId context)
    : m_context(context)
{
    const std::lock_guard lock(liveMutex);
    liveContexts().insert(context);
}

Engine::~Engine()
{
    {
        const std::lock_guard lock(liveMutex);
        liveContexts().erase(liveContexts().find(m_context));
    }
    journal().add({ Kind::Detail, "~Engine" });
}

future<std::vector<Array>> Engine::feval(const std::string& function, const std::vector<Array>& arguments,
    std::size_t nargout, cmddistributor::RunOptions options, bool reserved, IDType requestId)
{
    boost::promise<Outputs> promise;
    auto answer = promise.get_future();
    {
        const std::lock_guard lock(m_mutex);
        m_evaluations.push_back({ function, arguments, nargout, options, reserved, requestId });
        if (m_outcome == Outcome::Later) {
            m_waiting.push_back(std::move(promise));
        }
    }
    journal().add({ Kind::Call, "feval " + function + callbackName(arguments) });

    const std::lock_guard lock(m_mutex);
    switch (m_outcome) {
    case Outcome::Ready:
        promise.set_value({});
        return answer;
    case Outcome::Error:
        promise.set_exception(CallbackError("error in the callback"));
        return answer;
    case Outcome::NoState:
        return {};
    case Outcome::Later:
        return answer;
    case Outcome::Throw:
        throw CallbackError("the engine takes no request");
    }
    return {};
}

future<void> Engine::evalAsync(
    const std::u16string& statement, cmddistributor::RunOptions options, IDType requestId)
{
    {
        const std::lock_guard lock(m_mutex);
        m_statements.push_back({ statement, options, requestId });
    }
    journal().add({ Kind::Call, "evalAsync " + narrow(statement) });
    boost::promise<void> promise;
    promise.set_value();
    return promise.get_future();
}

vorn::ContextId Engine::getContextId() const
{
    journal().add({ Kind::Detail, "getContextId" });
    return m_context;
}

void Engine::setOutcome(Outcome outcome)
{
    const std::lock_guard lock(m_mutex);
    m_outcome = outcome;
}

void Engine::finishNext()
{
    const std::lock_guard lock(m_mutex);
    if (m_waiting.empty()) {
        throw std::logic_error("no evaluation waits for its end");
    }
    m_waiting.front().set_value({});
    m_waiting.pop_front();
}

std::vector<Engine::Evaluation> Engine::evaluations() const
{
    const std::lock_guard lock(m_mutex);
    return m_evaluations;
}

std::vector<Engine::Statement> Engine::statements() const
{
    const std::lock_guard lock(m_mutex);
    return m_statements;
}

std::size_t Engine::alive()
{
    const std::lock_guard lock(liveMutex);
    return liveContexts().size();
}

bool Engine::isAlive(vorn::ContextId context)
{
    const std::lock_guard lock(liveMutex);
    return liveContexts().contains(context);
}

} // namespace recording
