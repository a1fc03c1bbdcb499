#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace tovrintimer {

/// The thread of an engine that runs what is handed over at once. What a task throws ends the process.
///
/// Threading: to be made, finished and destroyed on the test's thread.
class EngineThread {
public:
    EngineThread();
    EngineThread(const EngineThread&) = delete;
    EngineThread& operator=(const EngineThread&) = delete;
    ~EngineThread();

    /// Runs what is left, and ends the thread. \returns the number of tasks that were run
    int finish();

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_finish = false; // guarded by m_mutex, like the next
    int m_handedOver = 0;
    std::thread m_thread;
};

} // namespace tovrintimer
