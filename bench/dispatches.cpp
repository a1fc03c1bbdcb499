// Lets fixed-rate timers that are due together fire as often as it is told, and ends: for tools that look at a
// whole process, as callgrind does. Twice with different numbers, and what beginning and end cost drops out.

#include "bench/host/Host.hpp"

#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>
#include <vector>

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
    const int dispatches = argc > 1 ? std::atoi(argv[1]) : 0;
    const int timers = argc > 2 ? std::atoi(argv[2]) : 1;
    if (dispatches < 1 || timers < 1 || argc > 3) {
        std::cerr
            << "Usage: tovrintimer_dispatches NUMBER [TIMERS]: how often each timer fires, and how many there "
               "are, from 1\n";
        return 2;
    }
    const auto each = static_cast<std::size_t>(dispatches);
    const auto engine = std::make_shared<LimitedEngine>(each * static_cast<std::size_t>(timers));
    const bench::Scheduler scheduler;
    std::vector<bench::Timer> started;
    for (int i = 0; i < timers; ++i) {
        started.push_back(bench::makeTimer(engine, { .period = 1ms, .startDelay = 1ms }));
        started.back()->setNumOfTasksToExecute(each);
        bench::start(started.back());
    }
    engine->waitForLimit();
    return 0;
}
