#pragma once

#include "host/vorn/VORN.hpp"

#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace recording {

/// What becomes of a callback task that is handed over.
enum class TaskRun {
    Keep, ///< the test runs it
    Inline, ///< runs inside the hand-over, on the thread that hands it over
    OtherThread, ///< runs on a thread of its own, and has ended before the hand-over returns
    Refuse, ///< the hand-over throws HandOverError
};

struct HandOverError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The tasks given to `processTovrinTimerTask`, whose event bears its name.
///
/// Threading: all operations, any thread.
class TimerTasks {
public:
    using Task = std::function<void()>;

    void handOver(const std::shared_ptr<vorn::VORN>& engine, const Task& task);

    /// Of the tasks from now on. Keep at first.
    void setRun(TaskRun run);

    /// How many are kept.
    std::size_t pending() const;

    /// Runs the oldest kept task on the calling thread.
    /// \throws std::logic_error if none is kept, and what the task throws
    void runNext();

    /// The same with the latest, as a host does that does not keep their order.
    void runLatest();

    /// Runs kept tasks until there are none, those that are handed over meanwhile included.
    void runAll();

    /// Drops what is kept, and what has been learnt.
    void reset();

    /// What tasks threw that ran inside the hand-over or on another thread: those errors are the host's.
    std::vector<std::exception_ptr> errors() const;

    /// The engines that the tasks were handed over with.
    std::vector<std::weak_ptr<vorn::VORN>> engines() const;

private:
    void runForHost(const Task& task);

    mutable std::mutex m_mutex;
    TaskRun m_run = TaskRun::Keep; // guarded by m_mutex, like the rest
    std::deque<Task> m_kept;
    std::vector<std::exception_ptr> m_errors;
    std::vector<std::weak_ptr<vorn::VORN>> m_engines;
};

TimerTasks& timerTasks();

} // namespace recording
