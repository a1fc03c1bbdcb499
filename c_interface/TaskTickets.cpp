#include "c_interface/TaskTickets.hpp"

#include "c_interface/CallGuard.hpp"
#include "c_interface/Misuse.hpp"

#include <mutex>
#include <string>

namespace tovrin_c {

TaskTickets::TaskTickets(tovrin_host host, tovrin_submit_function function, void* data, const HostLog& log)
    : m_host(host)
    , m_submit(function)
    , m_data(data)
    , m_log(log)
{
}

void TaskTickets::submit() noexcept
{
    if (m_submit == nullptr) {
        return;
    }
    tovrin_task task = 0;
    try {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed) {
            return;
        }
        task = m_host + ++m_latest;
        m_tasks.insert(task);
        ++m_calls;
    } catch (const std::exception& problem) {
        m_log.tell(std::string("no task could be submitted: ") + problem.what());
        return;
    }
    callSubmit(task);
    const std::lock_guard lock(m_mutex);
    --m_calls;
    m_left.notify_one();
}

void TaskTickets::callSubmit(tovrin_task task) noexcept
{
    const EmbeddersTurn turn;
    try {
        const std::int32_t refusal = m_submit(m_data, m_host, task);
        if (refusal != 0) {
            erase(task);
            m_log.tell("the submit function has not taken a task: it returned " + std::to_string(refusal));
        }
    } catch (...) {
        erase(task);
        m_log.tell("the submit function has thrown: " + textOf(std::current_exception()));
    }
}

void TaskTickets::submitIfNone() noexcept
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_tasks.empty()) {
            return;
        }
    }
    submit();
}

bool TaskTickets::erase(tovrin_task task) noexcept
{
    const std::lock_guard lock(m_mutex);
    return m_tasks.erase(task) > 0;
}

void TaskTickets::redeem(tovrin_task task)
{
    if (!erase(task)) {
        throw Misuse(TOVRIN_ERROR_HANDLE,
            "there is no task " + std::to_string(task) + ": it has been run or discarded, or never was submitted");
    }
}

void TaskTickets::close()
{
    tovrintimer::Lock lock(m_mutex);
    m_isClosed = true;
    m_left.wait(lock, [this] { return m_calls == 0; });
}

} // namespace tovrin_c
