#pragma once

#include "bench/measure/Thread.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace bench {

/// Repeating timers of libuv, on a loop that a thread of its own runs. A timer begins its next period with the
/// turn of the loop in which it fired, by a clock of whole milliseconds.
class UvTimers {
public:
    /// \param fire called on the loop's thread
    UvTimers(
        std::size_t timers, Clock::time_point first, std::chrono::milliseconds period, std::function<void()> fire);
    ~UvTimers();

    ThreadProbe thread() const;

private:
    class Loop;
    std::unique_ptr<Loop> m_loop;
};

} // namespace bench
