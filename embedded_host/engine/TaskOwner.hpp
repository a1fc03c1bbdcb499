#pragma once

#include "host/Export.hpp"

#include <atomic>
#include <cstddef>
#include <exception>

namespace tovrinhost {

/// On whose behalf callback tasks are queued. Two tasks of one owner never run nested in each other, unless
/// `EventLoop::runPending` asks for it.
///
/// Threading: everything here belongs to the interpreter thread.
class TOVRINHOST_API TaskOwner {
public:
    virtual ~TaskOwner() = default;

    /// Whether one of the tasks is running, that is: whether this is called from within it.
    bool isInTask() const noexcept { return m_depth > 0; }

    /// \param mark what was given when the task was submitted
    virtual void taskBegins(int mark) noexcept = 0;

    /// \param error what left the task, null if nothing did
    virtual void taskEnds(const std::exception_ptr& error) noexcept = 0;

private:
    friend class EventLoop;

    // Grows under the event loop's mutex, which guards the next, too; the interpreter thread lowers it without.
    std::atomic<std::size_t> m_pending { 0 };
    bool m_closed = false;

    int m_depth = 0; // only for the interpreter thread
};

} // namespace tovrinhost
