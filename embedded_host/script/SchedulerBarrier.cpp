#include "embedded_host/script/SchedulerBarrier.hpp"

#include "embedded_host/engine/TaskSink.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <atomic>
#include <utility>
#include <vector>

namespace tovrinhost {

namespace {

// The first mark is brought after what the scheduler thread was doing when it was sent; what that has queued
// meanwhile is due no later than the second.
constexpr int marks = 2;

} // namespace

/// The engine of a timer whose one callback is not run: that it is handed over is all.
class SchedulerBarrier::Mark final : public vorn::VORN, public TaskSink {
public:
    explicit Mark(std::shared_ptr<Engine> engine)
        : m_engine(std::move(engine))
    {
    }

    bool isBrought() const { return m_brought; }

    void submit(const std::function<void()>& /*task*/) override
    {
        m_brought = true;
        m_engine->loop().wake();
    }

    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId) override
    {
        return m_engine->feval(function, arguments, nargout, std::move(options), reserved, requestId);
    }

    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) override
    {
        return m_engine->evalAsync(statement, std::move(options), requestId);
    }

    vorn::ContextId getContextId() const override { return m_engine->getContextId(); }

private:
    const std::shared_ptr<Engine> m_engine;
    std::atomic<bool> m_brought { false };
};

SchedulerBarrier::SchedulerBarrier(std::shared_ptr<Engine> engine)
    : m_engine(std::move(engine))
{
}

SchedulerBarrier::~SchedulerBarrier() = default;

bool SchedulerBarrier::isPassed()
{
    if (m_mark && !m_mark->isBrought()) {
        return false;
    }
    if (m_sent < marks) {
        send();
        return false;
    }
    return true;
}

void SchedulerBarrier::send()
{
    ++m_sent;
    m_mark = std::make_shared<Mark>(m_engine);
    m_timer = std::make_shared<tovrintimer::TimerInfo>(foundation::tovrindata::Array(), m_mark, m_interruptState);
    // Due now, but through the queue.
    constexpr double almostNothing = 0.5;
    m_timer->setStartDelay(almostNothing);
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->createAndStartWork(m_timer);
}

} // namespace tovrinhost
