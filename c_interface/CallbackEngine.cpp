#include "c_interface/CallbackEngine.hpp"

#include "c_interface/CallGuard.hpp"
#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/values/ObjectArray.hpp"

#include <boost/exception/enable_current_exception.hpp>

#include <utility>

namespace tovrin_c {

using foundation::tovrindata::Array;

CallbackEngine::CallbackEngine(std::function<void(std::uint64_t timer)> callBack)
    : m_callBack(std::move(callBack))
{
}

/// The library asks inside a task, on the thread that waits for the outcome: it is ready as this returns.
foundation::concurrent::future<std::vector<Array>> CallbackEngine::feval(const std::string& /*function*/,
    const std::vector<Array>& arguments, std::size_t /*nargout*/, cmddistributor::RunOptions /*options*/,
    bool /*reserved*/, foundation::msg_svc::exchange::IDType /*requestId*/)
{
    boost::promise<std::vector<Array>> promise;
    auto outputs = promise.get_future();
    try {
        try {
            m_callBack(tovrinhost::getObject(arguments.at(0)));
            promise.set_value({});
        } catch (...) {
            // Boost's futures keep a class of their own only where it is told so.
            throw boost::enable_current_exception(tovrinhost::ScriptError(textOf(std::current_exception()), ""));
        }
    } catch (...) {
        promise.set_exception(boost::current_exception());
    }
    return outputs;
}

/// The only statement is the one that wakes who waits for a timer.
foundation::concurrent::future<void> CallbackEngine::evalAsync(const std::u16string& /*statement*/,
    cmddistributor::RunOptions /*options*/, foundation::msg_svc::exchange::IDType /*requestId*/)
{
    loop().wake();
    return boost::make_ready_future();
}

} // namespace tovrin_c
