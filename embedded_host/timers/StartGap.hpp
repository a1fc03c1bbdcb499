#pragma once

#include "embedded_host/diagnosis/FiringLog.hpp"
#include "timer_src/main/Concurrency.hpp"

#include <chrono>

namespace tovrinhost {

/// Keeps the starts of the callbacks of a fixed delay apart by no less than the period.
///
/// The library counts the period from when the task of a callback begins, and has queued the next one as the
/// callback itself does. A thread that has to give way in between begins late, and the next callback would come
/// too soon after it:
///
///     task   queue the next    callback           task       callback
///     begins  |  ... another    begins            begins      begins
///       |-----|-------thread-----|------------------|...wait...|
///             |-------------- period ---------------|
///                                |--------- period ------------|
///
/// So the wait is never longer than the interpreter thread has been kept from running, and where nothing has kept
/// it, there is none.
///
/// Threading: the interpreter thread.
class StartGap {
public:
    /// Returns once the gap has passed, if there is one.
    /// \returns when that is
    Nanoseconds await(const FiringLog& clock) const
    {
        Nanoseconds now = clock.now();
        for (; now < m_end; now = clock.now()) {
            tovrintimer::sleepFor(std::chrono::nanoseconds(m_end - now));
        }
        return now;
    }

    /// Now.
    void begin(const FiringLog& clock, Nanoseconds period) { m_end = clock.now() + period; }

private:
    Nanoseconds m_end = 0;
};

} // namespace tovrinhost
