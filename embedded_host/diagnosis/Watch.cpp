#include "embedded_host/diagnosis/Watch.hpp"

#include "host/setCurrentThreadName.hpp"

#include <chrono>
#include <exception>
#include <utility>

namespace tovrinhost {

Watch::Watch(const FiringLog& log, std::function<void(const News&)> tell)
    : m_reader(log)
    , m_tell(std::move(tell))
    , m_thread([this] { run(); })
{
}

Watch::~Watch()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void Watch::run()
{
    constexpr std::chrono::milliseconds pause { 50 };
    setCurrentThreadName("diagnosis");
    for (bool ends = false; !ends;) {
        {
            tovrintimer::Lock lock(m_mutex);
            const auto next = tovrintimer::SteadyClock::now() + pause;
            ends = m_changed.wait_until(lock, next, [this] { return m_ends; });
        }
        try {
            m_tell(m_reader.read());
        } catch (const std::exception&) {
            m_reader.countAsLost(); // there is no memory for it; the script runs on
        }
    }
}

} // namespace tovrinhost
