#include "bench/host/Host.hpp"
#include "bench/scenarios/Firings.hpp"
#include "bench/scenarios/Scenarios.hpp"
#include "c_interface/tovrintimer.h"

#include <algorithm>
#include <condition_variable>
#include <ctime>
#include <deque>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace bench {

namespace {

/// What the process has used of its processors.
std::chrono::duration<double, std::micro> processTime()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// When all timers are due for the first time: once the last of them has been started.
Clock::time_point firstCallback(const Load& load)
{
    return Clock::now() + 50ms + load.timers * 20us;
}

/// Microseconds of the process for each callback that is run, and the share of what is due that is.
Values observeProcess(const Count& ran, const Load& load, Clock::time_point first, milliseconds time)
{
    std::this_thread::sleep_until(first + 2 * load.period + load.period / 2);
    const auto end = Clock::now() + time;
    const auto cpuBefore = processTime();
    const std::uint64_t ranBefore = ran.get();
    std::this_thread::sleep_until(end);
    const auto callbacks = static_cast<double>(ran.get() - ranBefore);
    return { (processTime() - cpuBefore).count() / callbacks, 100 * callbacks / load.due(time) };
}

/// An engine with a thread, which runs the tasks; a callback counts.
class RunningEngine final : public Engine {
public:
    void take(const std::function<void()>& task) override
    {
        {
            const std::lock_guard lock(m_mutex);
            m_tasks.push_back(task);
        }
        m_changed.notify_one();
    }

    /// Once no timer hands anything over any more.
    void end()
    {
        take(nullptr);
        m_thread.join();
        m_tasks.clear();
    }

    const Count& ran() const { return m_ran; }

private:
    void evaluate() override { m_ran.add(); }

    void run()
    {
        std::deque<std::function<void()>> taken;
        for (;;) {
            {
                std::unique_lock lock(m_mutex);
                m_changed.wait(lock, [this] { return !m_tasks.empty(); });
                taken.swap(m_tasks);
            }
            for (; !taken.empty(); taken.pop_front()) {
                if (!taken.front()) {
                    return;
                }
                taken.front()();
            }
        }
    }

    Count m_ran;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks; // guarded by m_mutex
    std::thread m_thread { [this] { run(); } };
};

Values bareLibrary(const Load& load, milliseconds time)
{
    const auto engine = std::make_shared<RunningEngine>();
    Values values;
    {
        const Scheduler scheduler;
        const auto first = firstCallback(load);
        std::vector<Timer> timers;
        for (std::size_t i = 0; i < load.timers; ++i) {
            timers.push_back(makeTimer(engine, { .period = load.period, .startDelay = delayUntil(first) }));
            start(timers.back());
        }
        values = observeProcess(engine->ran(), load, first, time);
    }
    engine->end();
    return values;
}

void require(std::int32_t code)
{
    if (code != TOVRIN_OK) {
        throw std::runtime_error(tovrin_last_error());
    }
}

/// A host, and the thread that it lives on.
class CHost {
public:
    CHost(const Load& load, Clock::time_point first)
        : m_thread([this, load, first] { run(load, first); })
    {
    }

    const Count& ran() const { return m_ran; }

    void end()
    {
        m_ends = true;
        m_thread.join();
        if (!m_error.empty()) {
            throw std::runtime_error(m_error);
        }
    }

private:
    static std::int32_t count(const tovrin_event* /*event*/, void* data)
    {
        static_cast<CHost*>(data)->m_ran.add();
        return 0;
    }

    static std::int32_t ends(void* data) { return static_cast<CHost*>(data)->m_ends ? 1 : 0; }

    void run(const Load& load, Clock::time_point first)
    {
        try {
            tovrin_host host = 0;
            require(tovrin_host_create(nullptr, &host));
            tovrin_settings settings;
            require(tovrin_settings_init(&settings, sizeof settings));
            settings.execution_mode = TOVRIN_FIXED_RATE;
            settings.busy_mode = TOVRIN_QUEUE;
            settings.period = std::chrono::duration<double>(load.period).count();
            settings.timer_fcn = { count, this };
            for (std::size_t i = 0; i < load.timers; ++i) {
                tovrin_timer timer = 0;
                settings.start_delay = std::chrono::duration<double>(delayUntil(first)).count();
                require(tovrin_timer_create(host, &settings, &timer));
                require(tovrin_timer_start(timer));
            }
            require(tovrin_run_until(host, std::numeric_limits<double>::infinity(), ends, this, nullptr));
            require(tovrin_host_destroy(host));
        } catch (const std::exception& error) {
            m_error = error.what();
        }
    }

    Count m_ran;
    std::atomic<bool> m_ends { false };
    std::string m_error; // for who has joined the thread
    std::thread m_thread;
};

Values throughC(const Load& load, milliseconds time)
{
    const auto first = firstCallback(load);
    CHost host(load, first);
    const Values values = observeProcess(host.ran(), load, first, time);
    host.end();
    return values;
}

} // namespace

std::vector<Measurement> cInterface(const Pace& pace)
{
    const auto time = pace.time(1000ms);
    std::vector<Measurement> all;
    for (const std::size_t timers : { 1, 10, 100, 1000 }) {
        const Load load { timers, 10ms };
        all.push_back({ load.name(),
            { { "a callback", "us", { { 1.5, "bare library" } } },
                { "run of due", "%", { { .bound = 95, .isAtLeast = true } } } },
            { { "C interface", [=] { return throughC(load, time); } },
                { "bare library", [=] { return bareLibrary(load, time); } } } });
    }
    return all;
}

} // namespace bench
