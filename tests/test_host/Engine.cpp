#include "tests/test_host/Engine.hpp"

#include "host/fl/i18n/to_string.hpp"
#include "host/foundation/tovrindata/CharArray.hpp"

using foundation::concurrent::future;
using foundation::msg_svc::exchange::IDType;
using foundation::tovrindata::Array;
using foundation::tovrindata::CharArray;
using tovrintimer::WorkKind;

namespace test_host {

namespace {

WorkKind kindOf(const std::string& callback)
{
    for (const auto kind : { tovrintimer::StartFcnWork, tovrintimer::StopFcnWork, tovrintimer::TimerFcnWork,
             tovrintimer::ErrorFcnWork }) {
        if (callback == fl::i18n::to_string(tovrintimer::kindName(kind).wide)) {
            return kind;
        }
    }
    throw std::logic_error("there is no callback \"" + callback + "\"");
}

} // namespace

future<std::vector<Array>> Engine::feval(const std::string& function, const std::vector<Array>& arguments,
    std::size_t nargout, cmddistributor::RunOptions options, bool reserved, IDType /*requestId*/)
{
    if (function != "timercb" || arguments.size() != 4 || nargout != 0 || reserved || options.getQueueName()) {
        throw std::logic_error("feval is not called as it ought to be");
    }
    boost::promise<std::vector<Array>> answer;
    try {
        evaluate(arguments[0], kindOf(CharArray(arguments[1]).toUTF8()));
        answer.set_value({});
    } catch (const CallbackError& error) {
        answer.set_exception(error);
    }
    return answer.get_future();
}

future<void> Engine::evalAsync(
    const std::u16string& statement, cmddistributor::RunOptions options, IDType /*requestId*/)
{
    if (statement != u"if(1==1), end" || options.getWhenToDequeue() != cmddistributor::WhenToDequeue::AtEventLoop
        || options.getQueueName() != std::u16string(u"TIMER_WAKE_UP_VORN")) {
        throw std::logic_error("the wake-up statement is not what it ought to be");
    }
    wakeUp();
    boost::promise<void> done;
    done.set_value();
    return done.get_future();
}

} // namespace test_host
