#pragma once

#include "bench/measure/Thread.hpp"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace bench {

/// A second thread, which is given due times, and does something with each.
class HandOff {
public:
    explicit HandOff(std::function<void(Clock::time_point)> work)
        : m_work(std::move(work))
        , m_thread([this] { run(); })
    {
    }
    HandOff(const HandOff&) = delete;
    HandOff& operator=(const HandOff&) = delete;

    ~HandOff()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_finish = true;
        }
        m_changed.notify_one();
        m_thread.join();
    }

    void post(Clock::time_point due)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_dueTimes.push_back(due);
        }
        m_changed.notify_one();
    }

private:
    void run()
    {
        for (std::unique_lock lock(m_mutex);;) {
            m_changed.wait(lock, [this] { return m_finish || !m_dueTimes.empty(); });
            if (m_finish) {
                return;
            }
            const auto due = m_dueTimes.front();
            m_dueTimes.pop_front();
            lock.unlock();
            m_work(due);
            lock.lock();
        }
    }

    const std::function<void(Clock::time_point)> m_work;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Clock::time_point> m_dueTimes; // guarded by m_mutex, like the next
    bool m_finish = false;
    std::thread m_thread;
};

} // namespace bench
