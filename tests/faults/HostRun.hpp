#pragma once

#include "tests/faults/World.hpp"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace faults {

/// Timers of all modes and the thread that runs their tasks, of a host that stops them all once anything has
/// failed.
///
/// Threading: to be used on the test's thread.
class HostRun {
public:
    explicit HostRun(World& world);
    HostRun(const HostRun&) = delete;
    HostRun& operator=(const HostRun&) = delete;
    ~HostRun();

    /// Starts the timers, and waits until none runs and no task is left; ends the thread.
    /// \returns false if they do not come to that
    bool run();

    /// Whether something has failed, and so all timers have been stopped.
    bool hasFailed() const;

    /// Whether the calling thread is the one that made this object, or the one that runs the tasks.
    static bool isHostThread();

private:
    template <typename Function> void reportingFailures(Function function);
    void serve();
    void change();
    bool isQuiet() const;
    void finish();

    const std::vector<Timer> m_timers;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isBusy = false; // guarded by m_mutex, like the next
    bool m_finish = false;
    bool m_hasFailed = false;
    std::thread m_thread;
};

} // namespace faults
