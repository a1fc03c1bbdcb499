#include "tests/library/EngineThread.hpp"

#include "tests/recording_host/Journal.hpp"
#include "tests/recording_host/TimerTasks.hpp"

namespace tovrintimer {

EngineThread::EngineThread()
    : m_thread([this]() noexcept { run(); })
{
    recording::journal().when("processTovrinTimerTask", [this] {
        const std::lock_guard lock(m_mutex);
        ++m_handedOver;
        m_changed.notify_one();
    });
}

EngineThread::~EngineThread()
{
    if (m_thread.joinable()) {
        finish();
    }
    recording::journal().clear();
}

int EngineThread::finish()
{
    {
        const std::lock_guard lock(m_mutex);
        m_finish = true;
        m_changed.notify_one();
    }
    m_thread.join();
    return m_handedOver;
}

void EngineThread::run()
{
    for (int done = 0;; ++done) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_finish || m_handedOver > done; });
        if (m_handedOver == done) {
            return;
        }
        lock.unlock();
        recording::timerTasks().runNext();
    }
}

} // namespace tovrintimer
