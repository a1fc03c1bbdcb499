#pragma once

#include "tests/test_host/Engine.hpp"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace storm {

/// An engine that enters each callback in its timer's account, and raises errors where the timer's character says
/// so and errors are on. Any thread.
class Engine final : public test_host::Engine {
public:
    void setErrors(bool on) { m_errors = on; }

private:
    void evaluate(const foundation::tovrindata::Array& timerObject, tovrintimer::WorkKind callback) override;
    void wakeUp() override { }

    std::atomic<bool> m_errors { true };
    std::atomic<std::size_t> m_callbacks { 0 };
};

/// The thread that runs what is handed over, at once and in order. What tasks throw is counted, and no more.
///
/// One at a time. Threading: all operations, any thread.
class EngineThread {
public:
    EngineThread();
    EngineThread(const EngineThread&) = delete;
    EngineThread& operator=(const EngineThread&) = delete;

    /// Runs what is left.
    ~EngineThread();

    void add(const std::function<void()>& task);

    /// Returns once everything that was handed over has run.
    void waitUntilIdle();

    /// Returns once not too much is waiting: host threads are not to outrun the engine for ever.
    void waitForRoom();

    std::size_t tasksRun() const { return m_tasksRun; }
    std::size_t errors() const { return m_errors; }

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks; // guarded by m_mutex, like the next two
    bool m_isRunning = false;
    bool m_finish = false;
    std::atomic<std::size_t> m_tasksRun { 0 };
    std::atomic<std::size_t> m_errors { 0 };
    std::thread m_thread;
};

/// Which way tasks go to the interpreter: the feature "TIMER_PPE".
void setTimerPpe(bool on);

/// How often the interpreter's request line was made to look.
std::size_t lineHooks();

/// How many objects have been retracted.
std::size_t retractions();

/// How many threads that named themselves have not ended.
int namedThreads();

} // namespace storm
