#include "embedded_host/engine/Completion.hpp"

#include <utility>

namespace tovrinhost {

void Completion::finish(std::exception_ptr error)
{
    {
        const tovrintimer::Lock lock(m_mutex);
        m_hasEnded = true;
        m_error = std::move(error);
    }
    m_changed.notify_one();
}

void Completion::wait()
{
    tovrintimer::Lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_hasEnded; });
    if (m_error) {
        const std::exception_ptr error = std::exchange(m_error, nullptr);
        lock.unlock();
        std::rethrow_exception(error);
    }
}

} // namespace tovrinhost
