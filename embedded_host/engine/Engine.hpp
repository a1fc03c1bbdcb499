#pragma once

#include "embedded_host/engine/Interpreter.hpp"
#include "embedded_host/engine/LoopEngine.hpp"
#include "embedded_host/engine/TaskSink.hpp"
#include "embedded_host/engine/platform/Platform.hpp"

#include <memory>
#include <mutex>

namespace iqm {
class Iqm;
}

namespace tovrinhost {

/// The engine: one interpreter thread, and the queue that it works off.
///
/// Threading: any operation, any thread. What is asked for on the interpreter thread itself is evaluated at once.
/// Ownership: made by `start`. Whoever starts an engine shuts it down, not on the interpreter thread; shares that
/// are left over afterwards stay valid, and what is asked of them fails.
class TOVRINHOST_API Engine final : public LoopEngine, public TaskSink {
public:
    static std::shared_ptr<Engine> start();
    ~Engine() override;

    /// Ends the interpreter thread after the code that it is running. What still waits is dropped.
    void shutDown();

    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId) override;

    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) override;

    vorn::ContextId getContextId() const override { return m_contextId; }

    /// Queues a callback task that belongs to no timer. What leaves the task is written to standard error.
    void submit(const std::function<void()>& task) override;

    void interrupt(Interruption why) override;

    /// Does something on the interpreter thread, once it is idle, and waits.
    /// \throws ScriptError for whatever `work` throws, and where the engine has been shut down
    void run(const std::function<void(Interpreter&)>& work);

private:
    Engine();
    void serve();
    void interject();
    void setInterjection(std::unique_ptr<platform::Interjection> interjection);

    const vorn::ContextId m_contextId;
    std::unique_ptr<Interpreter> m_interpreter; // made and destroyed on the interpreter thread
    std::shared_ptr<iqm::Iqm> m_queueManager;

    std::mutex m_interjectionMutex;
    std::unique_ptr<platform::Interjection> m_interjection; // guarded by it; there while the interpreter serves

    tovrintimer::Thread m_thread;
};

} // namespace tovrinhost
