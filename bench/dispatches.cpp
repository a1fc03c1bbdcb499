// Lets a fixed-rate timer fire as often as it is told, and ends: for tools that look at a whole process, as
// callgrind does. Twice with different numbers, and what beginning and end cost drops out.

#include "bench/host/Host.hpp"

#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>

namespace {

using namespace std::chrono_literals;

class LimitedEngine final : public bench::Engine {
public:
    explicit LimitedEngine(std::size_t limit)
        : m_left(limit)
    {
    }

    void take(const std::function<void()>& /*task*/) override
    {
        const std::lock_guard lock(m_mutex);
        if (--m_left == 0) {
            m_isDone.notify_one();
        }
    }

    void waitForLimit()
    {
        std::unique_lock lock(m_mutex);
        m_isDone.wait(lock, [this] { return m_left == 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_isDone;
    std::size_t m_left; // guarded by m_mutex
};

} // namespace

int main(int argc, char** argv)
{
    const int dispatches = argc == 2 ? std::atoi(argv[1]) : 0;
    if (dispatches < 1) {
        std::cerr << "Usage: tovrintimer_dispatches NUMBER: how often the timer fires, from 1\n";
        return 2;
    }
    const auto engine = std::make_shared<LimitedEngine>(static_cast<std::size_t>(dispatches));
    const auto timer = bench::makeTimer(engine, { .period = 1ms, .startDelay = 1ms });
    timer->setNumOfTasksToExecute(static_cast<std::size_t>(dispatches));
    const bench::Scheduler scheduler;
    bench::start(timer);
    engine->waitForLimit();
    return 0;
}
