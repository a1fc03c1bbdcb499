#pragma once

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/engine/TaskSink.hpp"
#include "host/vorn/VORN.hpp"

#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace tovrinhost {

class LoopEngine;

/// What the intake noted of a task as it was handed over.
enum class TaskMark { None, Expected, Last };

/// A timer's callbacks, by the property that holds them.
enum class Callback { None, StartFcn, TimerFcn, StopFcn, ErrorFcn };

/// As in "TimerFcn"; empty for none.
TOVRINHOST_API const char* nameOf(Callback callback);

/// Where the tasks of one run of a timer come in. Any thread.
class TOVRINHOST_API TaskIntake {
public:
    virtual ~TaskIntake();

    /// A task is being handed over, on this thread; the library goes on when this has returned.
    /// \returns what the listener is to be told of this task; the mark is a TaskMark
    virtual TaskNote taskComes() = 0;

    /// A task that has come will not be run.
    virtual void taskIsDropped(const TaskNote& note) noexcept = 0;
};

/// What becomes of the callbacks of one run of a timer. All notifications come on the interpreter thread.
class TOVRINHOST_API TimerTaskListener {
public:
    virtual ~TimerTaskListener();

    /// This callback is about to be evaluated.
    virtual void callbackBegins(Callback callback, const TaskNote& note) = 0;

    /// A period may be counted from this moment on. Told where time stands still at work alone.
    virtual void periodCounts() noexcept = 0;

    /// A callback task has ended.
    /// \param callback the latest callback that it began
    /// \param error what left the task, null if nothing did
    virtual void taskEnds(Callback callback, const TaskNote& note, const std::exception_ptr& error) noexcept = 0;

    /// Another thread has posted a statement, as the library does when it finds that the timer has stopped.
    virtual void hasStopped() noexcept = 0;

    /// More callbacks wait than may. No further one is taken from other threads.
    virtual void backlogExceeded() noexcept = 0;
};

/// The engine, as one run of a timer sees it: it evaluates everything in the engine, and knows whose tasks it is
/// handed.
///
/// The library gets it in place of the engine, as the engine instance in which the timer was created.
///
/// Threading: the operations of vorn::VORN and `submit`, any thread; everything else, the interpreter thread.
/// Ownership: shared by the library's timer and its pending tasks. It shares the intake, and holds its listener
/// weakly, but while one of the tasks is running.
class TOVRINHOST_API TimerEngine final : public vorn::VORN, public TaskSink, public TaskOwner {
public:
    /// \param maxBacklog how many of the timer's callbacks may wait at most
    TimerEngine(std::shared_ptr<LoopEngine> engine, std::shared_ptr<TaskIntake> intake,
        std::weak_ptr<TimerTaskListener> listener, std::size_t maxBacklog);
    ~TimerEngine() override;

    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId) override;
    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) override;
    vorn::ContextId getContextId() const override;

    void submit(const std::function<void()>& task) override;

    /// Drops the waiting tasks but for the first `keep`, and what other threads hand over from now on. Tasks that
    /// the interpreter thread hands over are still taken.
    void close(std::size_t keep);

    std::size_t pending() const;

    /// What was noted of the first of its TimerFcns that wait.
    std::optional<TaskNote> firstTimerFcn() const;

    /// Runs the waiting tasks at once, out of turn.
    void runPending();

private:
    using Notification = void (TimerTaskListener::*)() noexcept;
    EventLoop::Work tell(Notification what) const;
    void taskBegins(const TaskNote& note) noexcept override;
    void tellOfPeriod();
    void taskEnds(const TaskNote& note, const std::exception_ptr& error) noexcept override;
    void taskIsDropped(const TaskNote& note) noexcept override;

    const std::shared_ptr<LoopEngine> m_engine;
    const std::size_t m_maxBacklog;
    const std::shared_ptr<TaskIntake> m_intake;

    const std::weak_ptr<TimerTaskListener> m_listener;

    // Only for the interpreter thread.
    std::shared_ptr<TimerTaskListener> m_listenerOfTask; // set while a task is running
    TaskNote m_note;
    Callback m_callback = Callback::None;
};

} // namespace tovrinhost
