#pragma once

#include "bench/host/Host.hpp"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace bench {

/// An engine that runs the tasks on a thread of its own, each in its turn. Its callbacks take some time, asleep.
class TaskThread final : public Engine {
public:
    explicit TaskThread(std::chrono::milliseconds callbackTime);

    /// Ends the thread, with the callback that it is running, and drops the tasks that wait: they own this engine.
    /// To be called once no timer hands anything over any more.
    void end();

    void take(const std::function<void()>& task) override;

    /// Microseconds from the end of each callback to the beginning of the next.
    std::vector<double> gaps() const;

private:
    void evaluate() override;
    void run();

    const std::chrono::milliseconds m_callbackTime;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks; // guarded by m_mutex, like the rest
    bool m_finish = false;
    std::vector<double> m_gaps;
    Clock::time_point m_latestEnd {};
    std::thread m_thread;
};

} // namespace bench
