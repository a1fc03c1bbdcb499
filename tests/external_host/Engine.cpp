#include "Engine.hpp"

#include "host/foundation/tovrindata/CharArray.hpp"
#include "host/foundation/tovrindata/StructArray.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setReadyRequestPending.hpp"

#include <atomic>
#include <stdexcept>
#include <utility>

using foundation::tovrindata::Array;
using foundation::tovrindata::CharArray;
using foundation::tovrindata::StructArray;

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

foundation::concurrent::future<std::vector<Array>> Engine::feval(const std::string& function,
    const std::vector<Array>& arguments, std::size_t nargout, cmddistributor::RunOptions /*options*/,
    bool /*reserved*/, foundation::msg_svc::exchange::IDType /*requestId*/)
{
    if (function != "timercb" || arguments.size() != 4 || nargout != 0) {
        throw std::runtime_error("unexpected evaluation of " + function);
    }
    const std::string name = CharArray(arguments[1]).toUTF8();
    const std::string type = CharArray(StructArray(arguments[3]).getField(0, "Type")).toUTF8();
    if (type != name) {
        throw std::runtime_error("the event of " + name + " is of type " + type);
    }
    calls.push_back({ name, std::chrono::steady_clock::now() });
    return boost::make_ready_future(std::vector<Array>());
}

foundation::concurrent::future<void> Engine::evalAsync(const std::u16string& /*statement*/,
    cmddistributor::RunOptions /*options*/, foundation::msg_svc::exchange::IDType /*requestId*/)
{
    // The only statement is the one that does nothing but wake the engine.
    post([] {});
    return boost::make_ready_future();
}

void Engine::post(std::function<void()> task)
{
    const std::lock_guard lock(m_mutex);
    m_tasks.push_back(std::move(task));
    m_changed.notify_one();
}

bool Engine::serve(const std::function<bool()>& isDone, std::chrono::seconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::unique_lock lock(m_mutex);
    while (!m_tasks.empty() || !isDone()) {
        if (!m_changed.wait_until(lock, deadline, [this] { return !m_tasks.empty(); })) {
            return false;
        }
        const auto task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
    return true;
}

} // namespace external_host
