#include "Engine.hpp"

#include "host/inRequestLineNoService.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setReadyRequestPending.hpp"

#include <boost/exception_ptr.hpp>

#include <atomic>
#include <iostream>
#include <stdexcept>
#include <utility>

using foundation::tovrindata::Array;

namespace {

std::atomic<int> readyRequestCount { 0 };
std::atomic<int> requestLineCount { 0 };

class QueueManager : public iqm::Iqm {
public:
    std::shared_ptr<InterruptStateData> getInterruptStateData() const override { return m_state; }

private:
    std::shared_ptr<InterruptStateData> m_state = std::make_shared<InterruptStateData>();
};

} // namespace

namespace vorn {

VORN::VORN() = default;
VORN::~VORN() = default;

foundation::msg_svc::exchange::IDType VORN::createRequestID()
{
    return {};
}

} // namespace vorn

namespace iqm {

Iqm::Iqm() = default;
Iqm::~Iqm() = default;

std::shared_ptr<Iqm> Iqm::getInstance(vorn::ContextId /*context*/)
{
    static const auto instance = std::make_shared<QueueManager>();
    return instance;
}

} // namespace iqm

void processTovrinTimerTask(const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task)
{
    dynamic_cast<external_host::Engine&>(*engine).post(task);
}

void setReadyRequestPending(bool pending)
{
    readyRequestCount += pending ? 1 : 0;
}

void inRequestLineNoService(const std::shared_ptr<InterruptStateData>& interruptState)
{
    requestLineCount += interruptState ? 1 : 0;
}

namespace external_host {

int readyRequests()
{
    return readyRequestCount;
}

int requestLineLooks()
{
    return requestLineCount;
}

Engine::Engine(Functions functions)
    : m_functions(std::move(functions))
{
}

foundation::concurrent::future<std::vector<Array>> Engine::feval(const std::string& function,
    const Arguments& arguments, std::size_t nargout, cmddistributor::RunOptions /*options*/, bool /*reserved*/,
    foundation::msg_svc::exchange::IDType /*requestId*/)
{
    const auto promise = std::make_shared<boost::promise<std::vector<Array>>>();
    auto outputs = promise->get_future();
    const auto evaluate = [this, promise, function, arguments, nargout] {
        try {
            const auto found = m_functions.find(function);
            if (found == m_functions.end() || nargout != 0) {
                throw std::invalid_argument("there is no function " + function + " of " + std::to_string(nargout)
                    + " outputs: functions are those that the engine was made with, and have none");
            }
            found->second(arguments);
            promise->set_value({});
        } catch (...) {
            promise->set_exception(boost::current_exception());
        }
    };
    // A task waits for its callback on this very thread: nobody else would evaluate it.
    if (isOwnThread()) {
        evaluate();
    } else {
        post(evaluate);
    }
    return outputs;
}

foundation::concurrent::future<void> Engine::evalAsync(const std::u16string& /*statement*/,
    cmddistributor::RunOptions /*options*/, foundation::msg_svc::exchange::IDType /*requestId*/)
{
    // The only statement is the one that does nothing but wake the engine: so does a task.
    post([] {});
    return boost::make_ready_future();
}

void Engine::post(Task task)
{
    const std::lock_guard lock(m_mutex);
    m_tasks.push_back(std::move(task));
    m_changed.notify_one();
}

bool Engine::isOwnThread()
{
    const std::lock_guard lock(m_mutex);
    return std::this_thread::get_id() == m_thread;
}

/// \returns none where nothing is posted until then
Engine::Task Engine::takeNext(std::chrono::steady_clock::time_point deadline)
{
    std::unique_lock lock(m_mutex);
    m_thread = std::this_thread::get_id();
    if (!m_changed.wait_until(lock, deadline, [this] { return !m_tasks.empty(); })) {
        return nullptr;
    }
    Task next = std::move(m_tasks.front());
    m_tasks.pop_front();
    return next;
}

bool Engine::serve(const std::function<bool()>& isDone, std::chrono::seconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        // What is there already comes first.
        const bool wasDone = isDone();
        const Task task = takeNext(wasDone ? std::chrono::steady_clock::time_point() : deadline);
        if (!task) {
            return wasDone;
        }
        try {
            task();
        } catch (const std::exception& error) {
            // Here a host that knows whose task it was has its program call `forceScheduleOfErrorFcn`: it calls
            // nothing of the library itself.
            std::cerr << "error in a callback: " << error.what() << '\n';
        }
    }
}

} // namespace external_host
