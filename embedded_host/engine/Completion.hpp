#pragma once

#include "host/Export.hpp"
#include "timer_src/main/Concurrency.hpp"

#include <exception>

namespace tovrinhost {

/// The end of something that one thread does and another waits for.
///
/// Threading: `finish` once, on any thread; `wait` on one other. Ownership: shared by both threads.
class TOVRINHOST_API Completion {
public:
    /// \param error what went wrong; null if nothing did. It goes to who waits: the caller keeps no share of it,
    /// nor
    ///        of what it consists of, as copies of the standard exceptions do of their text
    void finish(std::exception_ptr error = nullptr);

    /// Returns once it has ended.
    /// \throws what `finish` was given
    void wait();

private:
    tovrintimer::Mutex m_mutex;
    tovrintimer::ConditionVariable m_changed;
    bool m_hasEnded = false; // guarded by m_mutex, like the next
    std::exception_ptr m_error;
};

} // namespace tovrinhost
