#include "embedded_host/engine/RequestLine.hpp"

#include "embedded_host/engine/EventLoop.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/setReadyRequestPending.hpp"
#include "timer_src/main/NeverDestroyed.hpp"

#include <map>
#include <mutex>
#include <utility>

/// Leads from a queue manager to its interpreter.
class InterruptStateData {
public:
    explicit InterruptStateData(std::weak_ptr<tovrinhost::EventLoop> loop)
        : m_loop(std::move(loop))
    {
    }

    void wakeInterpreter() const
    {
        if (const auto loop = m_loop.lock()) {
            loop->wake();
        }
    }

private:
    const std::weak_ptr<tovrinhost::EventLoop> m_loop;
};

namespace {

class QueueManager final : public iqm::Iqm {
public:
    explicit QueueManager(std::weak_ptr<tovrinhost::EventLoop> loop)
        : m_interruptState(std::make_shared<InterruptStateData>(std::move(loop)))
    {
    }

    std::shared_ptr<InterruptStateData> getInterruptStateData() const override { return m_interruptState; }

private:
    const std::shared_ptr<InterruptStateData> m_interruptState;
};

/// The queue managers of the process, by context.
struct QueueManagers {
    std::mutex mutex;
    std::map<vorn::ContextId, std::weak_ptr<iqm::Iqm>> byContext; // guarded by mutex
};

QueueManagers& queueManagers()
{
    static tovrintimer::NeverDestroyed<QueueManagers> managers;
    return *managers;
}

} // namespace

namespace tovrinhost {

std::shared_ptr<iqm::Iqm> makeQueueManager(vorn::ContextId context, std::weak_ptr<EventLoop> loop)
{
    auto manager = std::make_shared<QueueManager>(std::move(loop));
    QueueManagers& managers = queueManagers();
    const std::lock_guard lock(managers.mutex);
    std::erase_if(managers.byContext, [](const auto& entry) { return entry.second.expired(); });
    managers.byContext[context] = manager;
    return manager;
}

} // namespace tovrinhost

namespace iqm {

Iqm::Iqm() = default;
Iqm::~Iqm() = default;

std::shared_ptr<Iqm> Iqm::getInstance(vorn::ContextId context)
{
    QueueManagers& managers = queueManagers();
    const std::lock_guard lock(managers.mutex);
    const auto found = managers.byContext.find(context);
    return found == managers.byContext.end() ? nullptr : found->second.lock();
}

} // namespace iqm

// This host has no user interface to tell. Whether an interpreter is woken must not hang on it either: there is
// one for the process, and an interpreter that looks would take away what another has not looked at yet.
void setReadyRequestPending(bool /*pending*/)
{
}

void inRequestLineNoService(const std::shared_ptr<InterruptStateData>& interruptState)
{
    interruptState->wakeInterpreter();
}
