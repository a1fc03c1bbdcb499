#include "tests/recording_host/TimerTasks.hpp"

#include "host/processTovrinTimerTask.hpp"
#include "tests/recording_host/Journal.hpp"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

void processTovrinTimerTask(const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task)
{
    recording::timerTasks().handOver(engine, task);
}

namespace recording {

TimerTasks& timerTasks()
{
    static TimerTasks& instance = *new TimerTasks;
    return instance;
}

void TimerTasks::handOver(const std::shared_ptr<vorn::VORN>& engine, const Task& task)
{
    TaskRun run;
    {
        const std::lock_guard lock(m_mutex);
        run = m_run;
        m_engines.push_back(engine);
        if (run == TaskRun::Keep) {
            m_kept.push_back(task);
        }
    }
    // Last, so that who waited for the event finds the task.
    journal().add({ Kind::Call, "processTovrinTimerTask" });
    switch (run) {
    case TaskRun::Keep:
        return;
    case TaskRun::Inline:
        runForHost(task);
        return;
    case TaskRun::OtherThread:
        std::thread([&] { runForHost(task); }).join();
        return;
    case TaskRun::Refuse:
        throw HandOverError("the host takes no task");
    }
}

void TimerTasks::runForHost(const Task& task)
{
    try {
        task();
    } catch (...) {
        const std::lock_guard lock(m_mutex);
        m_errors.push_back(std::current_exception());
    }
}

void TimerTasks::setRun(TaskRun run)
{
    const std::lock_guard lock(m_mutex);
    m_run = run;
}

std::size_t TimerTasks::pending() const
{
    const std::lock_guard lock(m_mutex);
    return m_kept.size();
}

void TimerTasks::runNext()
{
    Task task;
    {
        const std::lock_guard lock(m_mutex);
        if (m_kept.empty()) {
            throw std::logic_error("no callback task has been handed over");
        }
        task = std::move(m_kept.front());
        m_kept.pop_front();
    }
    task();
}

void TimerTasks::runLatest()
{
    {
        const std::lock_guard lock(m_mutex);
        std::rotate(m_kept.begin(), m_kept.empty() ? m_kept.end() : std::prev(m_kept.end()), m_kept.end());
    }
    runNext();
}

void TimerTasks::runAll()
{
    while (pending() > 0) {
        runNext();
    }
}

void TimerTasks::reset()
{
    std::deque<Task> dropped; // destroyed without the lock: a task may own the last share of an engine
    const std::lock_guard lock(m_mutex);
    m_run = TaskRun::Keep;
    dropped.swap(m_kept);
    m_errors.clear();
    m_engines.clear();
}

std::vector<std::exception_ptr> TimerTasks::errors() const
{
    const std::lock_guard lock(m_mutex);
    return m_errors;
}

std::vector<std::weak_ptr<vorn::VORN>> TimerTasks::engines() const
{
    const std::lock_guard lock(m_mutex);
    return m_engines;
}

} // namespace recording
