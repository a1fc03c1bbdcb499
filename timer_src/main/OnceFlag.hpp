#pragma once

#include "timer_src/main/Concurrency.hpp"

#include <atomic>
#include <utility>

namespace tovrintimer {

/// Runs one function, once.
///
/// Threading: any thread; whoever comes while the function runs waits for it.
/// Errors: an exception passes to that caller, and the flag stays clear: the next caller tries again.
// std::call_once hangs at the next call after a throwing one on some platforms.
class OnceFlag {
public:
    /// \throws whatever the function does
    template <typename Function> void callOnce(Function&& function)
    {
        if (m_done.load(std::memory_order_acquire)) {
            return;
        }
        const Lock lock(m_mutex);
        if (!m_done.load(std::memory_order_relaxed)) {
            std::forward<Function>(function)();
            m_done.store(true, std::memory_order_release);
        }
    }

private:
    Mutex m_mutex;
    Atomic<bool> m_done { false };
};

} // namespace tovrintimer
