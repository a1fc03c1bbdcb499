#include "tests/simulation/host/Engine.hpp"

#include "host/foundation/tovrindata/CharArray.hpp"

using foundation::concurrent::future;
using foundation::msg_svc::exchange::IDType;
using foundation::tovrindata::Array;
using foundation::tovrindata::CharArray;

namespace vorn {

VORN::VORN() = default;
VORN::~VORN() = default;

IDType VORN::createRequestID()
{
    simulation::Host::current().checkCall("createRequestID");
    return IDType();
}

} // namespace vorn

namespace simulation {

Engine::Engine(int slotNumber)
    : slot(slotNumber)
{
    Host::current().engineMade(1);
}

Engine::~Engine()
{
    Host::current().engineMade(-1);
}

future<std::vector<Array>> Engine::feval(const std::string& function, const std::vector<Array>& arguments,
    std::size_t nargout, cmddistributor::RunOptions options, bool reserved, IDType /*requestId*/)
{
    Host& host = Host::current();
    host.checkCall("feval");
    if (function != "timercb" || arguments.size() != 4 || nargout != 0 || reserved || options.getQueueName()) {
        Kernel::current()->fail("feval is not called as it ought to be");
    }
    boost::promise<std::vector<Array>> answer;
    try {
        host.evaluate(*this, CharArray(arguments[1]).toUTF8());
        answer.set_value({});
    } catch (const CallbackError& error) {
        answer.set_exception(error);
    }
    return answer.get_future();
}

future<void> Engine::evalAsync(
    const std::u16string& statement, cmddistributor::RunOptions options, IDType /*requestId*/)
{
    Host& host = Host::current();
    host.checkCall("evalAsync");
    if (statement != u"if(1==1), end" || options.getWhenToDequeue() != cmddistributor::WhenToDequeue::AtEventLoop
        || options.getQueueName() != std::u16string(u"TIMER_WAKE_UP_VORN")) {
        Kernel::current()->fail("the wake-up statement is not what it ought to be");
    }
    host.woken(*this);
    boost::promise<void> done;
    done.set_value();
    return done.get_future();
}

} // namespace simulation
