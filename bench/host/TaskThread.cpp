#include "bench/host/TaskThread.hpp"

namespace bench {

TaskThread::TaskThread(std::chrono::milliseconds callbackTime)
    : m_callbackTime(callbackTime)
    , m_thread([this] { run(); })
{
}

void TaskThread::end()
{
    {
        const std::lock_guard lock(m_mutex);
        m_finish = true;
    }
    m_changed.notify_one();
    m_thread.join();
    m_tasks.clear();
}

void TaskThread::take(const std::function<void()>& task)
{
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(task);
    }
    m_changed.notify_one();
}

std::vector<double> TaskThread::gaps() const
{
    const std::lock_guard lock(m_mutex);
    return m_gaps;
}

void TaskThread::evaluate()
{
    const auto begin = Clock::now();
    std::this_thread::sleep_until(begin + m_callbackTime);
    const std::lock_guard lock(m_mutex);
    if (m_latestEnd != Clock::time_point()) {
        m_gaps.push_back(std::chrono::duration<double, std::micro>(begin - m_latestEnd).count());
    }
    m_latestEnd = Clock::now();
}

void TaskThread::run()
{
    for (std::unique_lock lock(m_mutex);;) {
        m_changed.wait(lock, [this] { return m_finish || !m_tasks.empty(); });
        if (m_finish) {
            return;
        }
        const auto task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

} // namespace bench
