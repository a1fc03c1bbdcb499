#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace storm {

/// Ends the process, with a message, if it is not destroyed in time: something waits for ever.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds limit);
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog();

private:
    void watch(std::chrono::seconds limit);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOver = false; // guarded by m_mutex
    std::thread m_thread;
};

} // namespace storm
