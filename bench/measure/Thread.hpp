#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

#include <sys/types.h>

namespace bench {

using Clock = std::chrono::steady_clock;

/// A thread of this process, looked at from outside. Only while it lives.
class ThreadProbe {
public:
    /// Of the calling thread.
    static ThreadProbe ofCaller();

    /// How long it has been running on a processor.
    std::chrono::nanoseconds cpuTime() const;

    /// How often it has gone to sleep, and so was woken.
    std::int64_t voluntarySwitches() const;

private:
    clockid_t m_clock = 0;
    pid_t m_id = 0;
};

/// Lets the kernel wake the calling thread as punctually as it can, which the library's thread asks for, too.
void askForFineTimers();

} // namespace bench
