#pragma once

#include "host/Export.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>

namespace tovrinhost {

/// What the owner of a task noted as it was submitted: for the owner alone, who is told of it again.
struct TaskNote {
    int mark = 0;

    // By the log of firings.
    std::uint64_t number = 0; ///< of the firing that the task belongs to; 0 if nobody has told of it
    bool isTimerFcn = false;
    std::int64_t due = 0; ///< nanoseconds of the steady clock, like the next
    std::int64_t taken = 0; ///< when the host had the task
    std::int64_t sinceDrop = 0; ///< from when the first that it makes up for was due to its dispatch; 0: for none
};

/// On whose behalf callback tasks are queued. Two tasks of one owner never run nested in each other, unless
/// `EventLoop::runPending` asks for it.
///
/// Threading: everything here belongs to the interpreter thread, but for what says otherwise.
class TOVRINHOST_API TaskOwner {
public:
    virtual ~TaskOwner() = default;

    /// Whether one of the tasks is running, that is: whether this is called from within it.
    bool isInTask() const noexcept { return m_depth > 0; }

    virtual void taskBegins(const TaskNote& note) noexcept = 0;

    /// \param error what left the task, null if nothing did
    virtual void taskEnds(const TaskNote& note, const std::exception_ptr& error) noexcept = 0;

    /// It will not be run. Any thread.
    virtual void taskIsDropped(const TaskNote& note) noexcept = 0;

private:
    friend class EventLoop;

    // Grows under the event loop's mutex, which guards the next, too; the interpreter thread lowers it without.
    std::atomic<std::size_t> m_pending { 0 };
    bool m_closed = false;

    int m_depth = 0; // only for the interpreter thread
};

} // namespace tovrinhost
